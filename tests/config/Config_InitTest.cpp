#include "config/Config_Init.h"

#include "config/ckCrypt_Config.h"
#include "platform/DebugEnvironment.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

constexpr TextView kDefault = u"C:\\App\\OrvantaEventService.cfg";

class ConfigInitTest : public PlatformTest {
 protected:
  ConfigInitTest() {
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Sub", u"C:\\Data"}) memory.CreateDir(folder).Ignore();
  }
  std::unique_ptr<Config_Class> Init(const ConfigInitOptions& options = {}) {
    return Config_Init(fileSystem, environment, crypt, options);
  }

  App_Env environment{system};
  ckCrypt_Config crypt{os::SystemCrypto()};
};

TEST_F(ConfigInitTest, FillsTheStoreFromTheProgramsFolder) {
  Put(kDefault, "a=1\r\nEmail.SMTP.Password=geheim\r\nEnv.WANAddress=192.0.2.1");
  Put(u"C:\\App\\Sub\\More.cfg", "b=2\r\nProxy.password=hidden");
  auto config = Init({.bSingleFile = true});
  EXPECT_EQ(config->Count(), 3u);
  EXPECT_NE(Content(kDefault).find("geheim"), std::string::npos) << "nobody but the service saves";
  config = Init({.bStartedAsService = true});
  EXPECT_EQ(config->Count(), 5u);
  for (const TextView path : {kDefault, TextView(u"C:\\App\\Sub\\More.cfg")}) {
    EXPECT_NE(Content(path).find("assword=<ev~>"), std::string::npos) << "encrypted on disk from now on";
  }
  EXPECT_EQ(environment.WanAddress(), u"192.0.2.1");
  EXPECT_EQ(log.find(u"geheim"), Text::npos);
  config->SetString(u"b", u"3");
  config->Release();
  config->SetString(u"b", u"9");
  config.reset();  // saves once
  EXPECT_EQ(Content(kDefault).find("geheim"), std::string::npos);
  EXPECT_TRUE(Content(u"C:\\App\\Sub\\More.cfg").starts_with("b=3\r\nProxy.password=<ev~>"));
  EXPECT_EQ(Init()->GetString(u"email.smtp.password"), u"geheim");
  // Nobody but the service saves by itself.
  for (const ConfigInitOptions& options :
       {ConfigInitOptions{}, ConfigInitOptions{.bNoReleaseSave = true, .bStartedAsService = true}}) {
    Init(options)->SetString(u"b", u"4");
    EXPECT_TRUE(Content(u"C:\\App\\Sub\\More.cfg").starts_with("b=3"));
  }
}

TEST_F(ConfigInitTest, AnEmptyFolderGivesAnEmptyStoreAndTheDefaultFileOnSaving) {
  const auto config = Init();
  EXPECT_EQ(config->Count(), 0u);
  EXPECT_TRUE(config->SaveConfig());
  EXPECT_EQ(Content(kDefault), "");
}

// Whatever call fails, once: no file loses a key, and the next run has everything.
TEST_F(ConfigInitTest, NoFailingCallLosesASetting) {
  const auto run = [&] {
    Put(kDefault, "a=1\r\nx=1");
    Put(u"C:\\App\\Mail.cfg", "b=1\r\ny=1\r\nx.Password=geheim");
    const std::uint64_t before = files.Calls();
    const auto config = Init({.bLoadDebugSettings = true, .bStartedAsService = true});
    config->SetString(u"a", u"2");
    config->SetString(u"b", u"2");
    const bool saved = config->SaveConfig();
    return std::pair(saved, files.Calls() - before);
  };
  const auto [saved, calls] = run();
  ASSERT_TRUE(saved);
  ASSERT_GE(calls, 10u);
  for (const os::Error error : {SystemError::kAccessDenied, SystemError::kDiskFull}) {
    for (std::uint64_t nth = 1; nth <= calls; ++nth) {
      SCOPED_TRACE(nth);
      files.FailCall(nth, error);
      run();
      files.Heal();
      const auto config = Init();
      for (const TextView key : {u"a", u"b"}) EXPECT_TRUE(config->GetLong(key) == 1 || config->GetLong(key) == 2);
      for (const TextView key : {u"x", u"y"}) EXPECT_EQ(config->GetLong(key), 1);
      EXPECT_EQ(config->GetString(u"x.Password"), u"geheim");
      config->SetString(u"a", u"2");
      EXPECT_TRUE(config->SaveConfig());
      EXPECT_EQ(Init()->GetLong(u"a"), 2);
    }
  }
}

TEST_F(ConfigInitTest, DebugSettings) {
  system.environment[u"ProgramData"] = u"C:\\Data";
  debug.Attach({.files = &files, .system = &system}, DebugEnvironmentOf(environment, fileSystem));
  debug.InitDebug({}, false, {});
  Put(u"C:\\App\\x_Debug.cfg",
      "Debug.Log.Verbose=2\r\nDebug.SystemOutput.Enable=1\r\nDebug.SystemOutput.Prefix=P\r\nDebug.EnvDump=1\r\n"
      "Debug.ProcDump.IncompleteOnly=1\r\nDebug.ProcDump.IncludeProcTimers=1\r\nDebug.ProcDump.EventTypes=48\r\n"
      "Debug.PerfTimer.Enable=1\r\nDebug.ProcDump=true\r\nDebug.Log.RealTime=1");
  files.FailPath(u"Debug Logs", os::Error(5));
  const auto config = Init({.bLoadDebugSettings = true});
  EXPECT_FALSE(debug.Switches().realTime);
  files.Heal();
  LoadDebugSettings(config.get(), false);
  const DebugSwitches on = debug.Switches();
  EXPECT_TRUE(on.verbose && on.systemOutput && on.envDump && on.procDumpIncompleteOnly && on.procDumpIncludeProcTimers &&
              on.perfTimer && on.realTime);
  EXPECT_FALSE(on.procDump);
  EXPECT_EQ(on.systemOutputPrefix, u"P");
  EXPECT_EQ(on.procDumpEventTypes, 48);
  EXPECT_TRUE(Exists(debug.DebugLogFile()));
  // Reading again switches nothing off, but for what a reset covers.
  const Config_Class empty(fileSystem, crypt, u"C:\\App");
  LoadDebugSettings(&empty, true);
  const DebugSwitches after = debug.Switches();
  EXPECT_TRUE(!after.verbose && !after.systemOutput && after.systemOutputPrefix == u"Orvanta");
  EXPECT_TRUE(after.envDump && after.perfTimer && after.procDumpEventTypes == 48);
  debug.DebugLogClose();
}

}  // namespace
}  // namespace ovs
