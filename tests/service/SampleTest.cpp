#include "service/Sample.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

#include "base/MemoryRegistry.h"
#include "base/RuntimeError.h"
#include "fakes/FakeClock.h"
#include "fakes/FakePrompt.h"
#include "fakes/FakeSystem.h"
#include "fakes/MemoryFiles.h"

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
  record.message = std::move(message);
  return record;
}

class SampleTest : public ::testing::Test {
 protected:
  SampleTest() { system.programPath = u"C:\\Orvanta\\OrvantaEventService.exe"; }

  void RunMain() {
    App_Env environment(system);
    App_FileSystem fileSystem(files, system);
    App_Registry registryHelper(registry);
    App_Common ini(files);
    App_Time time(clock, zone, files);
    NoMailer mailer(u"test");
    Sample({host, source, prompt, environment, registryHelper, fileSystem, ini, time, mailer}).Main();
  }

  Journal journal;
  JournalHost host{journal};
  JournalSource source{journal};
  fakes::MemoryFiles files;
  fakes::FakeSystem system;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  fakes::FakePrompt prompt;
  MemoryRegistry registry;
};

TEST_F(SampleTest, StartsInOrderAndStopsWithBothKeys) {
  source.records = {Raw(u"something"), Raw(u"ORVANTA - Stopping Event Service... now")};
  host.slicesUntilStop = 2;
  RunMain();
  EXPECT_EQ(journal, (Journal{"create events", "dispatcher", "state 4", "connect", "next", "next", "wait 3000", "wait 3000",
                              "wait 3000", "state 1", "finish dispatcher", "close events"}));
  EXPECT_TRUE(prompt.shown.empty());
  os::FileInfo info;
  EXPECT_TRUE(files.Info(u"C:\\Orvanta\\Config\\Rules", info));
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
