#include "events/win32/WmiEventSource.h"

#include <optional>

#include "base/RuntimeError.h"
#include "os/win32/Automation.h"

namespace ovs {

namespace {

using win32::AutomationObject;
using win32::ObjectOf;

constexpr TextView kQuery = u"Select * From __InstanceCreationEvent Where TargetInstance isa 'Win32_NTLogEvent'";

struct ToRaw {
  RawValue operator()(win32::AutomationDate value) const { return DateValue{value.days}; }
  RawValue operator()(const AutomationObject& value) const { return ObjectValue{value.TypeName()}; }
  template <class Plain>
  RawValue operator()(const Plain& value) const {
    return value;
  }
};

RawValue Property(const AutomationObject& record, TextView name) { return std::visit(ToRaw(), record.Get(name)); }

}  // namespace

// Members go in reverse order: the source before its apartment.
struct WmiEventSource::State {
  std::optional<win32::ComApartment> apartment;
  std::optional<AutomationObject> source;
};

WmiEventSource::WmiEventSource() : state_(std::make_unique<State>()) {}

WmiEventSource::~WmiEventSource() = default;

void WmiEventSource::Connect() {
  if (!state_->apartment) state_->apartment.emplace();
  const AutomationObject services = AutomationObject::FromMoniker(win32::kWmiMoniker);
  state_->source = ObjectOf(services.Call(u"ExecNotificationQuery", {Text(kQuery)}), u"ExecNotificationQuery");
}

RawRecord WmiEventSource::NextEvent() {
  if (!state_->source) throw RuntimeError(RuntimeErrorNumber::kInternal, u"NextEvent before Connect");
  const AutomationObject event = ObjectOf(state_->source->Call(u"NextEvent"), u"NextEvent");
  return win32::WmiRecord(ObjectOf(event.Get(u"TargetInstance"), u"TargetInstance"));
}

RawRecord win32::WmiRecord(const AutomationObject& record) {
  // In this order.
  return {.eventType = Property(record, u"EventType"),
          .type = Property(record, u"Type"),
          .eventCode = Property(record, u"EventCode"),
          .sourceName = Property(record, u"SourceName"),
          .message = Property(record, u"Message"),
          .logfile = Property(record, u"Logfile"),
          .timeGenerated = Property(record, u"TimeGenerated")};
}

}  // namespace ovs
