#include "diag/MExceptionHandler.h"

#include <atomic>

#include "base/Numbers.h"

namespace ovs::MExceptionHandler {

namespace {

struct Name {
  std::uint32_t code;
  TextView text;
};

constexpr Name kNames[] = {
    {0xC0000005, u"Access Violation"},
    {0x80000002, u"Data Type Misalignment"},
    {0x80000003, u"Breakpoint"},
    {0x80000004, u"Single Step"},
    {0xC000008C, u"Array Bounds Exceeded"},
    {0xC000008D, u"Float Denormal Operand"},
    {0xC000008E, u"Divide By Zero"},
    {0xC000008F, u"Floating Point Inexact Result"},
    {0xC0000090, u"Invalid Operation"},
    {0xC0000091, u"Float Overflow"},
    {0xC0000092, u"Float Stack Check"},
    {0xC0000093, u"Float Underflow"},
    {0xC0000094, u"Integer Divide By Zero"},
    {0xC0000095, u"Integer Overflow"},
    {0xC0000096, u"Privileged Instruction"},
    {0xC0000006, u"In Page Error"},
    {0xC000001D, u"Illegal Instruction"},
    {0xC0000025, u"Non Continuable Exception"},
    {0xC00000FD, u"Stack Overflow"},
    {0xC0000026, u"Invalid Disposition"},
    {0x80000001, u"Guard Page Violation"},
    {0xC0000008, u"Invalid Handle"},
    {0xC000013A, u"Control-C Exit"},
};

std::atomic<bool> installed = false;
std::atomic<std::int32_t> installedValue = 0;

}  // namespace

Text GetExceptionDescription(const os::ExceptionRecord& record) {
  for (const Name& name : kNames) {
    if (name.code == record.code) return Text(name.text);
  }
  return u"Unknown (&H" + HexText(record.code, 8) + u")";
}

void InstallExceptionHandler(std::int32_t value) noexcept {
  installedValue = value;
  if (!installed) installed = os::InstallExceptionFilter(&GetExceptionDescription);
}

void UninstallExceptionHandler() noexcept {
  if (installed.exchange(false)) os::RemoveExceptionFilter();
}

bool IsInstalled() noexcept { return installed; }

std::int32_t InstalledValue() noexcept { return installedValue; }

}  // namespace ovs::MExceptionHandler
