#include "events/win32/WmiEventSource.h"

#include <optional>

#include "base/RuntimeError.h"
#include "events/win32/WmiRecord.h"
#include "os/win32/ComApartment.h"

namespace ovs {

namespace {

using win32::AutomationObject;
using win32::ObjectOf;

constexpr TextView kQuery = u"Select * From __InstanceCreationEvent Where TargetInstance isa 'Win32_NTLogEvent'";

}  // namespace

// Members go in reverse order: the source before its apartment.
struct WmiEventSource::State {
  std::optional<ComApartment> apartment;
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

}  // namespace ovs
