// What of the service control manager's side shows without one. The rest is tested end to end.
#include "service/win32/NTService.h"

#include <gtest/gtest.h>

#include <future>

namespace ovs {
namespace {

TEST(NTService, StopAndShutdownAskForTheEndAndOthersDoNot) {
  struct {
    std::uint32_t control;
    bool asksForTheEnd;
  } const cases[] = {{1, true}, {5, true}, {4, false}, {2, false}, {3, false}, {6, false}, {128, false}};
  for (const auto& each : cases) {
    NTService service(u"C:\\none.exe");
    service.CreateEvents();
    service.ServiceControlHandler(each.control);
    // A wait that ends does so at once. The event stays set: a control that came first is still seen later.
    const std::uint32_t patience = each.asksForTheEnd ? 60'000 : 1;
    EXPECT_EQ(service.WaitForStopControl(patience), each.asksForTheEnd) << each.control;
    EXPECT_EQ(service.WaitForStopControl(patience), each.asksForTheEnd) << each.control;
    service.CloseEvents();
  }
}

TEST(NTService, TheFirstInstanceOfAProgramFileHoldsItsPlace) {
  // Each on a thread of its own, as a process has.
  const auto another = [](TextView program, std::uint32_t patience) {
    return std::async(std::launch::async, [=] { return NTService(program, patience).AnotherInstanceRuns(); });
  };
  NTService first(u"C:\\Orvanta Test\\Program.exe");
  EXPECT_FALSE(first.AnotherInstanceRuns());
  EXPECT_TRUE(another(u"c:\\ORVANTA test\\program.EXE", 1).get());
  EXPECT_FALSE(another(u"C:\\Orvanta Test\\Other.exe", 1).get());
  std::future<bool> waiting = another(u"C:\\Orvanta Test\\Program.exe", 60'000);
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  first.LeavePlace();
  EXPECT_FALSE(waiting.get()) << "the place was given up meanwhile";
}

TEST(NTService, AWaitThatFailsCountsAsNoTimeOut) {
  NTService service(u"C:\\none.exe");
  EXPECT_TRUE(service.WaitForStopControl(60'000)) << "there is no event to wait for";
}

TEST(NTService, ThisIsAnNtSystem) { EXPECT_TRUE(NTService(u"x").IsWindowsNT()); }

}  // namespace
}  // namespace ovs
