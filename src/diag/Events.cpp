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

}  // namespace ovs
