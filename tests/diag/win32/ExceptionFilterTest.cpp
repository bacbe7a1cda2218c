// Real faults inside traced procedures: each is an error of its procedure, and the process goes on.
#include <windows.h>
#include <xmmintrin.h>

#include <functional>
#include <stdexcept>
#include <thread>

#include "diag/MExceptionHandler.h"
#include "diag/Proc.h"
#include "support/DiagTest.h"

// The compiler's headers leave it out.
extern "C" __declspec(dllimport) void WINAPI RtlRaiseException(EXCEPTION_RECORD* record);

namespace ovs {
namespace {

using MExceptionHandler::InstallExceptionHandler;
using MExceptionHandler::UninstallExceptionHandler;

volatile int zero = 0;
volatile int sink = 0;
int* volatile nowhere = nullptr;
void (*volatile noFunction)() = nullptr;

// Wine takes note of the guaranteed stack and ignores it. Frames that are probed page by page before they are entered leave
// room for the handler there too.
constexpr std::size_t kFrame = 100'000;

struct Canary {
  explicit Canary(int& count) : count_(count) {}
  ~Canary() { ++count_; }
  int& count_;
};

// Without a frame of its own, as the smallest functions are.
[[gnu::noinline]] void Read() { sink = *nowhere; }

[[gnu::noinline]] int Recurse(int depth) {
  volatile char room[kFrame];
  room[0] = static_cast<char>(depth);
  return (depth < 0 ? 0 : Recurse(depth + 1)) + room[0];
}

// Its prologue overflows while the caller has something to clean up.
[[gnu::noinline]] int RecurseWithCleanup(int& count, int& entered) {
  volatile char room[kFrame];
  room[0] = 0;
  ++entered;
  const Canary canary(count);
  return (entered < 0 ? 0 : RecurseWithCleanup(count, entered)) + room[0];
}

// Every level has a handler, so the deepest one handles the overflow on what stack is left.
[[gnu::noinline]] int RecurseWithGuards(int depth) {
  Proc proc(u"Mod", u"Deep", ProcKind::Function);
  return proc.Run(0, [&] {
    volatile char room[kFrame];
    room[0] = 1;
    return RecurseWithGuards(depth + 1) + room[0];
  });
}

void Raise(DWORD code, DWORD flags) { RaiseException(code, flags, 0, nullptr); }

void RaiseNested() {
  EXCEPTION_RECORD inner = {};
  inner.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
  EXCEPTION_RECORD outer = {};
  outer.ExceptionCode = 0xE0000001;
  outer.ExceptionRecord = &inner;
  RtlRaiseException(&outer);
}

void DivideFloats() {
  const unsigned before = _mm_getcsr();
  const struct Restore {
    ~Restore() { _mm_setcsr(state); }
    unsigned state;
  } restore{before};
  _mm_setcsr(before & ~static_cast<unsigned>(_MM_MASK_DIV_ZERO));
  volatile double one = 1;
  one = one / static_cast<double>(zero);
}

class ExceptionFilterTest : public DiagTest {
 protected:
  ExceptionFilterTest() { InstallExceptionHandler(1); }
  ~ExceptionFilterTest() override { UninstallExceptionHandler(); }
};

TEST_F(ExceptionFilterTest, EveryFaultIsAnErrorOfItsProcedureAgainAndAgain) {
  int cleaned = 0;
  int entered = 0;
  struct {
    const char* what;
    std::function<void()> fail;
    TextView text;
  } const cases[] = {
      {"read", [] { Read(); }, u"Access Violation"},
      {"write", [] { *nowhere = 1; }, u"Access Violation"},
      {"call", [] { noFunction(); }, u"Access Violation"},
      {"division", [] { sink = 1 / zero; }, u"Integer Divide By Zero"},
      {"float division", [] { DivideFloats(); }, u"Divide By Zero"},
      {"ud2", [] { __asm__ volatile("ud2"); }, u"Illegal Instruction"},
      {"hlt", [] { __asm__ volatile("hlt"); }, u"Privileged Instruction"},
      {"int3", [] { DebugBreak(); }, u"Breakpoint"},
      {"stack", [] { sink = Recurse(0); }, u"Stack Overflow"},
      {"stack with cleanups", [&] { sink = RecurseWithCleanup(cleaned, entered); }, u"Stack Overflow"},
      {"stack with guards", [] { sink = RecurseWithGuards(0); }, u"Stack Overflow"},
      {"unknown", [] { Raise(0xE06D7363, 0); }, u"Unknown (&HE06D7363)"},
      {"noncontinuable", [] { Raise(0xC0000026, EXCEPTION_NONCONTINUABLE); }, u"Invalid Disposition"},
      {"nested", [] { RaiseNested(); }, u"Access Violation"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.what);
    const Text error =
        Text(u"ErrorHandler\r\nError 10000\r\nVBError=10000 Desc=").append(each.text) + u" Source=ExceptionHandler";
    for (int round = 0; round < 100; ++round) {
      entries.clear();
      int destroyed = 0;
      Proc proc(u"Mod", u"Fails", ProcKind::Function);
      const int result = proc.Run(-1, [&] {
        const Canary canary(destroyed);
        each.fail();
        return 5;
      });
      ASSERT_EQ(result, each.what == std::string("stack with guards") ? 5 : -1);
      ASSERT_EQ(destroyed, 1);
      ASSERT_EQ(entries.size(), 1u);
      ASSERT_NE(entries[0].find(error), Text::npos) << ToUtf8(entries[0]);
    }
  }
  EXPECT_GT(entered, 0);
  EXPECT_EQ(cleaned, entered);
}

TEST_F(ExceptionFilterTest, WhatOthersHandleIsLeftAlone) {
  for (int round = 0; round < 100; ++round) {
    EXPECT_THROW(throw std::runtime_error("x"), std::runtime_error);
    EXPECT_TRUE(IsBadReadPtr(nowhere, 1));
  }
  EXPECT_TRUE(entries.empty());
}

LONG WINAPI OtherFilter(EXCEPTION_POINTERS*) { return EXCEPTION_CONTINUE_SEARCH; }

TEST_F(ExceptionFilterTest, InstallsOnceAndGivesBackTheDefault) {
  EXPECT_TRUE(MExceptionHandler::IsInstalled());
  SetUnhandledExceptionFilter(&OtherFilter);
  InstallExceptionHandler(2);
  EXPECT_EQ(MExceptionHandler::InstalledValue(), 2);
  EXPECT_EQ(SetUnhandledExceptionFilter(&OtherFilter), &OtherFilter);
  UninstallExceptionHandler();
  EXPECT_FALSE(MExceptionHandler::IsInstalled());
  EXPECT_EQ(SetUnhandledExceptionFilter(&OtherFilter), nullptr);
  UninstallExceptionHandler();
  EXPECT_EQ(SetUnhandledExceptionFilter(nullptr), &OtherFilter);
}

[[gnu::noinline]] void ReadInNoexcept() noexcept { Read(); }

TEST_F(ExceptionFilterTest, WithoutHandlerInReachTheProcessEnds) {
  const auto onThread = [](void (*body)()) { std::thread(body).join(); };
  EXPECT_DEATH(ReadInNoexcept(), "");
  EXPECT_DEATH(onThread([] { Read(); }), "");
  EXPECT_DEATH(onThread([] { throw std::runtime_error("x"); }), "");
  EXPECT_DEATH(onThread([] { sink = Recurse(0); }), "");
}

}  // namespace
}  // namespace ovs
