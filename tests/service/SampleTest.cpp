#include "service/Sample.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "base/Encoding.h"
#include "base/Version.h"
#include "diag/App_Debug.h"
#include "service/modEventSvc.h"
#include "support/FakeMailEngines.h"
#include "support/ServiceDoubles.h"
#include "support/TestMachine.h"

namespace ovs {
namespace {

class SampleTest : public ::testing::Test {
 protected:
  SampleTest() { machine.system.programPath = u"C:\\Orvanta\\OrvantaEventService.exe"; }

  void RunMain() { modEventSvc(machine.Ports(), {.host = host, .source = source, .mailEngines = faultyEngines}).Run(); }
  void Put(TextView name, const std::string& bytes) { machine.Put(u"C:\\Orvanta\\" + Text(name), bytes); }

  Journal journal;
  JournalHost host{journal};
  JournalSource source{journal};
  App_Debug debug;
  ScopedDiagnostics scoped{debug};
  fakes::TestMachine machine;
  fakes::FakeMailEngines engines;
  fakes::FaultyEngines faultyEngines{machine.files, engines};
};

constexpr const char* kMailSettings =
    "[Monitoring]\r\nEventEmails=1\r\n[EmailConfig]\r\nAdminEmail=tech@x\r\nSMTPServer=mail\r\nSMTPPort=587\r\n"
    "SMTPUserName=user\r\nSMTPPassword=75565C58525B5B0D0843\r\n[EmailOptions]\r\nEmailAdminEvents=1\r\n";

// An alert, its mail and its logs between start and stop: what is asked of the machine and said in the debug log, in its
// order.
TEST_F(SampleTest, EverythingHappensInItsOrder) {
  Put(u"OrvantaEventService.cfg", "Other=1\r\n");
  Put(u"Config\\Orvanta.ini", kMailSettings);
  machine.files.onCall = [&](TextView path) {
    const TextView name = path.substr(path.rfind(u'\\') + 1);
    for (const char* const each : {"registry", "mail", "OrvantaEventService.cfg", "Orvanta.ini", "Rules", "A.DAT",
                                   "EventLogs.txt", "EventLogs_RuleNamesOnly.txt"}) {
      if (name == FromUtf8(each) && journal.back() != each) journal.emplace_back(each);
    }
  };
  debug.SetEntryListener([&](TextView entry, EventType /*type*/) {
    for (const char* const each :
         {"started from C:\\Orvanta\\ as OrvantaEventService", "Entering Main Service Loop", "DoAction Initiated"}) {
      if (entry.find(FromUtf8(each)) != TextView::npos) journal.emplace_back(each);
    }
  });
  source.records = {Raw(u"something"), Raw(u"ORVANTA - Stopping Event Service... now")};
  // The folder is made by the start.
  source.onNext = [&] {
    if (source.records.size() == 2) Put(u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n");
  };
  host.slicesUntilStop = 2;
  RunMain();
  debug.SetEntryListener({});
  EXPECT_EQ(journal,
            (Journal{"create events", "dispatcher", "state 4", "registry", "connect",
                     "started from C:\\Orvanta\\ as OrvantaEventService", "mail", "OrvantaEventService.cfg", "Orvanta.ini",
                     "Rules", "Entering Main Service Loop",
                     // The alert: its rule is found, the mail composed and sent, the logs are written, then flushed.
                     "next", "Orvanta.ini", "Rules", "A.DAT", "Orvanta.ini", "DoAction Initiated", "Orvanta.ini", "registry",
                     "mail", "EventLogs.txt", "EventLogs_RuleNamesOnly.txt", "EventLogs.txt", "EventLogs_RuleNamesOnly.txt",
                     // The stop phrase, and slices until the control has come.
                     "next", "Rules", "wait 3000", "wait 3000", "wait 3000", "leave place", "state 1", "finish dispatcher",
                     "close events", "OrvantaEventService.cfg"}));
  EXPECT_TRUE(machine.prompt.shown.empty());
}

constexpr TextView kLog = u"C:\\Orvanta\\Data\\Debug Logs\\OrvantaEventService\\OrvantaEventService (4711)";

// What is written when which of the debug settings are on.
const struct {
  std::string settings;
  bool log, environment, dump;
} kDebugFiles[] = {
    {"Debug.Log.Verbose=1\r\nDebug.Log.RealTime=1\r\nDebug.EnvDump=1\r\nDebug.ProcDump=1\r\n", true, true, true},
    {"Debug.ProcDump=1\r\n", false, true, true},
    {"Debug.EnvDump=1\r\n", false, true, false},
    {"Debug.Log.RealTime=1\r\n", true, false, false},
    {"", false, false, false}};
class SampleDebugTest : public SampleTest, public ::testing::WithParamInterface<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(Each, SampleDebugTest, ::testing::Range<std::size_t>(0, std::size(kDebugFiles)));

TEST_P(SampleDebugTest, SettingsFromAFileGiveLogAndDumpsWithoutSecrets) {
  const auto& expected = kDebugFiles[GetParam()];
  Put(u"OrvantaEventService_Debug.cfg", expected.settings + "Email.SMTP.Password=geheim99");
  Put(u"Config\\Orvanta.ini", "[EmailConfig]\r\nSMTPPassword=geheim42\r\nSMTPServer=mail\r\n");
  Put(u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n");
  source.records = {Raw(u"something"), Raw(u"orvanta - stopping event service...")};
  RunMain();
  const struct {
    TextView name;
    bool isThere;
    std::vector<std::string> parts;  // in this order
  } files[] = {
      {u".log",
       expected.log,
       {"Orvanta Event Service " + ToUtf8(kVersion) + " started from C:\\Orvanta\\ as OrvantaEventService, process 4711",
        "Entering Main Service Loop"}},
      {u" Dump_Env.log",
       expected.environment,
       {"AutomaticMode=True", "SMTPPassword=***", "SMTPServer=mail", expected.settings, "A.DAT  42 bytes"}},
      {u" Dump_Proc.log",
       expected.dump,
       {"Source=App_Debug.InitDebug", "Source=Config_Class.LoadFile", "Source=App_Env.GetAppCaption",
        "Source=modFilterEvents.FindEvents", "End_ProcDump"}}};
  for (const auto& each : files) {
    const std::string text = machine.Content(Text(kLog) + Text(each.name), "-");
    EXPECT_EQ(text != "-", each.isThere) << ToUtf8(each.name);
    EXPECT_EQ(text.find("geheim"), std::string::npos) << text;
    std::size_t at = 0;
    for (const std::string& part : each.isThere ? each.parts : std::vector<std::string>()) {
      EXPECT_NE(at = text.find(part, at), std::string::npos) << part << "\n" << text;
    }
  }
}

// Somebody keeps the settings file, and all beside it, to himself from the second record on.
TEST_F(SampleTest, WhatCannotBeReadGoesOnServingAlertsAndMails) {
  Put(u"Config\\Orvanta.ini", kMailSettings);
  Put(u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n");
  source.records = {Raw(u"one"), Raw(u"two"), Raw(u"three"), Raw(u"orvanta - stopping event service...")};
  source.onNext = [&] {
    if (source.records.size() == 3) machine.files.FailPath(u"\\Config", SystemError::kSharingViolation);
  };
  RunMain();
  EXPECT_EQ(engines.mails.size(), 3u);
  EXPECT_TRUE(machine.Content(u"C:\\Orvanta\\EventLogs.txt").ends_with("Message: three\r\n"));
}

// The second record raises no alert.
TEST_F(SampleTest, AnEntryThatCouldNotBeWrittenIsTriedAgainBetweenRecords) {
  Put(u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n[EventDetail]\r\nEventDesc=one\r\n");
  source.records = {Raw(u"one"), Raw(u"two"), Raw(u"orvanta - stopping event service...")};
  machine.files.FailPath(u"EventLogs.txt", SystemError::kDiskFull);
  source.onNext = [&] {
    if (source.records.size() == 2) {
      machine.files.Heal();
      machine.clock.Advance(1000);
    } else if (source.records.size() == 1) {
      EXPECT_TRUE(machine.Content(u"C:\\Orvanta\\EventLogs.txt").ends_with("Message: one\r\n"));
    }
  };
  RunMain();
}

TEST_F(SampleTest, SecondInstanceDoesNothing) {
  host.anotherInstance = true;
  RunMain();
  EXPECT_TRUE(journal.empty());
  EXPECT_TRUE(machine.prompt.shown.empty());
}

TEST_F(SampleTest, WhereItIsNoServiceItSaysSoAndConnectsToNothing) {
  struct {
    bool isNT;
    Journal asked;
    TextView said;
  } const cases[] = {
      {true, {"create events", "dispatcher", "leave place", "close events"}, u"This program must be started as a service."},
      {false, {"create events", "leave place", "close events"}, u"This program is only for Windows NT/2000/XP/2003."}};
  host.underControlManager = false;
  for (const auto& each : cases) {
    journal.clear();
    machine.prompt.shown.clear();
    host.isNT = each.isNT;
    RunMain();
    EXPECT_EQ(journal, each.asked);
    ASSERT_EQ(machine.prompt.shown.size(), 1u);
    EXPECT_EQ(machine.prompt.shown[0].text, each.said);
    EXPECT_EQ(machine.prompt.shown[0].caption, u"Orvanta Event Service");
    EXPECT_EQ(machine.prompt.shown[0].flags, 65600u);
  }
}

TEST_F(SampleTest, AnErrorOfTheSourceEndsMainWithoutAStoppedReport) {
  Put(u"OrvantaEventService_Debug.cfg", "Debug.Log.RealTime=1");
  source.failConnect = true;
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "state 4", "connect"}));
  EXPECT_NE(machine.Content(Text(kLog) + u".log").find("no WMI"), std::string::npos) << "told before the settings were read";
  journal.clear();
  source.failConnect = false;
  source.records = {Raw(u"one")};
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "state 4", "connect", "next", "next"}));
}

TEST_F(SampleTest, ChannelKeysAreMadeOnceAndExistingOnesLeftAlone) {
  constexpr TextView kDefender =
      u"SYSTEM\\CurrentControlSet\\services\\eventlog\\Microsoft-Windows-Windows Defender/Operational";
  App_Registry helper(machine.keys);
  RegisterLogChannels(helper);
  EXPECT_TRUE(helper.RegKeyExist(os::RootKey::LocalMachine, kDefender));
  EXPECT_TRUE(helper.RegKeyExist(
      os::RootKey::LocalMachine,
      u"SYSTEM\\CurrentControlSet\\services\\eventlog\\Microsoft-Windows-WindowsUpdateClient/Operational"));
  ASSERT_TRUE(helper.RegWriteValue(os::RootKey::LocalMachine, kDefender, {}, Text(u"kept")));
  RegisterLogChannels(helper);
  EXPECT_EQ(helper.RegReadString(os::RootKey::LocalMachine, kDefender, {}), u"kept");
}

}  // namespace
}  // namespace ovs
