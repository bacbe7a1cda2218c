#include "events/files/RecordSpool.h"

#include <algorithm>

#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "events/EventRecord.h"

namespace ovs {

namespace {

constexpr std::size_t kWriteAtOnce = std::size_t{1} << 20;

[[noreturn]] void FailOn(TextView path) {
  throw RuntimeError(RuntimeErrorNumber::kFileError,
                     u"the records cannot be kept in the temporary file " + Text(path) + u"; is the disk full?");
}

// "yyyymmddHHMMSS.ffffff-000"; the service looks at whole seconds only.
std::int64_t TimeOf(const EventRecord& record) {
  constexpr std::size_t kFraction = 15;
  constexpr std::size_t kDigits = 6;
  constexpr std::int64_t kTicksPerMicrosecond = 10;
  const std::optional<DateTime> date = RecordTimeUTC(record.timeGenerated);
  if (!date) return 0;
  const TextView text = record.timeGenerated;
  const auto fraction = text.size() > kFraction ? ParseUnsigned(text.substr(kFraction, kDigits), 999'999) : std::nullopt;
  return TicksFromDateTime(*date) + static_cast<std::int64_t>(fraction.value_or(0)) * kTicksPerMicrosecond;
}

}  // namespace

RecordSpool::RecordSpool(os::Files& files, TextView path) : files_(files), path_(path) {
  if (files_.Write(path_, {}).Failed() || files_.OpenAppend(path_, file_).Failed()) FailOn(path_);
}

RecordSpool::~RecordSpool() {
  file_.reset();
  files_.Delete(path_).Ignore();
}

void RecordSpool::Add(const EventRecord& record) {
  const std::string line = RecordJson(record);
  entries_.push_back({TimeOf(record), written_ + waiting_.size(), line.size()});
  waiting_ += line;
  if (waiting_.size() >= kWriteAtOnce) Write();
}

void RecordSpool::Write() {
  if (file_->Append(waiting_).Failed()) FailOn(path_);
  written_ += waiting_.size();
  waiting_.clear();
}

void RecordSpool::Replay(std::optional<std::uint64_t> most, const std::function<bool(const RawRecord& record)>& take) {
  Write();
  std::unique_ptr<os::ReadFile> file;
  if (files_.OpenRead(path_, file).Failed()) FailOn(path_);
  std::ranges::sort(entries_,
                    [](const Entry& a, const Entry& b) { return a.time != b.time ? a.time < b.time : a.place > b.place; });
  const std::size_t skipped = entries_.size() - std::min<std::uint64_t>(most.value_or(entries_.size()), entries_.size());
  std::string line;
  for (std::size_t i = skipped; i < entries_.size(); ++i) {
    line.resize(entries_[i].length);
    std::size_t got = 0;
    RawRecord record;
    std::string reason;
    const bool isRead = file->ReadAt(entries_[i].place, line, got).Ok() && got == line.size();
    if (!isRead || !ParseJsonRecord(line, record, reason)) FailOn(path_);
    if (!take(record)) return;
  }
}

}  // namespace ovs
