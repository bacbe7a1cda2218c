// What the alert action asks of the mail floor.
#pragma once

#include <utility>

#include "base/Text.h"

namespace ovs {

class AlertMailer {
 public:
  virtual ~AlertMailer() = default;
  // Sends the alert to the client and to the technician as configured; `attachmentPath` may be empty. The result is
  // always empty. Never throws: delivery failures are reported to the debug log.
  virtual Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) = 0;
};

// Sends nothing and says so in the debug log, once for each alert.
class NoMailer final : public AlertMailer {
 public:
  // `reason` completes "Alert not mailed: ".
  explicit NoMailer(Text reason) : reason_(std::move(reason)) {}
  Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) override;

 private:
  Text reason_;
};

}  // namespace ovs
