#include "events/win32/WmiRecord.h"

namespace ovs::win32 {

namespace {

struct ToRaw {
  RawValue operator()(AutomationDate value) const { return DateValue{value.days}; }
  RawValue operator()(const AutomationObject& value) const { return ObjectValue{value.TypeName()}; }
  template <class Plain>
  RawValue operator()(const Plain& value) const {
    return value;
  }
};

RawValue Property(const AutomationObject& record, TextView name) { return std::visit(ToRaw(), record.Get(name)); }

}  // namespace

RawRecord WmiRecord(const AutomationObject& record) {
  // In this order.
  return {.eventType = Property(record, u"EventType"),
          .type = Property(record, u"Type"),
          .eventCode = Property(record, u"EventCode"),
          .sourceName = Property(record, u"SourceName"),
          .message = Property(record, u"Message"),
          .logfile = Property(record, u"Logfile"),
          .timeGenerated = Property(record, u"TimeGenerated")};
}

}  // namespace ovs::win32
