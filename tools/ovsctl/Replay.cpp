#include "Replay.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "Command.h"
#include "Records.h"
#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/os/Clock.h"
#include "base/os/CommandLine.h"
#include "base/os/FolderWatch.h"
#include "base/os/PendingError.h"
#include "base/os/System.h"
#include "diag/App_Debug.h"
#include "mail/AlertMailer.h"
#include "monitor/modFilterEvents.h"
#include "platform/DebugEnvironment.h"

namespace ovs {

namespace {

// Counts the alerts of each rule and, when told to, writes the two logs.
class CountingLog final : public AlertLog {
 public:
  explicit CountingLog(AlertLog* next) : next_(next) {}

  void Write(const Alert& alert) override {
    ++total_;
    ++byRule_[Text(alert.ruleName)];
    if (next_ != nullptr) next_->Write(alert);
  }

  [[nodiscard]] std::uint64_t Total() const { return total_; }
  [[nodiscard]] const std::map<Text, std::uint64_t>& ByRule() const { return byRule_; }

 private:
  AlertLog* next_;
  std::uint64_t total_ = 0;
  std::map<Text, std::uint64_t> byRule_;
};

class ReplayMailer final : public AlertMailer {
 public:
  Text SendEventsEmail(TextView, TextView, TextView) override { return {}; }
};

int Fail(const std::string& message) {
  const std::uint32_t number = TakePendingSystemError();
  const Text reason = number == 0 ? Text() : u" " + Diagnostics().GetSystemMsg(number, true);
  std::fprintf(stderr, "ovsctl replay: %s%s\n", message.c_str(), ToUtf8(reason).c_str());
  return kFailed;
}

// Everything the service says in its debug log is worth seeing while rules are tried.
void ShowDebugEntries() {
  Diagnostics().SetEntryListener([](TextView entry) {
    std::fprintf(stderr, "%s\n\n", ToUtf8(App_Strings::ReplaceAll(entry, u"\r\n", u"\n")).c_str());
  });
}

struct Paths {
  Text applicationFolder;
  Text recordsFile;
};

std::optional<Paths> ResolvePaths(const ReplayOptions& options) {
  const std::optional<Text> folder = os::FullPathOfArgument(options.applicationFolder);
  const std::optional<Text> records = os::FullPathOfArgument(options.recordsFile);
  if (!folder || !records) return std::nullopt;
  Paths paths{*folder, *records};
  App_Strings::EnsureStringEndsWith(paths.applicationFolder, u"\\");
  return paths;
}

void PrintSummary(const RecordReadResult& read, const CountingLog& log) {
  std::printf("%llu records, %llu alerts\n", static_cast<unsigned long long>(read.records),
              static_cast<unsigned long long>(log.Total()));
  for (const auto& [rule, count] : log.ByRule()) {
    std::printf("%8llu  %s\n", static_cast<unsigned long long>(count), ToUtf8(rule).c_str());
  }
}

// The speed of matching alone: records come from memory.
void Measure(modFilterEvents& filter, const std::vector<EventRecord>& records, int rounds) {
  const std::uint64_t start = os::SystemClock().Milliseconds();
  for (int round = 0; round < rounds; ++round) {
    for (const EventRecord& record : records) filter.FindEvents(record);
  }
  const std::uint64_t passed = std::max<std::uint64_t>(os::SystemClock().Milliseconds() - start, 1);
  const std::uint64_t count = records.size() * static_cast<std::uint64_t>(rounds);
  std::printf("matched %llu records again, %llu a second\n", static_cast<unsigned long long>(count),
              static_cast<unsigned long long>(count * 1000 / passed));
}

int Replay(const Paths& paths, const ReplayOptions& options, App_FileSystem& fileSystem) {
  App_Common ini(fileSystem.Files());
  App_Time time(os::SystemClock(), os::SystemTimeZone(), fileSystem.Files());
  MonitorSettings settings = PathsOf(paths.applicationFolder);
  ReadDisplaySettings(ini, settings);

  EventLogFiles files(fileSystem, settings);
  CountingLog log(options.writeLogs ? &files : nullptr);
  ReplayMailer mailer;
  modFilterEvents filter({fileSystem, ini, time, mailer, log, os::SystemClock(), os::SystemFolderWatcher()}, settings);

  std::vector<EventRecord> kept;
  const RecordReadResult read =
      ReadRecords(fileSystem.Files(), paths.recordsFile,
                  {// Past records hold a stop phrase for every stop of the service; replay goes on behind them.
                   [&](const RawRecord& raw) {
                     EventRecord record = ToEventRecord(raw);
                     filter.FindEvents(record);
                     if (options.repeat > 0) kept.push_back(std::move(record));
                   },
                   [&](const std::string& place, const std::string& reason) {
                     std::fprintf(stderr, "ovsctl replay: %s, %s: %s; skipped\n", options.recordsFile.c_str(), place.c_str(),
                                  reason.c_str());
                   },
                   {}});
  if (!read.opened) return Fail("cannot open " + options.recordsFile);
  PrintSummary(read, log);
  if (options.repeat > 0) Measure(filter, kept, options.repeat);
  if (!read.complete) return Fail("cannot read " + options.recordsFile + " to its end");
  return read.bad == 0 ? kDone : kFindings;
}

}  // namespace

int RunReplay(const ReplayOptions& options) {
  App_FileSystem fileSystem(os::SystemFiles(), os::ThisSystem());
  Diagnostics().Attach(SystemDebugPorts(), {});
  ShowDebugEntries();
  const std::optional<Paths> paths = ResolvePaths(options);
  if (!paths) return Fail("cannot use the path " + options.applicationFolder + " or " + options.recordsFile);
  if (!fileSystem.DirExist(paths->applicationFolder)) return Fail("no such folder: " + options.applicationFolder);
  return Replay(*paths, options, fileSystem);
}

}  // namespace ovs
