// Memory runs out anywhere on the way of an alert: once, or from some moment on until the record is handled. The record's
// procedures answer with their neutral results, and the record after it raises its alert.
#include <gtest/gtest.h>

#include <tuple>

#include "diag/App_Debug.h"
#include "mail/message/modEmailSvc.h"
#include "support/AllocationCount.h"
#include "support/FakeMailEngines.h"
#include "support/MonitorFolder.h"

namespace ovs {
namespace {

class MemoryTest : public ::testing::TestWithParam<std::tuple<bool, bool>> {
 protected:
  MemoryTest() : scoped_(debug) {
    debug.SetSwitches({.verbose = std::get<1>(GetParam())});
    folder.Monitoring(
        "DiskEvents=1\r\nEventEmails=1\r\n[EmailConfig]\r\nAdminEmail=tech@x\r\nSMTPServer=mail\r\n"
        "SMTPPort=587\r\nSMTPUserName=user\r\nSMTPPassword=75565C58525B5B0D0843\r\n[EmailOptions]\r\nEmailAdminEvents="
        "1\r\n");
    folder.Rule(u"A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nError=1\r\n[EventDetail]\r\nEventDesc=bad\r\n");
    folder.Rule(u"GlobalExclusion_EventDesc_List.txt", "never to be found\r\nhidden\r\n");
    folder.Rule(u"GlobalExclusion_EventID_List.txt", "1\r\n2\r\n3\r\n99\r\n");
  }

  // A fresh engine handles a record whose nth allocation fails, then another. Gives whether an allocation failed.
  bool AlertOutOfMemoryAt(int nth) {
    for (const TextView log : {u"C:\\App\\EventLogs.txt", u"C:\\App\\EventLogs_RuleNamesOnly.txt"})
      folder.disk.Delete(log).Ignore();
    engines.mails.clear();
    Modules& modules = folder.modules;
    modEmailSvc mailer({.ini = modules.ini,
                        .registry = modules.registry,
                        .fileSystem = modules.fileSystem,
                        .environment = modules.environment,
                        .engines = engines,
                        .user = user,
                        .store = store});
    ServiceEngine engine(folder, mailer);
    const int before = AllocationCount();
    {
      const AllocationFailure failure(nth, std::get<0>(GetParam()));
      engine.Handle(record);
    }
    const bool failed = AllocationCount() - before >= nth;
    const std::uint32_t errors = debug.Counters().errorHandler;
    engine.Handle(next);
    EXPECT_TRUE(folder.Content(u"C:\\App\\EventLogs.txt").ends_with("Message: bad block, again\r\n"))
        << "allocation " << nth;
    EXPECT_FALSE(engines.mails.empty()) << "allocation " << nth;
    const std::string log = folder.Content(u"C:\\App\\EventLogs.txt");
    engine.Handle(hiddenById);
    engine.Handle(hiddenByText);
    EXPECT_EQ(folder.Content(u"C:\\App\\EventLogs.txt"), log) << "half a list, allocation " << nth;
    EXPECT_EQ(debug.Counters().errorHandler, errors) << "the second record met an error, allocation " << nth;
    return failed;
  }

  // Made beforehand: only the engine's own allocations are to fail.
  const EventRecord record{1, u"Error", u"7", u"src", u"bad block", u"System", u"20240307130509.000000-000"};
  const EventRecord next{1, u"Error", u"7", u"src", u"bad block, again", u"System", u"20240307130509.000000-000"};
  const EventRecord hiddenById{1, u"Error", u"99", u"src", u"bad block", u"System", u"20240307130509.000000-000"};
  const EventRecord hiddenByText{1, u"Error", u"7", u"src", u"bad, hidden", u"System", u"20240307130509.000000-000"};
  App_Debug debug;
  ScopedDiagnostics scoped_;
  MonitorFolder folder;
  Config_Class store{folder.modules.fileSystem, folder.modules.crypt, u"C:\\App\\"};
  fakes::FakeMailEngines engines;
  PlainMailUser user{folder.prompt};
};

TEST_P(MemoryTest, EveryAllocationOfAnAlertMayFail) {
  int nth = 1;
  while (AlertOutOfMemoryAt(nth) && !HasFailure()) ++nth;
  EXPECT_GT(nth, 100);
  EXPECT_GT(debug.Counters().errorHandler, 0u);
}

// Once or from then on; with the verbose log, which makes the engine test everything, or without.
INSTANTIATE_TEST_SUITE_P(Ways, MemoryTest, ::testing::Combine(::testing::Bool(), ::testing::Bool()));

}  // namespace
}  // namespace ovs
