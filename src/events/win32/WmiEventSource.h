// Event-log records from Windows Management Instrumentation.
#pragma once

#include <memory>

#include "events/EventRecord.h"
#include "os/win32/Automation.h"

namespace ovs {

// Late-bound throughout. Connect makes the calling thread a single-threaded COM apartment until this object goes; all calls
// belong on that thread.
class WmiEventSource final : public EventSource {
 public:
  WmiEventSource();
  ~WmiEventSource() override;
  WmiEventSource(const WmiEventSource&) = delete;
  WmiEventSource& operator=(const WmiEventSource&) = delete;

  // Connects with the privilege that Security-log records need and issues the notification query.
  void Connect() override;
  RawRecord NextEvent() override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ovs

namespace ovs::win32 {

// Leads to the services object, with the privilege that Security-log records need.
inline constexpr TextView kWmiMoniker = u"winmgmts:{(Security)}\\\\.\\root\\cimv2";

// The values of a Win32_NTLogEvent object, read by one property call each. Throws RuntimeError.
[[nodiscard]] RawRecord WmiRecord(const AutomationObject& record);

}  // namespace ovs::win32
