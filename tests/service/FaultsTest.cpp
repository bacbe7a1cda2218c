// Any call to the machine fails: files, registry, time zone, mail engine. One after the other, and two at a time at random.
// The service goes on, loses no more than what the failing calls carried, and its debug log says so.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>
#include <string>

#include "diag/App_Debug.h"
#include "service/modEventSvc.h"
#include "support/FakeMailEngines.h"
#include "support/ServiceDoubles.h"
#include "support/TestMachine.h"

namespace ovs {
namespace {

constexpr const char* kMessages[] = {"one", "two", "three"};

const std::pair<TextView, std::string> kFiles[] = {
    {u"OrvantaEventService_Debug.cfg", "Debug.Log.RealTime=1\r\nDebug.EnvDump=1\r\nEmail.SMTP.Password=geheim99\r\n"},
    {u"Config\\Orvanta.ini",
     "[Monitoring]\r\nDiskEvents=1\r\nEventEmails=1\r\n[EmailConfig]\r\nAdminEmail=tech@x\r\nSMTPServer=mail\r\n"
     "SMTPPort=587\r\nSMTPUserName=user\r\nSMTPPassword=75565C58525B5B0D0843\r\n[EmailOptions]\r\nEmailAdminEvents=1\r\n"},
    {u"Config\\Rules\\A.DAT", "[LogFile]\r\nSystem=1\r\n[EventType]\r\nInfo=1\r\n"},
    {u"Config\\Rules\\GlobalExclusion_EventDesc_List.txt", "never to be found\r\n"},
};

// Written anew at the end of a run, its secret encrypted.
constexpr TextView kStore = u"OrvantaEventService.cfg";
constexpr const char* kStoreBefore = "Other=1\r\nEmail.SMTP.Password=geheim77\r\n";
// The order is that in which the entries were changed.
constexpr std::string_view kStoreAfter[] = {"Email.SMTP.Password=<ev~>883E9B7D245827CF44711FB1254EF6A0\r\nOther=1",
                                            "Other=1\r\nEmail.SMTP.Password=<ev~>883E9B7D245827CF44711FB1254EF6A0"};

// One machine, one run of the service over three records that match; the procedure dump multiplies the calls to fail and
// the time.
class ServiceRun {
 public:
  explicit ServiceRun(bool dump) {
    machine.system.programPath = u"C:\\Orvanta\\OrvantaEventService.exe";
    for (const auto& [name, bytes] : kFiles) machine.Put(u"C:\\Orvanta\\" + Text(name), bytes);
    machine.Put(u"C:\\Orvanta\\" + Text(kStore), kStoreBefore);
    if (dump) machine.Put(u"C:\\Orvanta\\Dump_Debug.cfg", "Debug.ProcDump=1\r\n");
    for (const char* message : kMessages) source.records.push_back(Raw(FromUtf8(message)));
    source.records.push_back(Raw(u"orvanta - stopping event service..."));
  }

  void Fail(std::uint64_t call, os::Error error) { machine.files.FailCall(call, error); }

  void Go() {
    debug.SetEntryListener([this](TextView entry, EventType /*type*/) { entries.emplace_back(entry); });
    modEventSvc(machine.Ports(), {.host = host, .source = source, .mailEngines = faultyEngines}).Run();
    debug.SetEntryListener({});
  }

  std::string Content(TextView name) { return machine.Content(u"C:\\Orvanta\\" + Text(name)); }

  // What must hold whatever failed; `faults` calls were told to.
  void Check(std::size_t faults) {
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.back(), "close events");
    for (const auto& [name, bytes] : kFiles) EXPECT_EQ(Content(name), bytes) << "changed: " << ToUtf8(name);
    const std::string store = Content(kStore);
    EXPECT_TRUE(std::ranges::find(kStoreAfter, store) != std::end(kStoreAfter) || (faults > 0 && store == kStoreBefore))
        << "half written: " << store;
    const std::string log = Content(u"EventLogs.txt");
    EXPECT_TRUE(log.empty() || log.ends_with("\r\n")) << log;
    const std::size_t logged = static_cast<std::size_t>(std::ranges::count_if(
        kMessages, [&](const std::string message) { return log.find("\r\nMessage: " + message + "\r\n") != log.npos; }));
    // A mail takes three calls in a row to be given up, its log entry two; the record after that is handled.
    EXPECT_GE(logged + faults, std::size(kMessages)) << log;
    EXPECT_GE(engines.mails.size() + faults, std::size(kMessages));
    const bool lost = logged < std::size(kMessages) || engines.mails.size() < std::size(kMessages);
    EXPECT_TRUE(!lost || std::ranges::any_of(entries, IsProblem)) << "lost without a word";
    for (const Text& entry : entries) EXPECT_EQ(entry.find(u"geheim"), Text::npos) << ToUtf8(entry);
  }

  static bool IsProblem(const Text& entry) {
    constexpr TextView kWords[] = {u"ErrorHandler", u"APIError", u"Failure", u"failed", u"Cannot", u"cannot", u"lacks"};
    return std::ranges::any_of(kWords, [&](TextView word) { return entry.find(word) != Text::npos; });
  }

  Journal journal;
  JournalHost host{journal};
  JournalSource source{journal};
  App_Debug debug;
  ScopedDiagnostics scoped{debug};
  std::vector<Text> entries;
  fakes::TestMachine machine;
  fakes::FakeMailEngines engines;
  fakes::FaultyEngines faultyEngines{machine.files, engines};
};

std::uint64_t CallsOfARun(bool dump) {
  ServiceRun run(dump);
  run.Go();
  run.Check(0);
  return run.machine.files.Calls();
}

constexpr os::Error kErrors[] = {SystemError::kDiskFull, SystemError::kSharingViolation, SystemError::kAccessDenied,
                                 SystemError::kGeneralFailure};

// Of a hundred runs so many have the procedure dump on.
constexpr int kDumpsInAHundred = 5;

class FaultsTest : public ::testing::TestWithParam<bool> {};

TEST_P(FaultsTest, EachCallInTurn) {
  const bool dump = GetParam();
  const std::uint64_t calls = CallsOfARun(dump);
  ASSERT_GT(calls, 100u);
  for (std::uint64_t call = 1; call <= calls; ++call) {
    for (const os::Error error : std::span(kErrors).first(dump ? 1 : std::size(kErrors))) {
      ServiceRun run(dump);
      run.Fail(call, error);
      run.Go();
      run.Check(1);
      if (HasFailure()) FAIL() << "call " << call << " failed with " << error.Number();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Dump, FaultsTest, ::testing::Bool());

// Ten tests of a thousand runs each, so that they run side by side.
class FaultPairsTest : public ::testing::TestWithParam<unsigned> {};

TEST_P(FaultPairsTest, TwoAtRandom) {
  constexpr int kRuns = 1000;
  std::mt19937 random(GetParam());
  const std::uint64_t calls[] = {CallsOfARun(false), CallsOfARun(true)};
  std::uniform_int_distribution<std::size_t> anyError(0, std::size(kErrors) - 1);
  for (int i = 0; i < kRuns; ++i) {
    const bool dump = i % 100 < kDumpsInAHundred;
    std::uniform_int_distribution<std::uint64_t> anyCall(1, calls[dump ? 1 : 0]);
    const std::pair first(anyCall(random), kErrors[anyError(random)]);
    const std::pair second(anyCall(random), kErrors[anyError(random)]);
    ServiceRun run(dump);
    run.Fail(first.first, first.second);
    run.Fail(second.first, second.second);
    run.Go();
    run.Check(2);
    if (HasFailure())
      FAIL() << first.first << " " << first.second.Number() << ", " << second.first << " " << second.second.Number();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, FaultPairsTest, ::testing::Range(1u, 11u));

}  // namespace
}  // namespace ovs
