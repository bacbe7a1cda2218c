// The run-time error of the program: a number, a description and a source, raised by any code and caught by the handler
// of the traced procedure that runs it (see diag/Proc.h). The handler leaves it pending for the debug log.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include "base/Text.h"

namespace ovs {

// The name under which this program's own errors are raised.
inline constexpr TextView kProjectName = u"OrvantaEventService";

namespace RuntimeErrorNumber {
inline constexpr int kOverflow = 6;
inline constexpr int kOutOfMemory = 7;
inline constexpr int kTypeMismatch = 13;
inline constexpr int kInternal = 51;
inline constexpr int kFileError = 75;
inline constexpr int kComponent = 440;
inline constexpr int kProcessorException = 10000;
}  // namespace RuntimeErrorNumber

class RuntimeError : public std::exception {
 public:
  RuntimeError(int number, Text description, Text source = Text(kProjectName))
      : number_(number), description_(std::move(description)), source_(std::move(source)) {}

  [[nodiscard]] int Number() const noexcept { return number_; }
  [[nodiscard]] const Text& Description() const noexcept { return description_; }
  [[nodiscard]] const Text& Source() const noexcept { return source_; }
  // For generic handlers only; the texts are in Description and Source.
  [[nodiscard]] const char* what() const noexcept override { return "OrvantaEventService run-time error"; }

 private:
  int number_;
  Text description_;
  Text source_;
};

// The error that waits for the debug log: set by the handler that caught it, read and cleared by the next dLog. Each thread
// has its own.
struct PendingRuntimeError {
  int number = 0;  // 0 when none is pending
  Text description;
  Text source;
};

// Texts that cannot be kept for lack of memory are left out; the number is always kept.
void SetPendingRuntimeError(int number, TextView description, TextView source) noexcept;
// To be called inside a catch block: the exception in flight becomes the pending error. An exception that is no RuntimeError
// counts as kOutOfMemory or kInternal of this program.
void SetPendingRuntimeErrorFromException() noexcept;

[[nodiscard]] int PendingRuntimeErrorNumber() noexcept;
// Gives the pending error away; afterwards none is pending.
[[nodiscard]] PendingRuntimeError TakePendingRuntimeError() noexcept;

}  // namespace ovs
