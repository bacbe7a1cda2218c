// The console as a command leaves it that is ended by Ctrl-C.
#include "ovsctl/os/Terminal.h"

#include <windows.h>
#include <gtest/gtest.h>

namespace ovs {
namespace {

HANDLE seen = nullptr;

// Asked after the command's own; it keeps the test from being ended.
BOOL WINAPI TakeControl(DWORD /*control*/) { return SetEvent(seen); }

TEST(TerminalTest, CtrlCPutsTheCodePageBack) {
  constexpr UINT kBefore = 850;
  FreeConsole();
  ASSERT_TRUE(AllocConsole()) << GetLastError();
  seen = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_TRUE(SetConsoleOutputCP(kBefore) && SetConsoleCtrlHandler(&TakeControl, TRUE));
  static_cast<void>(os::PrepareTerminal());
  ASSERT_EQ(GetConsoleOutputCP(), UINT{CP_UTF8});
  ASSERT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
  ASSERT_EQ(WaitForSingleObject(seen, 60'000), WAIT_OBJECT_0);
  EXPECT_EQ(GetConsoleOutputCP(), kBefore);
}

}  // namespace
}  // namespace ovs
