#include "monitor/EventLogFiles.h"

#include "base/Numbers.h"
#include "diag/Proc.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"EventLogFiles";

std::size_t BytesOf(const Text& entry) { return entry.size() * sizeof(char16_t); }

Text Count(std::uint64_t entries) { return NumberText(static_cast<std::int64_t>(entries)); }

}  // namespace

bool EventLogFiles::LogFile::Save(TextView entry) {
  const bool saved = files_.SaveTextToFile(entry, path_, mode_);
  isDirty_ = isDirty_ || saved;
  return saved;
}

void EventLogFiles::LogFile::Write(Text entry) {
  if (!CatchUp() || !Save(entry)) Keep(std::move(entry));
}

void EventLogFiles::LogFile::Keep(Text entry) {
  const std::uint64_t before = gaveWay_;
  const std::size_t bytes = BytesOf(entry);
  waiting_.push_back(std::move(entry));
  waitingBytes_ += bytes;
  ++waited_;
  while (waitingBytes_ > kMostWaitingBytes && waiting_.size() > 1) {
    waitingBytes_ -= BytesOf(waiting_.front());
    waiting_.pop_front();
    ++gaveWay_;
  }
  if (before == 0 && gaveWay_ != 0) {
    Proc proc(kModule, u"Keep", ProcKind::Sub);
    proc.Run([&] { proc.Log(u"More entries wait to be written than are kept; the oldest give way: [" + path_ + u"]"); });
  }
}

bool EventLogFiles::LogFile::CatchUp() {
  if (waiting_.empty()) return true;
  Proc proc(kModule, u"CatchUp", ProcKind::Function);
  return proc.Run(false, [&] {
    while (!waiting_.empty()) {
      if (!Save(waiting_.front())) return false;
      waitingBytes_ -= BytesOf(waiting_.front());
      waiting_.pop_front();
    }
    proc.Log(u"The file can be written again: [" + path_ + u"], entries that had to wait: " + Count(waited_) +
             u", of these given up: " + Count(gaveWay_));
    lost_ += gaveWay_;
    waited_ = gaveWay_ = 0;
    return true;
  });
}

void EventLogFiles::LogFile::Flush() {
  if (!isDirty_) return;
  Proc proc(kModule, u"Flush", ProcKind::Sub);
  proc.Run([&] {
    const os::Error error = files_.Files().Flush(path_);
    isDirty_ = error.Failed() && !error.IsNotFound();
    // That it cannot be done, as on some network drives, is said once.
    const bool isNews = error.Failed() && error != flushError_;
    flushError_ = error;
    if (isNews) proc.Fail(error).Log(u"Cannot flush file [" + path_ + u"]", EventType::ApiError);
  });
}

void EventLogFiles::LogFile::SayWhatIsLost() {
  if (Unwritten() == 0) return;
  Proc proc(kModule, u"SayWhatIsLost", ProcKind::Sub);
  proc.Run([&] { proc.Log(u"Entries that could not be written to [" + path_ + u"]: " + Count(Unwritten())); });
}

EventLogFiles::~EventLogFiles() {
  Finish();
  entries_.SayWhatIsLost();
  ruleNames_.SayWhatIsLost();
}

void EventLogFiles::OnAlert(const Alert& alert) {
  // Each of the two is written whatever became of the other.
  entries_.Write(AlertText::LogEntry(alert));
  ruleNames_.Write(AlertText::RuleNameLine(alert));
  if (IsDue()) Flush();
}

void EventLogFiles::Tend() {
  if ((entries_.NeedsCare() || ruleNames_.NeedsCare()) && IsDue()) Finish();
}

void EventLogFiles::Finish() {
  entries_.CatchUp();
  ruleNames_.CatchUp();
  Flush();
}

void EventLogFiles::Flush() {
  entries_.Flush();
  ruleNames_.Flush();
}

// Begins the next second when it is.
bool EventLogFiles::IsDue() {
  const std::uint64_t now = clock_.Milliseconds();
  if (now - lastTended_ < kTendMilliseconds) return false;
  lastTended_ = now;
  return true;
}

}  // namespace ovs
