#include "service/Sample.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "base/MemoryRegistry.h"
#include "base/RuntimeError.h"
#include "base/os/Crypto.h"
#include "base/os/PendingError.h"
#include "diag/App_Debug.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeMailEngines.h"
#include "fakes/FakeMailer.h"
#include "fakes/FakePrompt.h"
#include "fakes/FakeSystem.h"
#include "fakes/FakeWatcher.h"
#include "fakes/FaultyFiles.h"
#include "fakes/MemoryFiles.h"
#include "platform/DebugEnvironment.h"
#include "platform/FileContent.h"
#include "service/EnvironmentReport.h"

namespace ovs {
namespace {

using Journal = std::vector<std::string>;

// A service control manager that writes down what it is told and sends its stop control when asked for the n-th time.
class JournalHost final : public ServiceHost {
 public:
  explicit JournalHost(Journal& journal) : journal_(journal) {}

  bool AnotherInstanceRuns() override { return anotherInstance; }
  bool IsWindowsNT() override { return isNT; }
  void CreateEvents() override { journal_.emplace_back("create events"); }
  void CloseEvents() noexcept override { journal_.emplace_back("close events"); }
  bool StartAsService() override {
    journal_.emplace_back("dispatcher");
    return underControlManager;
  }
  void ReportServiceState(ServiceState state) noexcept override {
    journal_.push_back("state " + std::to_string(static_cast<int>(state)));
  }
  bool WaitForStopControl(std::uint32_t milliseconds) override {
    journal_.push_back("wait " + std::to_string(milliseconds));
    return slicesUntilStop-- == 0;
  }
  void FinishDispatcher() override { journal_.emplace_back("finish dispatcher"); }

  bool anotherInstance = false;
  bool isNT = true;
  bool underControlManager = true;
  int slicesUntilStop = 0;

 private:
  Journal& journal_;
};

class JournalSource final : public EventSource {
 public:
  explicit JournalSource(Journal& journal) : journal_(journal) {}
  void Connect() override {
    journal_.emplace_back("connect");
    if (failConnect) throw RuntimeError(RuntimeErrorNumber::kComponent, u"no WMI");
  }
  RawRecord NextEvent() override {
    journal_.emplace_back("next");
    if (records.empty()) throw RuntimeError(RuntimeErrorNumber::kComponent, u"source ended", u"SWbemEventSource");
    RawRecord record = records.front();
    records.pop_front();
    return record;
  }
  std::deque<RawRecord> records;
  bool failConnect = false;

 private:
  Journal& journal_;
};

RawRecord Raw(Text message) {
  RawRecord record;
  record.eventType = std::int64_t{3};
  record.logfile = Text(u"System");
  record.message = std::move(message);
  return record;
}

class SampleTest : public ::testing::Test {
 protected:
  SampleTest() { system.programPath = u"C:\\Orvanta\\OrvantaEventService.exe"; }

  void RunMain() {
    App_Env environment(system);
    App_FileSystem fileSystem(faulty, system);
    App_Registry registryHelper(registry);
    App_Common ini(faulty);
    App_Time time(clock, zone, faulty);
    fakes::FakeMailer mailer;
    const ckCrypt_Config crypt(os::SystemCrypto());
    Sample service(
        {host, source, prompt, environment, registryHelper, fileSystem, ini, crypt, time, clock, watcher, engines, mailer});
    DebugEnvironment debugEnvironment = DebugEnvironmentOf(environment, fileSystem);
    debugEnvironment.environmentReport = [&] {
      return EnvironmentReport({environment, fileSystem, [&] { return service.ProgramSettings(); }});
    };
    debug.Attach({.files = &faulty, .clock = &clock, .timeZone = &zone, .system = &system}, debugEnvironment);
    service.Main();
    debug.CleanupDebug();
  }

  void Put(TextView name, const std::string& bytes) {
    for (const TextView folder : {u"C:\\Orvanta", u"C:\\Orvanta\\Config", u"C:\\Orvanta\\Config\\Rules"})
      files.CreateDir(folder);
    ASSERT_TRUE(files.Write(u"C:\\Orvanta\\" + Text(name), bytes)) << PendingSystemError();
    TakePendingSystemError();
  }

  std::string Content(TextView path) {
    std::string bytes;
    ReadFileBytes(files, path, bytes);
    TakePendingSystemError();
    return bytes;
  }

  Journal journal;
  JournalHost host{journal};
  JournalSource source{journal};
  App_Debug debug;
  ScopedDiagnostics scoped{debug};
  fakes::MemoryFiles files;
  fakes::FaultyFiles faulty{files};
  fakes::FakeSystem system;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  fakes::FakePrompt prompt;
  fakes::FakeMailEngines engines;
  fakes::FakeWatcher watcher;
  MemoryRegistry registry;
};

TEST_F(SampleTest, StartsInOrderAndStopsWithBothKeys) {
  source.records = {Raw(u"something"), Raw(u"ORVANTA - Stopping Event Service... now")};
  host.slicesUntilStop = 2;
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "state 4", "connect", "next", "next", "wait 3000", "wait 3000",
                              "wait 3000", "state 1", "finish dispatcher", "close events"}));
  EXPECT_TRUE(prompt.shown.empty());
  EXPECT_EQ(engines.started, 1);
  os::FileInfo info;
  EXPECT_TRUE(files.Info(u"C:\\Orvanta\\Config\\Rules", info));
}

constexpr TextView kLog = u"C:\\Orvanta\\Data\\Debug Logs\\OrvantaEventService\\OrvantaEventService (4711)";

// Everything on: settings, a rule that matches, debug log, both dumps.
constexpr const char* kDebugSettings =
    "Debug.Log.Verbose=1\r\nDebug.Log.RealTime=1\r\nDebug.EnvDump=1\r\nDebug.ProcDump=1\r\nEmail.SMTP.Password=geheim99";

TEST_F(SampleTest, DebugSettingsFromAFileGiveLogAndDumpsWithoutSecrets) {
  Put(u"OrvantaEventService_Debug.cfg", kDebugSettings);
  Put(u"Config\\Orvanta.ini", "[EmailConfig]\r\nSMTPPassword=geheim42\r\nSMTPServer=mail\r\n");
  Put(u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n");
  source.records = {Raw(u"something"), Raw(u"orvanta - stopping event service...")};
  RunMain();
  const std::string log = Content(Text(kLog) + u".log");
  const std::string environment = Content(Text(kLog) + u" Dump_Env.log");
  const std::string dump = Content(Text(kLog) + u" Dump_Proc.log");
  EXPECT_NE(log.find("Entering Main Service Loop"), std::string::npos);
  EXPECT_NE(environment.find("SMTPPassword=***"), std::string::npos) << environment;
  EXPECT_NE(environment.find("SMTPServer=mail"), std::string::npos);
  EXPECT_NE(environment.find("A.DAT  42 bytes"), std::string::npos);
  EXPECT_NE(environment.find("Debug.ProcDump=1"), std::string::npos);
  EXPECT_NE(dump.find("Source=modFilterEvents.FindEvents"), std::string::npos);
  EXPECT_NE(dump.find("End_ProcDump"), std::string::npos);
  for (const std::string* text : {&log, &environment, &dump}) EXPECT_EQ(text->find("geheim"), std::string::npos);
}

TEST_F(SampleTest, WhicheverFileCallFailsTheRunEndsCleanlyAndTheNextRecordIsHandled) {
  const auto run = [&](std::uint64_t failing, std::uint32_t number) {
    files = {};
    Put(u"OrvantaEventService_Debug.cfg", kDebugSettings);
    Put(u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n");
    source.records = {Raw(u"one"), Raw(u"two"), Raw(u"three"), Raw(u"orvanta - stopping event service...")};
    journal.clear();
    host.slicesUntilStop = 0;
    faulty.Heal();
    if (failing != 0) faulty.FailCall(failing, number);
    const std::uint64_t before = faulty.Calls();
    RunMain();
    return faulty.Calls() - before;
  };
  const std::uint64_t calls = run(0, 0);
  ASSERT_GT(calls, 50u);
  for (std::uint64_t failing = 1; failing <= calls; ++failing) {
    for (const std::uint32_t number : {SystemErrorNumber::kDiskFull, SystemErrorNumber::kSharingViolation}) {
      run(failing, number);
      EXPECT_EQ(journal.back(), "close events") << failing;
      // One record at most is lost to one failing call, and what was written is whole.
      const std::string log = Content(u"C:\\Orvanta\\EventLogs.txt");
      std::size_t entries = 0;
      for (const char* message : {"one", "two", "three"}) {
        entries += log.find("Message: " + std::string(message) + "\r\n") != std::string::npos ? 1u : 0u;
      }
      EXPECT_GE(entries, 2u) << failing << " " << number << "\n" << log;
      EXPECT_TRUE(log.empty() || log.ends_with("\r\n")) << failing;
    }
  }
}

TEST_F(SampleTest, SecondInstanceDoesNothing) {
  host.anotherInstance = true;
  RunMain();
  EXPECT_TRUE(journal.empty());
  EXPECT_TRUE(prompt.shown.empty());
}

TEST_F(SampleTest, StartedByHandItSaysSoAndConnectsToNothing) {
  host.underControlManager = false;
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "close events"}));
  ASSERT_EQ(prompt.shown.size(), 1u);
  EXPECT_EQ(prompt.shown[0].text, u"This program must be started as a service.");
  EXPECT_EQ(prompt.shown[0].caption, u"Orvanta Event Service");
  EXPECT_EQ(prompt.shown[0].flags, 65600u);
}

TEST_F(SampleTest, AnErrorOfTheSourceEndsMainWithoutAStoppedReport) {
  source.failConnect = true;
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "state 4", "connect"}));
  journal.clear();
  source.failConnect = false;
  source.records = {Raw(u"one")};
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "state 4", "connect", "next", "next"}));
}

TEST_F(SampleTest, ChannelKeysAreMadeOnceAndExistingOnesLeftAlone) {
  constexpr TextView kDefender =
      u"SYSTEM\\CurrentControlSet\\services\\eventlog\\Microsoft-Windows-Windows Defender/Operational";
  App_Registry helper(registry);
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
