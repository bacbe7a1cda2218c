#include "diag/DebugEvent.h"

#include <utility>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/PendingError.h"

namespace ovs {

namespace {

// Compared as numbers: " 05" expects 5.
bool IsExpected(TextView expected, std::int64_t number) noexcept {
  while (!expected.empty()) {
    const std::size_t comma = expected.find(u',');
    const auto member = ParseInt64(App_Strings::TrimBlanks(expected.substr(0, comma)));
    if (member == number) return true;
    expected = comma == TextView::npos ? TextView() : expected.substr(comma + 1);
  }
  return false;
}

void AddApiExpectation(const DebugErrors& errors, Text& message) {
  message += u"  Expected APIError=" + NumberText(errors.apiNumber);
  message.append(u" (").append(errors.apiText).append(u")");
}

void AddVbExpectation(const DebugErrors& errors, Text& message) {
  message += u"  Expected VBError=";
  message += RuntimeErrorText(errors.vbNumber, errors.vbDescription, errors.vbSource);
}

}  // namespace

void ReadPendingErrors(DebugEvent& event, TextView expectedVBErrors, TextView expectedAPIErrors) noexcept {
  PendingRuntimeError runtime = TakePendingRuntimeError();
  event.errors.apiNumber = TakePendingSystemError();
  event.errors.vbNumber = runtime.number;
  event.errors.vbDescription = std::move(runtime.description);
  if (runtime.source != kProjectName) event.errors.vbSource = std::move(runtime.source);
  event.outsideHandler = event.errors.Any() && event.type != EventType::ErrorHandler;
  event.apiExpected = event.errors.apiNumber != 0 && IsExpected(expectedAPIErrors, event.errors.apiNumber);
  event.vbExpected = event.errors.vbNumber != 0 && IsExpected(expectedVBErrors, event.errors.vbNumber);
  // After the error was found to be outside of a handler: that an error was expected does not take it out of that count.
  if (event.apiExpected || event.vbExpected) event.type = EventType::Verbose;
  event.isError = IsErrorType(event.type) || (event.outsideHandler && !IsFlow(event.type));
}

void CompleteErrors(DebugEvent& event, Text& message, SystemMessages& messages, const SecretMask& secrets) {
  DebugErrors& errors = event.errors;
  errors.vbDescription = secrets.Masked(errors.vbDescription);
  errors.vbSource = secrets.Masked(errors.vbSource);
  if (errors.apiNumber != 0) errors.apiText = messages.Get(errors.apiNumber, SystemMsgFlavour::DebugLog);
  if (event.apiExpected) {
    AddApiExpectation(errors, message);
    errors.apiNumber = 0;
    errors.apiText.clear();
  }
  if (event.vbExpected) {
    AddVbExpectation(errors, message);
    errors.vbNumber = 0;
    errors.vbDescription.clear();
    errors.vbSource.clear();
  }
}

}  // namespace ovs
