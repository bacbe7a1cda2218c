// The decisions on a record: the engine's quick way, its way while the diagnostics want everything, and the explanation
// come to the same alerts.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "monitor/RecordKind.h"
#include "monitor/Rule.h"
#include "ovsctl/explain/Explanation.h"
#include "support/MonitorFolder.h"

namespace ovs {
namespace {

// Rule names of the alerts that a record raises, in their order, and last the word for a stop phrase.
using Names = std::vector<Text>;
constexpr TextView kStopped = u"(stopped)";
using Change = std::function<void(MonitorFolder& folder)>;

enum class Way { Quick, Traced, Explained };

class Subject {
 public:
  Subject(Way way, const Change& prepare) : way_(way), scoped_(debug_) {
    debug_.SetSwitches({.verbose = way == Way::Traced});
    prepare(folder);
    engine_ = std::make_unique<modFilterEvents>(folder.Parts(sink), folder.Settings());
    explainer_ = std::make_unique<Explainer>(folder.BookParts(), folder.Settings(), TextView());
  }

  Names Handle(const EventRecord& record) {
    const Explanation explanation = way_ == Way::Explained ? explainer_->Explain(record) : Explanation();
    const std::uint64_t stops = engine_->StopPhrases();
    sink.raised = explanation.alerts;
    if (way_ != Way::Explained) engine_->FindEvents(record);
    const bool stopped = explanation.kind == RecordKind::StopPhrase || engine_->StopPhrases() != stops;
    if (stopped) sink.raised.emplace_back(kStopped);
    return sink.raised;
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

struct Case {
  const char* name;
  EventRecord record;
  Names alerts;
  Change change = {};                // after another record was handled
  Change prepare = {};               // before the first look at the files
  std::optional<Names> healed = {};  // of the same record when nothing is refused any more; as before unless given
};

Change Refuse(TextView part, os::Error error = SystemError::kSharingViolation) {
  return [=](MonitorFolder& folder) { folder.files.FailPath(part, error); };
}

// What is written anew is found by a look and cannot be read behind it: it was moved away, and comes back as it was.
Change MoveAway(TextView part) {
  return [part](MonitorFolder& folder) {
    folder.Rule(u"A.DAT", kOpenRule);
    folder.Monitoring("DiskEvents=1\r\n");
    Refuse(part, SystemError::kFileNotFound)(folder);
  };
}

Change Monitoring(const char* lines) {
  return [lines](MonitorFolder& folder) { folder.Monitoring(lines); };
}

void Exclude(MonitorFolder& folder) { folder.Rule(u"GlobalExclusion_EventDesc_List.txt", "BAD block\r\n"); }

void AddUnusableRules(MonitorFolder& folder) {
  folder.Rule(u"Empty.DAT", "");
  folder.Rule(u"Binary.DAT", std::string("[LogFile]\0", 10));
  folder.disk.CreateDir(folder.PathOfRule(u"Folder.DAT")).Ignore();
  folder.Rule(u"Sub\\C.DAT", kOpenRule);
}

void RemoveRulesFolder(MonitorFolder& folder) {
  for (const TextView name : {u"A.DAT", u"B.DAT", u"notes.txt"}) folder.DeleteRule(name);
  EXPECT_TRUE(folder.disk.RemoveDir(u"C:\\App\\Config\\Rules").Ok());
}

// Empties a rule, the list and the settings, and lets nobody see any of it.
Change EditAndRefuse(TextView part) {
  return [part](MonitorFolder& folder) {
    folder.Rule(u"A.DAT", "");
    folder.Rule(u"GlobalExclusion_EventDesc_List.txt", "");
    folder.Monitoring("");
    Refuse(part)(folder);
  };
}

void Disappear(MonitorFolder& folder) {
  folder.DeleteRule(u"A.DAT");
  folder.DeleteRule(u"GlobalExclusion_EventDesc_List.txt");
  folder.disk.Delete(u"C:\\App\\Config\\Orvanta.ini").Ignore();
}

std::vector<Case> Cases() {
  const Names both = {u"A", u"B"};
  const Names disk = {u"Platte"};
  const Text crash = u"The Orvanta Event Service service terminated unexpectedly. Again";
  const Text stop = u"xx ORVANTA - STOPPING event service... xx";
  const EventRecord error = ErrorRecord(u"text");
  const EventRecord diskError = ErrorRecord(u"\\Device\\Harddisk0 has a bad block", u"Disk");
  const EventRecord fakeDisk = ErrorRecord(u"Fake Disk Alert");
  return {
      {"ordinary", error, both},
      {"stop phrase", ErrorRecord(stop), {Text(kStopped)}},
      {"stop phrase before the disk check", ErrorRecord(stop + u"Fake Disk Alert", u"Disk"), {Text(kStopped)}},
      {"stop phrase in the report of its own crash",
       ErrorRecord(crash + stop, u"Service Control Manager"),
       {Text(kStopped)}},
      {"own crash", ErrorRecord(crash + u"Fake Disk Alert", u" service CONTROL manager"), {}},
      {"own crash told by another", ErrorRecord(crash), both},
      {"disk event", diskError, disk},
      {"disk event excluded", diskError, {}, Exclude},
      {"disk check off", diskError, both, Monitoring("DiskEvents=01\r\n")},
      {"disk check on", fakeDisk, disk, Monitoring("DiskEvents=1\r\n"), Monitoring("DiskEventsRuleName=Platte\r\n")},
      {"rule excluded", ErrorRecord(u"a bad block"), {}, Exclude},
      {"unusable rules", error, both, AddUnusableRules},
      {"rule new", error, {u"A", u"B", u"C"}, [](MonitorFolder& folder) { folder.Rule(u"C.dat", kOpenRule); }},
      {"rules folder gone", error, {}, RemoveRulesFolder},
      {"rules folder gone, disk event", fakeDisk, disk, RemoveRulesFolder},
      {"rules folder that cannot be listed", error, both, Refuse(u"Config\\Rules")},
      {"rule refused after it was read", error, both, Refuse(u"A.DAT")},
      {"rule refused since an edit", error, both, EditAndRefuse(u"A.DAT"), {}, Names{u"B"}},
      {"list refused since an edit", ErrorRecord(u"a bad block"), {}, EditAndRefuse(u"EventDesc"), Exclude, Names{u"B"}},
      {"settings refused since an edit", fakeDisk, disk, EditAndRefuse(u"Orvanta.ini"), {}, Names{u"B"}},
      {"folders refused since an edit", error, both, EditAndRefuse(u"App\\Config"), {}, Names{u"B"}},
      {"the same, disk event", fakeDisk, disk, EditAndRefuse(u"App\\Config"), {}, Names{u"B"}},
      {"the same, excluded", ErrorRecord(u"a bad block"), {}, EditAndRefuse(u"App\\Config"), Exclude, Names{u"B"}},
      {"rule gone for a moment", error, {u"B"}, MoveAway(u"A.DAT"), {}, both},
      {"settings gone for a moment", fakeDisk, both, MoveAway(u"Orvanta.ini"), {}, disk},
      {"all emptied", ErrorRecord(u"a bad block", u"Disk"), {u"B"}, EditAndRefuse(u"nothing"), Exclude},
      {"all gone", ErrorRecord(u"Harddisk0: a bad block", u"Disk"), {u"B"}, Disappear, Exclude},
      {"rule deleted while the record is handled", ErrorRecord(u"delete B"), both},
      {"list refused after it was read", ErrorRecord(u"a bad block"), {}, Refuse(u"EventDesc"), Exclude},
      {"settings refused after they were read", fakeDisk, disk, Refuse(u"Orvanta.ini")},
      {"settings refused at first",
       fakeDisk,
       {u"Disk Event Alert"},
       [](MonitorFolder& folder) { folder.files.Heal(); },
       Refuse(u"Orvanta.ini")},
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
      static_cast<void>(subject.Handle(ErrorRecord(u"before")));
      if (each.change) each.change(subject.folder);
      if (each.record.message == u"delete B") subject.sink.onAlert = [&] { subject.folder.DeleteRule(u"B.DAT"); };
      EXPECT_EQ(subject.Handle(each.record), each.alerts) << each.name << ", way " << static_cast<int>(way);
      if (subject.sink.onAlert) continue;
      subject.folder.files.Heal();
      EXPECT_EQ(subject.Handle(each.record), each.healed.value_or(each.alerts)) << each.name << ", healed";
    }
  }
}

const Names kSources = {u"", u"Disk", u" disk ", u"Service Control Manager", u"VSS", u"\u0131stanbul", u"ISTANBUL"};
const Names kIds = {u"", u"7", u" 7 ", u"07", u"4625", u"1000", u"x"};
const Names kTexts = App_Strings::Split(
    u"|error|ERROR|the device has a bad block|bad|on DISK|gr\u00F6\u00DFe|Harddisk\u03C3|a|"
    u"Orvanta - Stopping event service...|FAKE disk alert",
    u"|");
const Names kLogs = App_Strings::Split(
    u"System| system |Application|SECURITY|Setup||Microsoft-Windows-Windows Defender/Operational|"
    u"Microsoft-Windows-WindowsUpdateClient/Operational",
    u"|");
const Names kTypes = {u"Error", u"warning", u"Information", u"Info", u"Success", u"Failure", u"Audit", u""};
const Names kOn = {u"1", u"1", u"1", u" 1", u"\"1\"", u"01", u"0", u"true", u""};

class Random {
 public:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(engine_); }
  const Text& Of(const Names& table) { return table[Below(table.size())]; }
  bool Chance(std::size_t percent) { return Below(100) < percent; }

 private:
  std::mt19937 engine_{8};
};

Text RandomRule(Random& random) {
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

// A rule takes every record that another one takes which it covers. Adds the times that this counted.
void CheckCovering(const std::vector<RuleConditions>& rules, const std::vector<std::uint32_t>& matching,
                   std::size_t& count) {
  for (const std::uint32_t narrow : matching) {
    for (std::uint32_t wide = 0; wide < rules.size(); ++wide) {
      if (wide == narrow || !Covers(rules[wide], rules[narrow])) continue;
      EXPECT_TRUE(std::ranges::binary_search(matching, wide));
      ++count;
    }
  }
}

// Gives the number of matches.
std::size_t CheckIndex(const Change& prepare, const std::vector<EventRecord>& records, std::size_t& covered) {
  MonitorFolder folder;
  prepare(folder);
  RuleBook book(folder.BookParts(), folder.Settings());
  RuleIndex::Scratch scratch;
  book.Refresh();
  std::vector<RuleConditions> conditions;
  for (std::uint32_t i = 0; i < book.RuleCount(); ++i) conditions.push_back(ConditionsOf(book.RuleAt(i).content));
  std::size_t matches = 0;
  for (const EventRecord& record : records) {
    const RecordHints hints = book.Find(record, scratch);
    EXPECT_EQ(hints.mayBeStopPhrase, ContainsFolded(record.message, Phrases::kStop));
    std::vector<std::uint32_t> expected;
    for (std::uint32_t i = 0; i < book.RuleCount(); ++i) {
      RuleFileReader rule(folder.modules.ini, book.RuleAt(i).path, book.RuleAt(i).content);
      if (book.RuleAt(i).usable && RuleMatches(rule, record)) expected.push_back(i);
    }
    EXPECT_EQ(scratch.rules, expected) << ToUtf8(record.message);
    CheckCovering(conditions, expected, covered);
    matches += expected.size();
  }
  return matches;
}

// 500 rule sets of 20 rules, 25 records each: 250,000 pairs. The index happens to be exact; it may only ever err by naming
// too many. Every tenth set goes all three ways.
TEST(Decisions, GeneratedRulesAndRecords) {
  Random random;
  std::size_t matches = 0;
  std::size_t covered = 0;
  for (int set = 0; set < 500; ++set) {
    std::vector<Text> rules(20);
    for (Text& rule : rules) rule = RandomRule(random);
    std::vector<EventRecord> records(25);
    for (EventRecord& record : records) record = RandomRecord(random);
    const Change prepare = [&](MonitorFolder& folder) {
      folder.watcher.news = os::FolderNews::None;
      folder.Monitoring("DiskEvents=1\r\n");
      for (std::size_t i = 0; i < rules.size(); ++i) {
        folder.Rule(NumberText(static_cast<std::int64_t>(100 + i)) + u".DAT", ToUtf8(rules[i]));
      }
    };
    matches += CheckIndex(prepare, records, covered);
    if (set % 10 != 0) continue;
    Subject quick(Way::Quick, prepare);
    std::vector<Names> expected;
    for (const EventRecord& record : records) expected.push_back(quick.Handle(record));
    for (const Way way : {Way::Traced, Way::Explained}) {
      Subject subject(way, prepare);
      for (std::size_t i = 0; i < records.size(); ++i) {
        ASSERT_EQ(subject.Handle(records[i]), expected[i]) << "set " << set << ", record " << i;
      }
    }
  }
  EXPECT_GT(matches, 5000u);
  EXPECT_GT(covered, 300u);
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
