// ovsctl events: new records as the service sees them, through the service's own source.
#include <windows.h>

#include <CLI/CLI.hpp>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/RuntimeError.h"
#include "events/EventRecord.h"
#include "events/files/Records.h"
#include "events/win32/WmiEventSource.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/live/LiveFailure.h"
#include "ovsctl/service/win32/ServiceCommands.h"

namespace ovs::win32 {

namespace {

struct EventsOptions {
  std::string applicationFolder;
  std::string log;          // only records of this log; empty: all
  std::uint64_t count = 0;  // ends after so many; 0: at Ctrl+C
  bool json = false;
};

// From the thread that waits inside COM, where nothing can interrupt it, to the one that prints. It outlives both.
class Mailbox {
 public:
  struct Item {
    std::optional<RawRecord> record;
    std::optional<RuntimeError> failure;
    bool isReady = false;  // records come from now on
    bool isInterrupt = false;
  };

  void Put(Item item) {
    const std::lock_guard lock(mutex_);
    items_.push_back(std::move(item));
    arrived_.notify_one();
  }

  Item Take() {
    std::unique_lock lock(mutex_);
    arrived_.wait(lock, [this] { return !items_.empty(); });
    Item item = std::move(items_.front());
    items_.pop_front();
    return item;
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Item> items_;
};

std::shared_ptr<Mailbox>& TheMailbox() {
  static std::shared_ptr<Mailbox> mailbox = std::make_shared<Mailbox>();
  return mailbox;
}

BOOL WINAPI OnControl(DWORD control) {
  if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) return FALSE;
  TheMailbox()->Put({.record = {}, .failure = {}, .isReady = false, .isInterrupt = true});
  return TRUE;
}

// The process's end ends it.
void Receive(const std::shared_ptr<Mailbox>& mailbox) {
  try {
    WmiEventSource source;
    source.Connect();
    mailbox->Put({.record = {}, .failure = {}, .isReady = true, .isInterrupt = false});
    for (;;) mailbox->Put({.record = source.NextEvent(), .failure = {}, .isReady = false, .isInterrupt = false});
  } catch (const RuntimeError& error) {
    mailbox->Put({.record = {}, .failure = error, .isReady = false, .isInterrupt = false});
  }
}

std::string Block(const EventRecord& record, const Text& timeText) {
  const auto line = [](const char* name, TextView value) { return std::string(name) + Console::Shown(value) + "\n"; };
  std::string block = Console::Styled(Console::Style::Bold, Console::Shown(timeText)) + "\n";
  block += line("  LogFile:     ", record.logfile);
  block += "  EventType:   " + Console::Shown(record.type) + " (" + std::to_string(record.eventType) + ")\n";
  block += line("  EventID:     ", record.eventCode) + line("  EventSource: ", record.sourceName);
  const char* name = "  Message:     ";
  for (const Text& part : App_Strings::Split(App_Strings::ReplaceAll(record.message, u"\r\n", u"\n"), u"\n")) {
    block += line(name, part);
    name = "               ";
  }
  return block;
}

// kDone at the end that was asked for; kFailed when records cannot be had (any more).
int RunEvents(const EventsOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::Open(options.applicationFolder);
  if (!installation) return kFailed;
  const std::shared_ptr<Mailbox> mailbox = TheMailbox();
  SetConsoleCtrlHandler(OnControl, TRUE);
  std::thread(Receive, mailbox).detach();
  const Text log = FromUtf8(options.log);
  for (std::uint64_t shown = 0;;) {
    const Mailbox::Item item = mailbox->Take();
    if (item.isInterrupt) return kDone;
    if (item.failure) return Console::Fail(Console::Shown(os::LiveFailureText(*item.failure, {})));
    if (item.isReady) Console::Say("Waiting for new records; Ctrl+C ends.");
    if (!item.record) continue;
    const EventRecord record = ToEventRecord(*item.record);
    if (!log.empty() && !App_Strings::StringsMatch(record.logfile, log)) continue;
    const Text time = RecordTimeText(installation->Time(), record.timeGenerated, installation->Settings().display);
    Console::Print(options.json ? RecordJson(record) : Block(record, time));
    if (!Console::Flush()) return Console::Fail("the output could not be written");
    if (++shown == options.count) return kDone;
  }
}

}  // namespace

void AddEventsCommand(Program& program) {
  const auto options = std::make_shared<EventsOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "events",
       .purpose = "Print new records as the service sees them, as they come: for writing rules. Ends with Ctrl+C.",
       .examples = "ovsctl events\n"
                   "ovsctl events --log System --count 1\n"
                   "ovsctl events --json > records.jsonl"},
      [options] { return RunEvents(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_option("--log", options->log, "Only records of this log")->type_name("LOG");
  command->add_option("--count", options->count, "End after N records")->type_name("N")->check(CLI::PositiveNumber);
  command->add_flag("--json", options->json, "Print JSON lines, which replay and explain can read");
}

}  // namespace ovs::win32
