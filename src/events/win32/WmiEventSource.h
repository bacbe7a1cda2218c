// Event-log records from Windows Management Instrumentation.
#pragma once

#include <memory>

#include "events/EventSource.h"

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
