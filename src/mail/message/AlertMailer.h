// The mailing of alerts as the monitor asks for it, and the outcome of each mail.
#pragma once

#include <functional>
#include <utility>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "mail/engines/MailComponent.h"

namespace ovs {

class AlertMailer {
 public:
  virtual ~AlertMailer() = default;
  // Sends the alert to the client and to the technician as configured; `attachmentPath` may be empty. The result is
  // always empty. Never throws: delivery failures are reported to the debug log.
  virtual Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) = 0;
};

struct MailOutcome {
  Text to;            // the recipients that the mail was to have, with commas between them
  bool sent = false;  // a mail server took it for one recipient at least
  Text reason;        // of the failure; empty when the mail was sent, and when memory ran out
  Text engine;        // see MailComponent::Name; empty when the mail came to none
  MailReport report;  // the engine's; texts that repeat the password are masked
};

// Told of every mail that was wanted, on the thread that sends, after the attempt.
using MailOutcomeSink = std::function<void(const MailOutcome&)>;

// Gives the result of the body. The description of an error that leaves it is kept as the reason.
template <class Body>
auto KeepingReason(Text& reason, Body&& body) try {
  return std::forward<Body>(body)();
} catch (const RuntimeError& error) {
  reason = error.Description();
  throw;
}

}  // namespace ovs
