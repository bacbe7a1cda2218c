// One call of dLog: a pending error is read, judged by what the caller expected, and given its text.
#pragma once

#include <cstdint>

#include "base/Text.h"
#include "diag/DebugMessage.h"
#include "diag/Events.h"
#include "diag/SecretMask.h"

namespace ovs {

// The texts are the caller's and must outlive the event.
struct DebugEvent {
  ProcId procID = kNoProc;
  TextView name;  // shown in place of a procedure; for the diagnostics' own entries
  TextView message;
  TextView variables;
  EventType type = EventType::Normal;

  // Filled by ReadPendingErrors.
  DebugErrors errors;  // pending ones, expected or not, with the source dropped when it is this program
  bool apiExpected = false;
  bool vbExpected = false;
  bool outsideHandler = false;  // an error was pending, and no error handler reports it
  bool isError = false;         // the entry shows the procedure's values

  EventCounts::Numbers numbers;
};

// Takes the thread's pending errors. The expected lists hold numbers separated by ","; an expected error turns the event
// into a Verbose one. Needs no memory.
void ReadPendingErrors(DebugEvent& event, TextView expectedVBErrors, TextView expectedAPIErrors) noexcept;

// Gives system error numbers their texts and masks all texts of the errors. An expected error moves out of the errors to the
// end of `message`.
void CompleteErrors(DebugEvent& event, Text& message, SystemMessages& messages, const SecretMask& secrets);

}  // namespace ovs
