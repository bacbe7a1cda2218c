// The service control manager's side, on Windows.
#pragma once

#include <cstdint>
#include <memory>

#include "base/Text.h"
#include "service/ServiceHost.h"

namespace ovs {

// One object a process: the service control manager calls back without a context, so the object that runs is the one
// that StartAsService was called on.
//
// Two threads share it: the main thread, and the dispatcher thread, which runs the service-main callback and the control
// handler. They share the three events, the state (see ServiceControl) and the status handle.
class NTService final : public ServiceHost {
 public:
  // Longer than a process needs to end once it has given up its place, and a third of what the control manager waits for a
  // service that starts.
  static constexpr std::uint32_t kInstancePatience = 10'000;

  // `programPath` is the full path of the running program; it identifies the program for the single-instance test, which
  // waits for an earlier instance to end for `instancePatience` milliseconds.
  explicit NTService(TextView programPath, std::uint32_t instancePatience = kInstancePatience);
  ~NTService() override;
  NTService(const NTService&) = delete;
  NTService& operator=(const NTService&) = delete;

  // The place belongs to the thread that takes it.
  bool AnotherInstanceRuns() override;
  void LeavePlace() noexcept override;
  bool IsWindowsNT() override;
  void CreateEvents() override;
  void CloseEvents() noexcept override;
  bool StartAsService() override;
  void ReportServiceState(ServiceState state) noexcept override;
  bool WaitForStopControl(std::uint32_t milliseconds) override;
  void FinishDispatcher() override;

  // What happens on a control of the control manager, as the platform numbers them: stop and shutdown alike ask for the
  // end; any other gets the present status as its answer. Called on the dispatcher thread.
  void ServiceControlHandler(std::uint32_t control) noexcept;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace ovs
