// What the alert action asks of the mail floor.
#pragma once

#include "base/Text.h"

namespace ovs {

class AlertMailer {
 public:
  virtual ~AlertMailer() = default;
  // Sends the alert to the client and to the technician as configured; `attachmentPath` may be empty. The result is
  // always empty. Never throws: delivery failures are reported to the debug log.
  virtual Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) = 0;
};

}  // namespace ovs
