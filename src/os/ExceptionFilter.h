// Port: processor and system exceptions that nobody else handles become run-time errors of the interrupted procedure.
#pragma once

#include <cstdint>

#include "base/Text.h"

namespace ovs::os {

// The system's report of an exception. Laid out as the system's own record begins.
struct ExceptionRecord {
  std::uint32_t code = 0;
  std::uint32_t flags = 0;
  const ExceptionRecord* nested = nullptr;  // the exception that was being handled when this one came, or null
  std::uintptr_t address = 0;
};

// Copies the record at `from`; false when there is none that can be read.
using ReadExceptionRecord = bool (*)(const ExceptionRecord* from, ExceptionRecord& to) noexcept;

// Longer chains of nested records are taken for rings.
inline constexpr int kMostNestedExceptions = 64;

// The record that ends the chain of nested ones; the last one that can be read when the chain is broken, and some record
// of the ring when it is one.
inline ExceptionRecord InnermostRecord(ExceptionRecord record, ReadExceptionRecord read) noexcept {
  ExceptionRecord nested;
  for (int depth = 0; depth < kMostNestedExceptions && record.nested != nullptr && read(record.nested, nested); ++depth) {
    record = nested;
  }
  return record;
}

using DescribeException = Text (*)(const ExceptionRecord& record);

inline constexpr TextView kExceptionSource = u"ExceptionHandler";

// Registers the process-wide filter. From then on an exception on any thread that nobody handles makes the instruction
// that caused it throw RuntimeError with number kProcessorException, the text that `describe` gives for the innermost
// record, and kExceptionSource. Destructors run as with any C++ exception. Where no C++ handler is in reach, or a noexcept
// function is in between, std::terminate ends the process.
//
// The calling thread is given room to handle the overflow of its stack, again and again; a thread that has not called
// this may be ended by the system when its stack overflows.
//
// False where the system has no such filter; nothing is changed then.
bool InstallExceptionFilter(DescribeException describe) noexcept;

// Gives the system's own handling back.
void RemoveExceptionFilter() noexcept;

}  // namespace ovs::os
