#include "mail/engines/SmtpPlan.h"

namespace ovs {

namespace {

constexpr std::int32_t kRelayPort = 25;
constexpr std::int32_t kImplicitTlsPort = 465;
constexpr std::int32_t kSubmissionPort = 587;

constexpr SmtpPlan kImplicit{true, StartTls::Never};
constexpr SmtpPlan kRequired{false, StartTls::Required};
constexpr SmtpPlan kWhenOffered{false, StartTls::WhenOffered};

SmtpPlan PlanOfType(std::int32_t sslType, std::int32_t port) {
  switch (sslType) {
    case 0:
      return {};
    case 1:
      return kImplicit;
    case 2:
      return kRequired;
    case 3:
      return kWhenOffered;
    default:
      return port == kImplicitTlsPort ? kImplicit : kRequired;
  }
}

}  // namespace

SmtpPlan PlanConnection(std::int32_t sslType, std::int32_t port, std::int32_t autoFix, bool sendsPassword) {
  const SmtpPlan literal = PlanOfType(sslType, port);
  if (autoFix == 0) return literal;
  if (port == kImplicitTlsPort) return kImplicit;
  if (port == kSubmissionPort || (port == kRelayPort && literal.implicitTls)) return kRequired;
  return sslType == 0 && sendsPassword ? kWhenOffered : literal;
}

}  // namespace ovs
