// The vocabulary that the debug log and the procedure trace share, and the counters of what happened.
#pragma once

#include <atomic>
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

// Each asker of system error texts has a cache of its own, so that a forced look-up of one does not change what the other
// shows.
enum class SystemMsgFlavour : std::uint8_t { Caller, DebugLog };

// "Normal", "Verbose", "EnterProcedure", "ExitProcedure", "ErrorHandler", "APIError"; any other value "Reserved".
[[nodiscard]] TextView GetEventTypeAsString(EventType type);
[[nodiscard]] constexpr bool IsFlow(EventType type) {
  return type == EventType::EnterProcedure || type == EventType::ExitProcedure;
}
// The types that say of themselves that they report an error.
[[nodiscard]] constexpr bool IsErrorType(EventType type) {
  return type == EventType::ErrorHandler || type == EventType::ApiError;
}
// "Sub", "Function", "Property", "Unknown", and back; any other text is Unknown.
[[nodiscard]] TextView GetProcedureTypeAsString(ProcKind kind);
[[nodiscard]] ProcKind GetProcedureTypeFromString(TextView text);

// Events since the program began, by kind. A counter that passes 2^32 - 1 goes on from 0.
struct EventCounters {
  std::uint32_t globalEvents = 0;         // entries and exits of procedures included
  std::uint32_t globalNonFlowEvents = 0;  // without them
  std::uint32_t normal = 0;
  std::uint32_t verbose = 0;
  std::uint32_t errorHandler = 0;
  std::uint32_t apiError = 0;
  std::uint32_t errorsOutsideErrorHandler = 0;
  std::uint32_t proceduresEntered = 0;
  std::uint32_t proceduresExited = 0;
};

// Keeps the counters. Every thread may count at any time, without a lock; no event is lost, but the counters of one moment
// need not belong together.
class EventCounts {
 public:
  // The numbers of one event. `type` counts the events of its own type, 0 for a type that has no counter.
  struct Numbers {
    std::uint32_t global = 0;
    std::uint32_t nonFlow = 0;
    std::uint32_t type = 0;
  };
  // An event that dLog was called for.
  Numbers Count(EventType type, bool outsideHandler) noexcept;
  // An entry or exit of a procedure: its global number.
  std::uint32_t CountFlow() noexcept { return Up(values_.globalEvents); }
  // The count of procedures entered, this one included.
  std::uint32_t CountEntered() noexcept { return Up(values_.proceduresEntered); }
  void CountExited() noexcept { Up(values_.proceduresExited); }

  [[nodiscard]] const EventCounters& Values() const noexcept { return values_; }

 private:
  static std::uint32_t Up(std::uint32_t& counter) noexcept {
    return std::atomic_ref<std::uint32_t>(counter).fetch_add(1, std::memory_order_relaxed) + 1;
  }

  EventCounters values_;
};

}  // namespace ovs
