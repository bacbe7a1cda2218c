#include "Records.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <vector>

#include "base/Encoding.h"

namespace ovs {

namespace {

constexpr std::size_t kChunkBytes = 1 << 16;
constexpr std::size_t kMaxLineBytes = std::size_t{64} << 20;

RawValue ToRawValue(const nlohmann::json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end() || found->is_null()) return std::monostate();
  if (found->is_string()) return FromUtf8(found->get_ref<const std::string&>());
  if (found->is_boolean()) return found->get<bool>();
  if (found->is_number_integer()) return found->get<std::int64_t>();
  if (found->is_number_float()) return found->get<double>();
  return ObjectValue{u"Object"};
}

// Cuts a growing buffer into lines and hands them on.
class LineCutter {
 public:
  explicit LineCutter(const std::function<void(std::string_view line, bool tooLong)>& onLine) : onLine_(onLine) {}

  void Feed(std::string_view chunk) {
    for (;;) {
      const std::size_t end = chunk.find('\n');
      Append(chunk.substr(0, end));
      if (end == std::string_view::npos) return;
      Finish();
      chunk.remove_prefix(end + 1);
    }
  }

  void Finish() {
    if (!line_.empty() && line_.back() == '\r') line_.pop_back();
    onLine_(line_, tooLong_);
    line_.clear();
    tooLong_ = false;
  }

 private:
  void Append(std::string_view part) {
    tooLong_ = tooLong_ || line_.size() + part.size() > kMaxLineBytes;
    if (!tooLong_) line_.append(part);
  }

  const std::function<void(std::string_view line, bool tooLong)>& onLine_;
  std::string line_;
  bool tooLong_ = false;
};

// False with the reason when the line is no record.
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

}  // namespace

RecordReadResult ReadRecords(os::Files& files, TextView path, const RecordSink& sink) {
  RecordReadResult result;
  const std::unique_ptr<os::ReadFile> file = files.OpenRead(path);
  if (!file) return result;
  result.opened = true;
  os::FileStamp stamp;
  static_cast<void>(file->Stamp(stamp));

  std::uint64_t lineNumber = 0;
  const std::function<void(std::string_view, bool)> onLine = [&](std::string_view line, bool tooLong) {
    ++lineNumber;
    if (!tooLong && line.find_first_not_of(" \t") == std::string_view::npos) return;
    RawRecord record;
    std::string reason = "longer than 64 MB";
    if (!tooLong && ParseJsonRecord(line, record, reason)) {
      ++result.records;
      sink.onRecord(record);
    } else {
      ++result.bad;
      if (sink.onBad) sink.onBad("line " + std::to_string(lineNumber), reason);
    }
  };
  LineCutter cutter(onLine);
  std::vector<char> buffer(kChunkBytes);
  for (std::uint64_t offset = 0;;) {
    std::size_t got = 0;
    if (!file->ReadAt(offset, buffer, got)) return result;
    if (got == 0) break;
    cutter.Feed({buffer.data(), got});
    offset += got;
    if (sink.onProgress) sink.onProgress(offset, std::max(offset, stamp.size));
  }
  cutter.Finish();
  result.complete = true;
  return result;
}

}  // namespace ovs
