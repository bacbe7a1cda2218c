// How a connection to a mail server is secured.
#pragma once

#include <cstdint>

namespace ovs {

enum class StartTls { Never, WhenOffered, Required };

struct SmtpPlan {
  bool implicitTls = false;  // TLS from the first byte on
  StartTls startTls = StartTls::Never;

  bool operator==(const SmtpPlan&) const = default;
};

// From the SSL type (see SmtpSettings), the port and the auto-fix mode. Mode 0 takes the type literally. Otherwise port 465
// means implicit TLS, port 587 STARTTLS required, implicit TLS on port 25 becomes STARTTLS required, and type 0 uses
// STARTTLS, where it is offered, when a password would be sent. An unknown type counts as 4.
[[nodiscard]] SmtpPlan PlanConnection(std::int32_t sslType, std::int32_t port, std::int32_t autoFix, bool sendsPassword);

}  // namespace ovs
