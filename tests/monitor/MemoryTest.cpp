// Memory runs out anywhere on the way of an alert: once, or from some moment on until the record is handled. The record's
// procedures answer with their neutral results, and the record after it raises its alert.
#include <gtest/gtest.h>

#include <tuple>

#include "config/ckCrypt_Config.h"
#include "mail/message/modEmailSvc.h"
#include "monitor/modFilterEvents.h"
#include "os/Crypto.h"
#include "os/MemoryRegistry.h"
#include "platform/FileContent.h"
#include "support/AllocationCount.h"
#include "support/FakeClock.h"
#include "support/FakeMailEngines.h"
#include "support/FakePrompt.h"
#include "support/FakeWatcher.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

class MemoryTest : public PlatformTest, public ::testing::WithParamInterface<std::tuple<bool, bool>> {
 protected:
  MemoryTest() {
    debug.SetEntryListener({});  // its memory is the test's own
    debug.SetSwitches({.verbose = std::get<1>(GetParam())});
    for (const TextView folder : {u"C:\\App", u"C:\\App\\Config", u"C:\\App\\Config\\Rules"}) memory.CreateDir(folder);
    Put(u"C:\\App\\Config\\Orvanta.ini",
        "[Monitoring]\r\nDiskEvents=1\r\nEventEmails=1\r\n[EmailConfig]\r\nAdminEmail=tech@x\r\nSMTPServer=mail\r\n"
        "SMTPPort=587\r\nSMTPUserName=user\r\nSMTPPassword=75565C58525B5B0D0843\r\n[EmailOptions]\r\nEmailAdminEvents="
        "1\r\n");
    Put(u"C:\\App\\Config\\Rules\\A.DAT",
        "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n[EventDetail]\r\nEventDesc=bad\r\n");
    Put(u"C:\\App\\Config\\Rules\\GlobalExclusion_EventDesc_List.txt", "never to be found\r\n");
  }

  std::string Log() {
    std::string bytes;
    ReadFileBytes(files, u"C:\\App\\EventLogs.txt", bytes);
    return bytes;
  }

  // A fresh engine handles a record whose nth allocation fails, then another. Gives whether an allocation failed.
  bool AlertOutOfMemoryAt(int nth) {
    memory.Delete(u"C:\\App\\EventLogs.txt");
    memory.Delete(u"C:\\App\\EventLogs_RuleNamesOnly.txt");
    engines.mails.clear();
    MonitorSettings settings = PathsOf(u"C:\\App\\");
    EventLogFiles logFiles(fileSystem, settings);
    modEmailSvc mailer({ini, helper, fileSystem, environment, engines, user, [this] { return &store; }});
    modFilterEvents engine({fileSystem, ini, time, mailer, logFiles, clock, watcher}, settings);
    const int before = AllocationCount();
    {
      const AllocationFailure failure(nth, std::get<0>(GetParam()));
      engine.FindEvents(record);
    }
    const bool failed = AllocationCount() - before >= nth;
    const std::uint32_t errors = debug.Counters().errorHandler;
    engine.FindEvents(next);
    EXPECT_NE(Log().find("Message: bad block, again\r\n"), std::string::npos) << "allocation " << nth;
    EXPECT_TRUE(Log().ends_with("\r\n"));
    EXPECT_FALSE(engines.mails.empty()) << "allocation " << nth;
    EXPECT_EQ(debug.Counters().errorHandler, errors) << "the second record met an error, allocation " << nth;
    return failed;
  }

  // Made beforehand: only the engine's own allocations are to fail.
  const EventRecord record{1, u"Error", u"7", u"src", u"bad block", u"System", u"20240307130509.000000-000"};
  const EventRecord next{1, u"Error", u"7", u"src", u"bad block, again", u"System", u"20240307130509.000000-000"};
  MemoryRegistry registry;
  App_Registry helper{registry};
  App_Env environment{system};
  App_Common ini{files};
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  App_Time time{clock, zone, files};
  const ckCrypt_Config crypt{os::SystemCrypto()};
  Config_Class store{fileSystem, crypt, u"C:\\App\\"};
  fakes::FakeMailEngines engines;
  fakes::FakePrompt prompt;
  PlainMailUser user{prompt};
  fakes::FakeWatcher watcher;
};

TEST_P(MemoryTest, EveryAllocationOfAnAlertMayFail) {
  int nth = 1;
  while (AlertOutOfMemoryAt(nth) && !HasFailure()) ++nth;
  EXPECT_GT(nth, 100);
  EXPECT_GT(debug.Counters().errorHandler, 0u);
}

// Once or from then on; with the verbose log, which takes the way that reads everything, or without.
INSTANTIATE_TEST_SUITE_P(Ways, MemoryTest, ::testing::Combine(::testing::Bool(), ::testing::Bool()));

}  // namespace
}  // namespace ovs
