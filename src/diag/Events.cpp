#include "diag/Events.h"

namespace ovs {

TextView GetEventTypeAsString(EventType type) {
  switch (type) {
    case EventType::Normal:
      return u"Normal";
    case EventType::Verbose:
      return u"Verbose";
    case EventType::EnterProcedure:
      return u"EnterProcedure";
    case EventType::ExitProcedure:
      return u"ExitProcedure";
    case EventType::ErrorHandler:
      return u"ErrorHandler";
    case EventType::ApiError:
      return u"APIError";
  }
  return u"Reserved";
}

TextView GetProcedureTypeAsString(ProcKind kind) {
  switch (kind) {
    case ProcKind::Sub:
      return u"Sub";
    case ProcKind::Function:
      return u"Function";
    case ProcKind::Property:
      return u"Property";
    case ProcKind::Unknown:
      break;
  }
  return u"Unknown";
}

ProcKind GetProcedureTypeFromString(TextView text) {
  for (const ProcKind kind : {ProcKind::Sub, ProcKind::Function, ProcKind::Property}) {
    if (text == GetProcedureTypeAsString(kind)) return kind;
  }
  return ProcKind::Unknown;
}

EventCounts::Numbers EventCounts::Count(EventType type, bool outsideHandler) noexcept {
  Numbers numbers{Up(values_.globalEvents), Up(values_.globalNonFlowEvents)};
  if (type == EventType::Normal) numbers.type = Up(values_.normal);
  if (type == EventType::Verbose) numbers.type = Up(values_.verbose);
  if (type == EventType::ErrorHandler) numbers.type = Up(values_.errorHandler);
  if (type == EventType::ApiError) numbers.type = Up(values_.apiError);
  if (outsideHandler && !IsErrorType(type) && !IsFlow(type)) Up(values_.errorsOutsideErrorHandler);
  return numbers;
}

}  // namespace ovs
