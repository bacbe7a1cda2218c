// What the main thread and the dispatcher thread of a service share: the state that the service control manager was told
// last.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "service/ServiceHost.h"

namespace ovs {

// Controls as the service control manager numbers them.
namespace ServiceControlCode {
inline constexpr std::uint32_t kStop = 1;
inline constexpr std::uint32_t kShutdown = 5;
}  // namespace ServiceControlCode

class ServiceControl {
 public:
  // Neither may throw. They are called on both threads, perhaps at once.
  struct Calls {
    std::function<void(ServiceState state)> send;  // tells the control manager
    std::function<void()> askForEnd;               // what the main thread waits for
  };
  explicit ServiceControl(Calls calls) : calls_(std::move(calls)) {}

  // Any thread. Unchanged sends the present state again.
  void Report(ServiceState state) noexcept {
    if (state != ServiceState::Unchanged) state_ = state;
    calls_.send(state_);
  }

  // The dispatcher thread: stop and shutdown alike ask for the end, any other control gets the present state as its answer.
  void OnControl(std::uint32_t control) noexcept {
    const bool asksForEnd = control == ServiceControlCode::kStop || control == ServiceControlCode::kShutdown;
    Report(asksForEnd ? ServiceState::StopPending : ServiceState::Unchanged);
    if (asksForEnd) calls_.askForEnd();
  }

 private:
  Calls calls_;
  std::atomic<ServiceState> state_ = ServiceState::Unchanged;
};

}  // namespace ovs
