// Port: the source of event-log records.
#pragma once

#include "events/RawRecord.h"

namespace ovs {

class EventSource {
 public:
  virtual ~EventSource() = default;

  // Subscribes to every record created from now on; records wait in the source until they are asked for. Throws
  // RuntimeError when the system refuses.
  virtual void Connect() = 0;

  // Blocks until the next record is there. Throws RuntimeError when the source fails.
  virtual RawRecord NextEvent() = 0;
};

}  // namespace ovs
