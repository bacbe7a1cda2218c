// The run-time error of the program: a number, a description and a source, raised by any code and caught by the handler
// of the traced procedure that runs it (see diag/Proc.h).
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

}  // namespace ovs
