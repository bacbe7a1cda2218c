// The rule engine: any rule file, lists, settings and record, by its quick way and by the one that tests everything for
// every record. Both must decide alike: the index must never cost an alert.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Pieces.h"
#include "diag/App_Debug.h"
#include "support/FakeMailer.h"
#include "support/MonitorFolder.h"

namespace {

using namespace ovs;

struct Outcome {
  std::string log;
  std::string names;
  std::vector<Text> mails;
  bool stopped = false;
  bool operator==(const Outcome&) const = default;
};

void Fill(MonitorFolder& folder, fuzz::Pieces pieces) {
  for (const TextView name :
       {u"C:\\App\\Config\\Orvanta.ini", u"C:\\App\\Config\\Rules\\A.DAT", u"C:\\App\\Config\\Rules\\B.dat",
        u"C:\\App\\Config\\Rules\\GlobalExclusion_EventDesc_List.txt",
        u"C:\\App\\Config\\Rules\\GlobalExclusion_EventID_List.txt",
        u"C:\\App\\Config\\Rules\\GlobalExclusion_EventSource_List.txt"}) {
    const std::string_view bytes = pieces.Next();
    if (!bytes.empty()) folder.Put(name, bytes);
  }
}

Outcome Handle(const EventRecord& record, const fuzz::Pieces& pieces, bool traced) {
  App_Debug debug;
  const ScopedDiagnostics scoped(debug);
  debug.SetSwitches({.verbose = traced});
  MonitorFolder folder;
  Fill(folder, pieces);
  fakes::FakeMailer mailer;
  ServiceEngine engine(folder, mailer);
  engine.Handle(record);
  Outcome outcome{folder.Content(u"C:\\App\\EventLogs.txt"),
                  folder.Content(u"C:\\App\\EventLogs_RuleNamesOnly.txt"),
                  {},
                  engine.Filter().StopPhraseSeen()};
  for (const auto& mail : mailer.mails) outcome.mails.push_back(mail.subject + mail.body);
  return outcome;
}

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
  if (Handle(record, pieces, false) != Handle(record, pieces, true)) std::abort();
  return 0;
}
