// The decisions on a record: the engine's quick way, its way while the diagnostics want everything, and the explanation
// come to the same alerts.
#include <gtest/gtest.h>

#include <random>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "monitor/RecordKind.h"
#include "ovsctl/explain/Explanation.h"
#include "support/MonitorFolder.h"

namespace ovs {
namespace {

using Names = std::vector<Text>;
using Change = std::function<void(MonitorFolder& folder)>;

struct Outcome {
  Names alerts;
  bool stopped = false;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  for (const Text& name : outcome.alerts) *out << ToUtf8(name) << ", ";
  *out << (outcome.stopped ? "stopped" : "went on");
}

enum class Way { Quick, Traced, Explained };

class Subject {
 public:
  Subject(Way way, const Change& prepare) : way_(way), scoped_(debug_) {
    debug_.SetSwitches({.verbose = way == Way::Traced});
    prepare(folder);
    engine_ = std::make_unique<modFilterEvents>(folder.Parts(sink), folder.Settings());
    explainer_ = std::make_unique<Explainer>(folder.BookParts(), folder.Settings(), TextView());
  }

  Outcome Handle(const EventRecord& record) {
    if (way_ == Way::Explained) {
      const Explanation explanation = explainer_->Explain(record);
      return {explanation.alerts, explanation.kind == RecordKind::StopPhrase};
    }
    const std::uint64_t stops = engine_->StopPhrases();
    sink.raised.clear();
    engine_->FindEvents(record);
    return {sink.raised, engine_->StopPhrases() != stops};
  }

  MonitorFolder folder;
  AlertNames sink;

 private:
  Way way_;
  App_Debug debug_;
  ScopedDiagnostics scoped_;
  std::unique_ptr<modFilterEvents> engine_;
  std::unique_ptr<Explainer> explainer_;
};

constexpr const char* kOpenRule = "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n";
constexpr TextView kDiskError = u"\\Device\\Harddisk0 has a bad block";

EventRecord Error(Text message, Text source = u"src") {
  return {1, u"Error", u"7", std::move(source), std::move(message), u"System", u"20240307130509.000000-000"};
}

struct Case {
  const char* name;
  EventRecord record;
  Names alerts;
  bool stopped = false;
  Change prepare = {};  // before the first look at the files
  Change change = {};   // after another record was handled
};

std::vector<Case> Cases() {
  const Names both = {u"A", u"B"};
  const Names disk = {u"Platte"};
  const Text crash = u"The Orvanta Event Service service terminated unexpectedly. Again";
  const Text stop = u"xx ORVANTA - STOPPING event service... xx";
  const auto refuse = [](TextView part) {
    return [part](MonitorFolder& folder) { folder.files.FailPath(part, SystemErrorNumber::kSharingViolation); };
  };
  const Change exclude = [](MonitorFolder& folder) { folder.Rule(u"GlobalExclusion_EventDesc_List.txt", "BAD block\r\n"); };
  const auto monitoring = [](const char* lines) { return [lines](MonitorFolder& folder) { folder.Monitoring(lines); }; };
  return {
      {"ordinary", Error(u"text"), both},
      {"stop phrase", Error(stop), {}, true},
      {"stop phrase before the disk check", Error(stop + u"Fake Disk Alert", u"Disk"), {}, true},
      {"own crash", Error(crash + u"Fake Disk Alert", u" service CONTROL manager"), {}},
      {"own crash told by another", Error(crash), both},
      {"disk event", Error(Text(kDiskError), u"Disk"), disk},
      {"disk event excluded", Error(Text(kDiskError), u"Disk"), {}, false, exclude},
      {"disk check off", Error(Text(kDiskError), u"Disk"), both, false, {}, monitoring("DiskEvents=01\r\n")},
      {"disk check on since now", Error(u"Fake Disk Alert"), disk, false, monitoring("DiskEventsRuleName=Platte\r\n"),
       monitoring("DiskEvents=1\r\n")},
      {"rule excluded", Error(u"a bad block"), {}, false, {}, exclude},
      {"unusable rules", Error(u"text"), both, false,
       [](MonitorFolder& folder) {
         folder.Rule(u"Empty.DAT", "");
         folder.Rule(u"Binary.DAT", std::string("[LogFile]\0", 10));
         folder.memory.CreateDir(u"C:\\App\\Config\\Rules\\Folder.DAT");
       }},
      {"rule new", Error(u"text"), {u"A", u"B", u"C"}, false, {}, [](MonitorFolder& f) { f.Rule(u"C.dat", kOpenRule); }},
      {"rules folder gone",
       Error(u"text"),
       {},
       false,
       {},
       [](MonitorFolder& folder) {
         for (const TextView name : {u"A.DAT", u"B.DAT"}) folder.DeleteRule(name);
         folder.memory.RemoveDir(u"C:\\App\\Config\\Rules");
       }},
      {"rules folder that cannot be listed", Error(u"text"), both, false, {}, refuse(u"Config\\Rules")},
      {"rule refused after it was read", Error(u"text"), both, false, {}, refuse(u"A.DAT")},
      {"rule refused since an edit",
       Error(u"text"),
       {u"B"},
       false,
       {},
       [&](MonitorFolder& folder) {
         folder.Rule(u"A.DAT", kOpenRule);
         folder.files.FailPath(u"A.DAT", SystemErrorNumber::kSharingViolation);
       }},
      {"rule deleted while the record is handled", Error(u"delete B"), both},
      {"list refused after it was read", Error(u"a bad block"), {}, false, exclude, refuse(u"EventDesc")},
      {"settings refused after they were read", Error(u"Fake Disk Alert"), disk, false, {}, refuse(u"Orvanta.ini")},
      {"settings refused at first",
       Error(u"Fake Disk Alert"),
       {u"Disk Event Alert"},
       false,
       refuse(u"Orvanta.ini"),
       [](MonitorFolder& folder) { folder.files.Heal(); }},
  };
}

TEST(Decisions, AllWaysAgree) {
  for (const Case& each : Cases()) {
    for (const Way way : {Way::Quick, Way::Traced, Way::Explained}) {
      Subject subject(way, [&](MonitorFolder& folder) {
        folder.Monitoring("DiskEvents=1\r\nDiskEventsRuleName=Platte\r\n");
        for (const TextView name : {u"A.DAT", u"B.DAT", u"notes.txt"}) folder.Rule(name, kOpenRule);
        if (each.prepare) each.prepare(folder);
      });
      static_cast<void>(subject.Handle(Error(u"before")));
      if (each.change) each.change(subject.folder);
      if (each.record.message == u"delete B") subject.sink.onAlert = [&] { subject.folder.DeleteRule(u"B.DAT"); };
      EXPECT_EQ(subject.Handle(each.record), (Outcome{each.alerts, each.stopped}))
          << each.name << ", way " << static_cast<int>(way);
    }
  }
}

constexpr TextView kSources[] = {u"", u"Disk", u" disk ", u"Service Control Manager", u"VSS", u"\u0131stanbul", u"ISTANBUL"};
constexpr TextView kIds[] = {u"", u"7", u" 7 ", u"07", u"4625", u"1000", u"x"};
constexpr TextView kTexts[] = {u"",
                               u"error",
                               u"ERROR",
                               u"the device has a bad block",
                               u"bad",
                               u"on DISK",
                               u"gr\u00F6\u00DFe",
                               u"Harddisk\u03C3",
                               u"a",
                               u"service entered the stopped state"};
constexpr TextView kLogs[] = {u"System",
                              u" system ",
                              u"Application",
                              u"SECURITY",
                              u"Setup",
                              u"",
                              u"Microsoft-Windows-Windows Defender/Operational",
                              u"Microsoft-Windows-WindowsUpdateClient/Operational"};
constexpr TextView kTypes[] = {u"Error", u"warning", u"Information", u"Info", u"Success", u"Failure", u"Audit", u""};

class Random {
 public:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(engine_); }
  template <class Table>
  Text Of(const Table& table) {
    return Text(table[Below(std::size(table))]);
  }
  bool Chance(std::size_t percent) { return Below(100) < percent; }

 private:
  std::mt19937 engine_{8};
};

Text RandomRule(Random& random) {
  static constexpr TextView kOn[] = {u"1", u"1", u"1", u" 1", u"\"1\"", u"01", u"0", u"true", u""};
  Text rule = random.Chance(95) ? u"[LogFile]\r\n" : u"[logfile ]\n";
  for (const TextView log : kRuleLogNames) {
    if (random.Chance(60)) rule += Text(log) + u"=" + random.Of(kOn) + u"\r\n";
  }
  rule += u"[EventType]\r\n";
  for (const TextView type : kRuleTypeNames) {
    if (random.Chance(70)) rule += Text(type) + u" = " + random.Of(kOn) + u"\r\n";
  }
  rule += u"[EventDetail]\r\n";
  if (random.Chance(40)) rule += u"EventID=" + random.Of(kIds) + u"\r\n";
  if (random.Chance(30)) rule += u"EventSource=" + random.Of(kSources) + u"\r\n";
  if (random.Chance(50)) rule += u"EventDesc=" + random.Of(kTexts) + u"\r\n";
  if (random.Chance(25)) rule += u"EventDescEx=" + random.Of(kTexts) + u"\r\n";
  return rule;
}

EventRecord RandomRecord(Random& random) {
  EventRecord record;
  record.eventType = static_cast<std::int16_t>(static_cast<int>(random.Below(8)) - 1);
  record.type = random.Of(kTypes);
  record.eventCode = random.Of(kIds);
  record.sourceName = random.Of(kSources);
  record.logfile = random.Of(kLogs);
  for (std::size_t part = random.Below(4); part > 0; --part) record.message += random.Of(kTexts) + u" ";
  return record;
}

// 100 rule sets of 20 rules, 25 records each: 50,000 pairs. The index happens to be exact; it may only ever err by naming
// too many.
TEST(Decisions, TheIndexLosesNoRuleAndNamesNoneThatCannotMatch) {
  Random random;
  std::size_t matches = 0;
  for (int set = 0; set < 100; ++set) {
    std::vector<Text> rules(20);
    for (Text& rule : rules) rule = RandomRule(random);
    std::vector<EventRecord> records(25);
    for (EventRecord& record : records) record = RandomRecord(random);
    const Change prepare = [&](MonitorFolder& folder) {
      folder.watcher.canWatch = false;
      for (std::size_t i = 0; i < rules.size(); ++i) {
        folder.Rule(NumberText(static_cast<std::int64_t>(100 + i)) + u".DAT", ToUtf8(rules[i]));
      }
    };
    std::vector<Outcome> expected;
    for (const Way way : {Way::Traced, Way::Quick, Way::Explained}) {
      Subject subject(way, prepare);
      std::vector<Outcome> found;
      for (const EventRecord& record : records) found.push_back(subject.Handle(record));
      if (way == Way::Traced) expected = found;
      ASSERT_EQ(found, expected) << "set " << set << ", way " << static_cast<int>(way);
    }
    MonitorFolder folder;
    prepare(folder);
    RuleBook book(folder.BookParts(), folder.Settings());
    RuleIndex::Scratch scratch;
    book.Refresh();
    for (std::size_t i = 0; i < records.size(); ++i) {
      book.Find(records[i], scratch);
      Names found;
      for (const std::uint32_t rule : scratch.rules) found.push_back(RuleName(book.RuleAt(rule).path));
      ASSERT_EQ(found, expected[i].alerts) << "set " << set << ", record " << i << ": " << ToUtf8(records[i].message);
      matches += found.size();
    }
  }
  EXPECT_GT(matches, 1000u);
}

TEST(DiskCheck, RecognisesTheThreeKinds) {
  struct {
    TextView source;
    TextView message;
    bool expected;
  } const cases[] = {
      {u"Disk", u"The device, \\Device\\Harddisk1\\DR1, has a bad block.", true},
      {u" disk ", u"an ERROR on \\device\\HARDDISK0", true},
      {u"DMIO", u"Harddisk3 corrupt", true},
      {u"chkdsk", u"harddisk: Corrupted", true},
      {u"Disk", u"An error on device \\Device\\Harddisk1 During A Paging Operation.", false},
      {u"Disk", u"An error was detected", false},
      {u"Disk", u"Harddisk0 is fine", false},
      {u"DiskMonitor", u"Harddisk0 error", false},
      {u"Microsoft-Windows-Ntfs", u"The structure on the disk is CORRUPT and unusable.", true},
      {u"Ntfs", u"The structure is fine", false},
      {u"fs", u"corrupt", false},
      {u"", u"this is a FAKE disk alert for testing", true},
      {u"Anything", u"Fake Disk  Alert", false},
      {u"", u"", false},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(IsDiskEvent(CheckForDiskEvent(each.source, each.message)), each.expected) << ToUtf8(each.message);
  }
}

}  // namespace
}  // namespace ovs
