// How a fault becomes a C++ exception.
//
// Throwing inside the filter would unwind through the system's dispatcher and works once. So the filter rewrites the
// interrupted context instead: as if the faulting instruction had been a call of RaiseFault, which throws. All code is
// built with -fnon-call-exceptions, so that the compiler has cleanups and handlers ready at such instructions.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>

#include "base/RuntimeError.h"
#include "os/ExceptionFilter.h"

namespace ovs::os {

namespace {

constexpr ULONG_PTR kPage = 4096;
// Stack that is left when an overflow is noticed: for the system's dispatcher, the unwinder, and handlers that log.
constexpr ULONG kGuaranteedStack = 128 * 1024;
// The stack a handler needs between itself and the restored guard pages.
constexpr ULONG_PTR kHandlerStack = kGuaranteedStack / 4;

// The compiler's C++ exceptions, and the bits that differ between its kinds of them.
constexpr DWORD kCppException = 0x20474343;
constexpr DWORD kCppExceptionMask = 0x20FFFFFF;

constexpr DWORD kTrapFlag = 0x100;
constexpr DWORD kDirectionFlag = 0x400;
constexpr DWORD kAlignmentFlag = 0x40000;
constexpr DWORD kPendingFloatErrors = 0x3F;
constexpr WORD kPendingX87Errors = 0x80FF;

static_assert(offsetof(ExceptionRecord, code) == offsetof(EXCEPTION_RECORD, ExceptionCode));
static_assert(offsetof(ExceptionRecord, flags) == offsetof(EXCEPTION_RECORD, ExceptionFlags));
static_assert(offsetof(ExceptionRecord, nested) == offsetof(EXCEPTION_RECORD, ExceptionRecord));
static_assert(offsetof(ExceptionRecord, address) == offsetof(EXCEPTION_RECORD, ExceptionAddress));

std::atomic<DescribeException> describeException = nullptr;

// After an overflow the guard pages are gone: the next one would end the process. They go where they were, or further
// down when the handler itself runs so deep that it would meet them.
void RestoreStackGuard() noexcept {
  void* const frame = __builtin_frame_address(0);
  const auto here = reinterpret_cast<ULONG_PTR>(frame);
  // A stack is one allocation of memory, and begins at its low end. The call that tells the limits came with Windows 8.
  MEMORY_BASIC_INFORMATION stack{};
  if (VirtualQuery(frame, &stack, sizeof stack) == 0) return;
  ULONG guaranteed = 0;
  SetThreadStackGuarantee(&guaranteed);
  const ULONG_PTR first = reinterpret_cast<ULONG_PTR>(stack.AllocationBase) + kPage;
  for (ULONG_PTR size = std::max<ULONG_PTR>(guaranteed, 2 * kPage); size >= 2 * kPage; size /= 2) {
    if (here < first + size + kHandlerStack) continue;
    DWORD before = 0;
    VirtualProtect(reinterpret_cast<void*>(first), size, PAGE_READWRITE | PAGE_GUARD, &before);
    return;
  }
}

// The handler that caught it destroys it, when the stack is unwound: the moment to restore the guard.
class ProcessorFault final : public RuntimeError {
 public:
  explicit ProcessorFault(const ExceptionRecord& record, Text text)
      : RuntimeError(RuntimeErrorNumber::kProcessorException, std::move(text), Text(kExceptionSource)),
        overflownThread_(record.code == EXCEPTION_STACK_OVERFLOW ? GetCurrentThreadId() : 0) {}
  ProcessorFault(const ProcessorFault&) = delete;
  ProcessorFault& operator=(const ProcessorFault&) = delete;
  ~ProcessorFault() override {
    if (overflownThread_ == GetCurrentThreadId()) RestoreStackGuard();
  }

 private:
  DWORD overflownThread_;
};

// Runs in the place of the faulting instruction.
[[noreturn, gnu::noinline]] void RaiseFault(DWORD64 code, DWORD64 flags, DWORD64 address) {
  const ExceptionRecord record{static_cast<DWORD>(code), static_cast<DWORD>(flags), nullptr, address};
  const DescribeException describe = describeException;
  throw ProcessorFault(record, describe != nullptr ? describe(record) : Text());
}

bool ReadRecord(const ExceptionRecord* from, ExceptionRecord& to) noexcept {
  SIZE_T got = 0;
  return ReadProcessMemory(GetCurrentProcess(), from, &to, sizeof to, &got) != 0 && got == sizeof to;
}

// True when a C++ exception thrown at the address could find a cleanup or handler of that very function. In a prologue
// it cannot: nothing of the function has been done, and its tables do not cover the place.
bool MayHandle(DWORD64 address, DWORD64 imageBase, const RUNTIME_FUNCTION& function) noexcept {
  const auto* const info = reinterpret_cast<const BYTE*>(imageBase + function.UnwindData);
  const bool hasHandler = (info[0] >> 3 & (UNW_FLAG_EHANDLER | UNW_FLAG_UHANDLER | UNW_FLAG_CHAININFO)) != 0;
  const BYTE prologueSize = info[1];
  return hasHandler && address - imageBase - function.BeginAddress >= prologueSize;
}

// The unwinder looks at the byte before a return address, so that any address within the instruction would do; but it
// must not take what stands there for the end of a function, which the distance in a call could look like.
DWORD64 ReturnAddressAfter(DWORD64 instruction) noexcept {
  constexpr BYTE kCall = 0xE8;
  return instruction + (*reinterpret_cast<const BYTE*>(instruction) == kCall ? 5 : 1);
}

// The compiler's stack probe pushes two registers and has no unwind information to tell.
extern "C" void StackProbe() __asm__("___chkstk_ms");

DWORD64 PushedByStackProbe(DWORD64 address) noexcept {
  constexpr DWORD64 kProbeSize = 0x32;
  const DWORD64 offset = address - reinterpret_cast<DWORD64>(&StackProbe);
  return offset < kProbeSize ? std::min<DWORD64>(offset, 2) * sizeof(DWORD64) : 0;
}

// Leaves functions in which the exception has nothing to do, above all those interrupted in their prologue, where a
// made-up return address would mislead the unwinder. Yields the address at which the exception is to appear; 0 when the
// stack leads nowhere.
DWORD64 LeaveFunctions(CONTEXT& context) noexcept {
  constexpr int kMost = 64;
  for (int left = 0; left < kMost; ++left) {
    DWORD64 imageBase = 0;
    RUNTIME_FUNCTION* const function = RtlLookupFunctionEntry(context.Rip, &imageBase, nullptr);
    if (function == nullptr && left > 0) return 0;
    if (function == nullptr) {
      // A function without a frame, or the target of a wild call: the return address lies on top of the stack.
      context.Rsp += PushedByStackProbe(context.Rip);
      context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
      context.Rsp += sizeof(DWORD64);
      continue;
    }
    if (MayHandle(context.Rip, imageBase, *function)) return left == 0 ? ReturnAddressAfter(context.Rip) : context.Rip;
    void* handlerData = nullptr;
    DWORD64 frame = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, imageBase, context.Rip, function, &context, &handlerData, &frame, nullptr);
  }
  return context.Rip;
}

// False when the stack is not fit for it.
bool CallRaiseFault(CONTEXT& context, const ExceptionRecord& record) noexcept {
  const DWORD64 returnAddress = LeaveFunctions(context);
  constexpr DWORD64 kStackAlignment = 16;
  if (returnAddress == 0 || context.Rsp % kStackAlignment != 0) return false;
  context.Rsp -= sizeof(DWORD64);
  *reinterpret_cast<DWORD64*>(context.Rsp) = returnAddress;
  context.Rip = reinterpret_cast<DWORD64>(&RaiseFault);
  context.Rcx = record.code;
  context.Rdx = record.flags;
  context.R8 = record.address;
  // Flags that the processor would report again at once, or that compiled code does not expect.
  context.EFlags &= ~(kTrapFlag | kDirectionFlag | kAlignmentFlag);
  context.MxCsr &= ~kPendingFloatErrors;
  context.FltSave.MxCsr &= ~kPendingFloatErrors;
  context.FltSave.StatusWord &= static_cast<WORD>(~kPendingX87Errors);
  return true;
}

// May run on the last pages of an overflown stack.
LONG WINAPI Filter(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& outer = *pointers->ExceptionRecord;
  const bool continuable = (outer.ExceptionFlags & EXCEPTION_NONCONTINUABLE) == 0;
  // A C++ exception without a handler, a fault's own included: going on lets the C++ library call std::terminate.
  if ((outer.ExceptionCode & kCppExceptionMask) == kCppException) {
    return continuable ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
  }
  const ExceptionRecord record{outer.ExceptionCode, outer.ExceptionFlags,
                               reinterpret_cast<const ExceptionRecord*>(outer.ExceptionRecord),
                               reinterpret_cast<ULONG_PTR>(outer.ExceptionAddress)};
  if (!CallRaiseFault(*pointers->ContextRecord, InnermostRecord(record, &ReadRecord))) return EXCEPTION_CONTINUE_SEARCH;
  // The system refuses to go on after such an exception, whatever the context says.
  if (!continuable) RtlRestoreContext(pointers->ContextRecord, nullptr);
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

bool InstallExceptionFilter(DescribeException describe) noexcept {
  describeException = describe;
  ULONG stack = kGuaranteedStack;
  SetThreadStackGuarantee(&stack);
  SetUnhandledExceptionFilter(&Filter);
  return true;
}

void RemoveExceptionFilter() noexcept { SetUnhandledExceptionFilter(nullptr); }

}  // namespace ovs::os
