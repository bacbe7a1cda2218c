// The service's two logs: "EventLogs.txt", which gets every alert, and "EventLogs_RuleNamesOnly.txt", which gets a line
// once.
#pragma once

#include <cstdint>
#include <deque>

#include "base/Text.h"
#include "monitor/Alert.h"
#include "monitor/MonitorSettings.h"
#include "os/Clock.h"
#include "platform/App_FileSystem.h"

namespace ovs {

// What cannot be written now, because another program keeps the file to itself or the disk is full, waits and is written in
// its order before what comes next. While entries come the files are flushed to the disk once a second, the first entry
// after a quiet second at once; the last ones of a burst are flushed by Tend or at the end.
class EventLogFiles final : public AlertSink {
 public:
  // Entries that wait take no more memory than this for each of the two files, but for a single one that is larger; the
  // oldest give way.
  static constexpr std::size_t kMostWaitingBytes = 4u << 20;
  static constexpr std::uint64_t kTendMilliseconds = 1000;

  // Both must outlive this object.
  EventLogFiles(App_FileSystem& files, os::Clock& clock, const MonitorSettings& settings)
      : clock_(clock),
        entries_(files, settings.eventLogPath, SaveMode::Append),
        ruleNames_(files, settings.eventLogRuleNamesPath, SaveMode::AppendNoDuplicates) {}
  // Tries for the last time, and says how many entries are lost.
  ~EventLogFiles() override;
  EventLogFiles(const EventLogFiles&) = delete;
  EventLogFiles& operator=(const EventLogFiles&) = delete;

  void OnAlert(const Alert& alert) override;

  // For whoever has time: once a second what waits is tried again, and what was written is flushed.
  void Tend();
  // The same at once.
  void Finish();

  // How many entries are not in their file: those that wait and those that gave way.
  [[nodiscard]] std::uint64_t Unwritten() const { return entries_.Unwritten() + ruleNames_.Unwritten(); }

 private:
  class LogFile {
   public:
    LogFile(App_FileSystem& files, TextView path, SaveMode mode) : files_(files), path_(path), mode_(mode) {}
    void Write(Text entry);
    // False when something waits still.
    bool CatchUp();
    void Flush();
    void SayWhatIsLost();
    [[nodiscard]] bool NeedsCare() const { return isDirty_ || !waiting_.empty(); }
    [[nodiscard]] std::uint64_t Unwritten() const { return lost_ + gaveWay_ + waiting_.size(); }

   private:
    [[nodiscard]] bool Save(TextView entry);
    void Keep(Text entry);

    App_FileSystem& files_;
    Text path_;
    SaveMode mode_;
    std::deque<Text> waiting_;
    std::size_t waitingBytes_ = 0;
    std::uint64_t waited_ = 0;  // since the file could be written last, as the next
    std::uint64_t gaveWay_ = 0;
    std::uint64_t lost_ = 0;  // gave way before
    bool isDirty_ = false;    // holds what may not be on the disk
    os::Error flushError_;    // of the last flush
  };

  [[nodiscard]] bool IsDue();
  void Flush();

  os::Clock& clock_;
  LogFile entries_;
  LogFile ruleNames_;
  std::uint64_t lastTended_ = 0;
};

}  // namespace ovs
