// The rule engine: any rule file, lists, settings and record, by its quick way and by the one that reads everything for
// every record. Both must decide alike, and what the index is for must never cost an alert.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Pieces.h"
#include "diag/App_Debug.h"
#include "monitor/modFilterEvents.h"
#include "support/FakeClock.h"
#include "support/FakeMailer.h"
#include "support/FakeSystem.h"
#include "support/FakeWatcher.h"
#include "support/MemoryFiles.h"

namespace {

using namespace ovs;

class Counter final : public AlertLog {
 public:
  void Write(const Alert& alert) override { names.emplace_back(alert.ruleName); }
  std::vector<Text> names;
};

struct Outcome {
  std::vector<Text> names;
  std::vector<Text> mails;
  bool stopped = false;
  bool operator==(const Outcome&) const = default;
};

struct Machine {
  explicit Machine(fuzz::Pieces pieces) {
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config", u"C:\\App\\Config\\Rules"}) files.CreateDir(folder);
    for (const TextView name :
         {u"Config\\Orvanta.ini", u"Config\\Rules\\A.DAT", u"Config\\Rules\\B.dat",
          u"Config\\Rules\\GlobalExclusion_EventDesc_List.txt", u"Config\\Rules\\GlobalExclusion_EventID_List.txt",
          u"Config\\Rules\\GlobalExclusion_EventSource_List.txt"}) {
      const std::string_view bytes = pieces.Next();
      if (!bytes.empty()) files.Write(u"C:\\App\\" + Text(name), bytes);
    }
  }

  Outcome Handle(const EventRecord& record, bool traced) {
    App_Debug debug;
    const ScopedDiagnostics scoped(debug);
    debug.SetSwitches({.verbose = traced});
    fakes::FakeMailer mailer;
    Counter log;
    App_FileSystem fileSystem(files, system);
    App_Common ini(files);
    App_Time time(clock, zone, files);
    fakes::FakeWatcher watcher;
    MonitorSettings settings = PathsOf(u"C:\\App\\");
    ReadDisplaySettings(ini, settings);
    modFilterEvents engine({fileSystem, ini, time, mailer, log, clock, watcher}, settings);
    engine.FindEvents(record);
    Outcome outcome{std::move(log.names), {}, engine.StopPhraseSeen()};
    for (const auto& mail : mailer.mails) outcome.mails.push_back(mail.subject + mail.body);
    return outcome;
  }

  fakes::MemoryFiles files;
  fakes::FakeSystem system;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
};

EventRecord RecordOf(fuzz::Pieces& pieces) {
  EventRecord record;
  const std::string_view numbers = pieces.Next();
  if (numbers.size() >= 2) record.eventType = static_cast<std::int16_t>(numbers[0] * 256 + numbers[1]);
  if (numbers.size() == 1) record.eventType = numbers[0];
  for (Text* field :
       {&record.type, &record.eventCode, &record.sourceName, &record.message, &record.logfile, &record.timeGenerated}) {
    *field = FromUtf8(pieces.Next());
  }
  return record;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Pieces pieces(data, size);
  const EventRecord record = RecordOf(pieces);
  Machine machine(pieces);
  if (machine.Handle(record, false) != machine.Handle(record, true)) std::abort();
  return 0;
}
