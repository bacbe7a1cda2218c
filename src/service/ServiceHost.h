// Port: the service's side of the service control manager, and the process around it.
//
// Main calls it in this order: AnotherInstanceRuns, IsWindowsNT, CreateEvents, StartAsService, ReportServiceState(Running),
// WaitForStopControl any number of times, LeavePlace, ReportServiceState(Stopped), FinishDispatcher, CloseEvents.
#pragma once

#include <cstdint>

#include "base/Text.h"

namespace ovs {

// As the service control manager knows the service.
inline constexpr TextView kServiceName = u"OvsEventSvc";

// States as the service control manager numbers them.
enum class ServiceState : std::uint32_t { Unchanged = 0, Stopped = 1, StartPending = 2, StopPending = 3, Running = 4 };

class ServiceHost {
 public:
  virtual ~ServiceHost() = default;

  // True when this program file already runs in another process of the machine, and does so for some seconds yet: one that
  // is ending gets time to. Holds the place from then on.
  virtual bool AnotherInstanceRuns() = 0;
  // Gives the place up: from now on another process may take it.
  virtual void LeavePlace() noexcept = 0;
  // True on every system of the NT family.
  virtual bool IsWindowsNT() = 0;

  // The three events (end, stop-pending, started). Throws RuntimeError when the system refuses one.
  virtual void CreateEvents() = 0;
  virtual void CloseEvents() noexcept = 0;

  // Starts the dispatcher thread and waits until the service control manager has called back. False when the process was
  // not started by it; the thread is then gone.
  virtual bool StartAsService() = 0;

  // Sends the status record; Unchanged sends it again as it is.
  virtual void ReportServiceState(ServiceState state) noexcept = 0;

  // Waits up to `milliseconds` for a stop or shutdown control, keeping the thread's messages served. True when one has
  // come, now or earlier.
  virtual bool WaitForStopControl(std::uint32_t milliseconds) = 0;

  // Lets the dispatcher thread end and waits for it.
  virtual void FinishDispatcher() = 0;
};

}  // namespace ovs
