// The vocabulary that the debug log and the procedure trace share.
#pragma once

#include <cstdint>

#include "base/Text.h"

namespace ovs {

// Bit values; "Debug.ProcDump.EventTypes" is a set of them.
enum class EventType : std::uint32_t {
  Normal = 1,
  Verbose = 2,
  EnterProcedure = 4,
  ExitProcedure = 8,
  ErrorHandler = 16,
  ApiError = 32,
};

enum class VarKind : std::uint32_t {
  PassedByVal = 1,
  PassedByRef = 2,
  Created = 4,
  ReturnedByRef = 8,
  FunctionResult = 16,
};

enum class ProcKind : std::uint8_t { Unknown, Sub, Function, Property };

// Number of a procedure call, counted from 1 over the life of the process.
using ProcId = std::int32_t;
inline constexpr ProcId kNoProc = -1;

// "Normal", "Verbose", "EnterProcedure", "ExitProcedure", "ErrorHandler", "APIError"; any other value "Reserved".
[[nodiscard]] TextView GetEventTypeAsString(EventType type);
// "Sub", "Function", "Property", "Unknown", and back.
[[nodiscard]] TextView GetProcedureTypeAsString(ProcKind kind);
[[nodiscard]] ProcKind GetProcedureTypeFromString(TextView text);

}  // namespace ovs
