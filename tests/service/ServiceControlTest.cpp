// A whole run of the service on two threads: the dispatcher's, whose controls come at any time, and the main one. For
// ThreadSanitizer as much as for what it expects.
#include "service/ServiceControl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "diag/App_Debug.h"
#include "service/modEventSvc.h"
#include "support/FakeMailEngines.h"
#include "support/ServiceDoubles.h"
#include "support/TestMachine.h"

namespace ovs {
namespace {

class Event {
 public:
  void Set() {
    const std::lock_guard lock(mutex_);
    set_ = true;
    changed_.notify_all();
  }
  void Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return set_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool set_ = false;
};

// The control manager's part on a thread of its own, as the system has it.
class ThreadedHost final : public ServiceHost {
 public:
  bool AnotherInstanceRuns() override { return false; }
  void LeavePlace() noexcept override {}
  bool IsWindowsNT() override { return true; }
  void CreateEvents() override {}
  void CloseEvents() noexcept override {}
  bool StartAsService() override {
    dispatcher_ = std::thread([this] {
      control.Report(ServiceState::StartPending);
      started_.Set();
      constexpr std::uint32_t kInterrogate = 4;
      for (int i = 0; i < 1000; ++i) control.OnControl(kInterrogate);
      control.OnControl(ServiceControlCode::kStop);
      end_.Wait();
    });
    started_.Wait();
    return true;
  }
  void ReportServiceState(ServiceState state) noexcept override { control.Report(state); }
  bool WaitForStopControl(std::uint32_t /*milliseconds*/) override {
    stop_.Wait();
    return true;
  }
  void FinishDispatcher() override {
    end_.Set();
    dispatcher_.join();
  }

  ServiceControl control{{[this](ServiceState state) {
                            const std::lock_guard lock(mutex);
                            sent.push_back(state);
                          },
                          [this] { stop_.Set(); }}};
  std::mutex mutex;
  std::vector<ServiceState> sent;

 private:
  Event started_;
  Event stop_;
  Event end_;
  std::thread dispatcher_;
};

TEST(ServiceControl, ControlsComeWhileRecordsAreHandled) {
  Journal journal;
  JournalSource source(journal);
  for (int i = 0; i < 200; ++i) source.records.push_back(Raw(u"something"));
  source.records.push_back(Raw(u"orvanta - stopping event service..."));
  ThreadedHost host;
  App_Debug debug;
  const ScopedDiagnostics scoped(debug);
  fakes::TestMachine machine;
  fakes::FakeMailEngines engines;
  modEventSvc(machine.Ports(), {.host = host, .source = source, .mailEngines = engines}).Run();
  EXPECT_TRUE(source.records.empty());
  const auto count = [&](ServiceState state) { return std::ranges::count(host.sent, state); };
  EXPECT_EQ(host.sent.size(), 1004u);
  EXPECT_EQ(host.sent.front(), ServiceState::StartPending);
  EXPECT_EQ(host.sent.back(), ServiceState::Stopped);
  EXPECT_GE(count(ServiceState::Running), 1);
  EXPECT_GE(count(ServiceState::StopPending), 1);
}

}  // namespace
}  // namespace ovs
