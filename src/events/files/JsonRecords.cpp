#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/Encoding.h"
#include "events/files/RecordPieces.h"

namespace ovs {

namespace {

// Takes the seven values of the outermost object and forgets everything else as it is read: lines of any shape need memory
// for their longest text alone.
class RecordValues final : public nlohmann::json_sax<nlohmann::json> {
 public:
  explicit RecordValues(RawRecord& out)
      : wanted_{{{"EventType", &out.eventType},
                 {"Type", &out.type},
                 {"EventCode", &out.eventCode},
                 {"SourceName", &out.sourceName},
                 {"Message", &out.message},
                 {"Logfile", &out.logfile},
                 {"TimeGenerated", &out.timeGenerated}}} {}

  [[nodiscard]] bool IsObject() const { return isObject_; }

  bool null() override { return Take(std::monostate()); }
  bool boolean(bool value) override { return Take(value); }
  bool number_integer(number_integer_t value) override { return Take(std::int64_t{value}); }
  bool number_unsigned(number_unsigned_t value) override { return Take(static_cast<std::int64_t>(value)); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return Take(value); }
  bool string(string_t& value) override { return target_ == nullptr || Take(FromUtf8(value)); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool key(string_t& name) override {
    target_ = nullptr;
    for (const auto& [wanted, value] : wanted_) {
      if (depth_ == 1 && name == wanted) target_ = value;
    }
    return true;
  }
  bool start_object(std::size_t /*count*/) override {
    isObject_ = isObject_ || depth_ == 0;
    return Enter();
  }
  bool start_array(std::size_t /*count*/) override { return Enter(); }
  bool end_object() override { return Leave(); }
  bool end_array() override { return Leave(); }
  bool parse_error(std::size_t /*place*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*error*/) override {
    return false;
  }

 private:
  bool Take(RawValue value) {
    if (target_ != nullptr) *target_ = std::move(value);
    target_ = nullptr;
    return true;
  }
  bool Enter() {
    ++depth_;
    return Take(ObjectValue{u"Object"});
  }
  bool Leave() {
    --depth_;
    return true;
  }

  std::array<std::pair<std::string_view, RawValue*>, 7> wanted_;
  RawValue* target_ = nullptr;  // of the next value; null when nobody wants it
  std::size_t depth_ = 0;
  bool isObject_ = false;
};

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
  out = {};
  RecordValues values(out);
  if (!nlohmann::json::sax_parse(line, &values)) {
    reason = "not valid JSON";
    return false;
  }
  if (!values.IsObject()) reason = "not a JSON object";
  return values.IsObject();
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
