#include <nlohmann/json.hpp>

#include "base/Encoding.h"
#include "events/files/RecordPieces.h"

namespace ovs {

namespace {

RawValue ToRawValue(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || found->is_null()) return std::monostate();
  if (found->is_string()) return FromUtf8(found->get_ref<const std::string&>());
  if (found->is_boolean()) return found->get<bool>();
  if (found->is_number_integer()) return found->get<std::int64_t>();
  if (found->is_number_float()) return found->get<double>();
  return ObjectValue{u"Object"};
}

class JsonReader final : public PieceReader {
 public:
  explicit JsonReader(RecordTally& tally) : tally_(tally) {}

  void Feed(std::string_view chunk) override {
    while (!tally_.IsEnough()) {
      const std::size_t end = chunk.find('\n');
      Append(chunk.substr(0, end));
      if (end == std::string_view::npos) return;
      TakeLine();
      chunk.remove_prefix(end + 1);
    }
  }

  void Finish() override { TakeLine(); }

 private:
  void Append(std::string_view part) {
    tooLong_ = tooLong_ || line_.size() + part.size() > kMaxPieceBytes;
    if (!tooLong_) line_.append(part);
  }

  void TakeLine() {
    ++number_;
    if (tooLong_ || line_.find_first_not_of(" \t\r") != std::string::npos) TakeRecord();
    line_.clear();
    tooLong_ = false;
  }

  void TakeRecord() {
    RawRecord record;
    std::string reason = "longer than 64 MB";
    if (!tooLong_ && ParseJsonRecord(line_, record, reason)) {
      tally_.Good(record);
    } else {
      tally_.Bad("line " + std::to_string(number_), reason);
    }
  }

  RecordTally& tally_;
  std::string line_;
  std::uint64_t number_ = 0;
  bool tooLong_ = false;
};

}  // namespace

bool ParseJsonRecord(std::string_view line, RawRecord& out, std::string& reason) {
  const nlohmann::json object = nlohmann::json::parse(line, nullptr, /*allow_exceptions=*/false);
  if (object.is_discarded()) {
    reason = "not valid JSON";
    return false;
  }
  if (!object.is_object()) {
    reason = "not a JSON object";
    return false;
  }
  out = {ToRawValue(object, "EventType"),    ToRawValue(object, "Type"),    ToRawValue(object, "EventCode"),
         ToRawValue(object, "SourceName"),   ToRawValue(object, "Message"), ToRawValue(object, "Logfile"),
         ToRawValue(object, "TimeGenerated")};
  return true;
}

std::unique_ptr<PieceReader> NewJsonReader(RecordTally& tally) { return std::make_unique<JsonReader>(tally); }

std::string RecordJson(const EventRecord& record) {
  const nlohmann::ordered_json object = {{"EventType", record.eventType},
                                         {"Type", ToUtf8(record.type)},
                                         {"EventCode", ToUtf8(record.eventCode)},
                                         {"SourceName", ToUtf8(record.sourceName)},
                                         {"Message", ToUtf8(record.message)},
                                         {"Logfile", ToUtf8(record.logfile)},
                                         {"TimeGenerated", ToUtf8(record.timeGenerated)}};
  // Pure ASCII: what a terminal must not see is escaped with everything else.
  return object.dump(-1, ' ', /*ensure_ascii=*/true);
}

}  // namespace ovs
