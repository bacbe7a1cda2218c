// The service control manager and the record source as tests play them; both write down what they are asked.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/RuntimeError.h"
#include "events/EventRecord.h"
#include "service/ServiceHost.h"

namespace ovs {

using Journal = std::vector<std::string>;

// A service control manager that writes down what it is told and sends its stop control when asked for the n-th time.
class JournalHost final : public ServiceHost {
 public:
  explicit JournalHost(Journal& journal) : journal_(journal) {}

  bool AnotherInstanceRuns() override { return anotherInstance; }
  void LeavePlace() noexcept override { journal_.emplace_back("leave place"); }
  bool IsWindowsNT() override { return isNT; }
  void CreateEvents() override { journal_.emplace_back("create events"); }
  void CloseEvents() noexcept override { journal_.emplace_back("close events"); }
  bool StartAsService() override {
    journal_.emplace_back("dispatcher");
    return underControlManager;
  }
  void ReportServiceState(ServiceState state) noexcept override {
    journal_.push_back("state " + std::to_string(static_cast<int>(state)));
  }
  bool WaitForStopControl(std::uint32_t milliseconds) override {
    journal_.push_back("wait " + std::to_string(milliseconds));
    return slicesUntilStop-- == 0;
  }
  void FinishDispatcher() override { journal_.emplace_back("finish dispatcher"); }

  bool anotherInstance = false;
  bool isNT = true;
  bool underControlManager = true;
  int slicesUntilStop = 0;

 private:
  Journal& journal_;
};

class JournalSource final : public EventSource {
 public:
  explicit JournalSource(Journal& journal) : journal_(journal) {}
  void Connect() override {
    journal_.emplace_back("connect");
    if (failConnect) throw RuntimeError(RuntimeErrorNumber::kComponent, u"no WMI");
  }
  RawRecord NextEvent() override {
    journal_.emplace_back("next");
    if (onNext) onNext();
    if (records.empty()) throw RuntimeError(RuntimeErrorNumber::kComponent, u"source ended", u"SWbemEventSource");
    RawRecord record = records.front();
    records.pop_front();
    return record;
  }
  std::deque<RawRecord> records;
  bool failConnect = false;
  std::function<void()> onNext;  // runs before each record

 private:
  Journal& journal_;
};

inline RawRecord Raw(Text message) {
  RawRecord record;
  record.eventType = std::int64_t{3};
  record.logfile = Text(u"System");
  record.message = std::move(message);
  return record;
}

}  // namespace ovs
