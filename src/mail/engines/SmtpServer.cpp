#include "mail/engines/SmtpServer.h"

#include <array>
#include <span>

namespace ovs {

namespace {

constexpr std::int32_t kRelayPort = 25;
constexpr std::int32_t kImplicitTlsPort = 465;
constexpr std::int32_t kSubmissionPort = 587;

constexpr SmtpPlan kImplicit{true, StartTls::Never};
constexpr SmtpPlan kRequired{false, StartTls::Required};
constexpr SmtpPlan kWhenOffered{false, StartTls::WhenOffered};

TextView Entry(std::span<const TextView> table, std::int32_t code) {
  return code >= 0 && static_cast<std::size_t>(code) < table.size() ? table[static_cast<std::size_t>(code)] : TextView();
}

SmtpPlan PlanOfType(std::int32_t sslType, std::int32_t port) {
  switch (sslType) {
    case kSslNone:
      return {};
    case kSslImplicit:
      return kImplicit;
    case kSslStartTls:
      return kRequired;
    case kSslWhenOffered:
      return kWhenOffered;
    default:
      return port == kImplicitTlsPort ? kImplicit : kRequired;
  }
}

}  // namespace

TextView ckSmtpAuthMethodStr(std::int32_t code) {
  static constexpr std::array<TextView, 5> kMethods = {u"NONE", u"LOGIN", u"NTLM", u"PLAIN", u"CRAM-MD5"};
  return Entry(kMethods, code);
}

TextView ckSSLProtocolStr(std::int32_t code) {
  static constexpr std::array<TextView, 8> kProtocols = {
      u"TLS 1.0 or higher", u"TLS 1.1 or higher", u"TLS 1.2 or higher", u"TLS 1.2",
      u"TLS 1.1",           u"TLS 1.0",           u"SSL 3.0",           u"default"};
  return Entry(kProtocols, code);
}

Text LoginName(const SmtpServer& server) {
  if (server.authMethod == kAuthNone || server.username.empty()) return {};
  const bool hasDomain = server.authMethod == kAuthNtlm && !server.loginDomain.empty();
  return hasDomain ? server.loginDomain + u"\\" + server.username : server.username;
}

SmtpPlan PlanConnection(std::int32_t sslType, std::int32_t port, std::int32_t autoFix, bool sendsPassword) {
  const SmtpPlan literal = PlanOfType(sslType, port);
  if (autoFix == 0) return literal;
  if (port == kImplicitTlsPort) return kImplicit;
  if (port == kSubmissionPort || (port == kRelayPort && literal.implicitTls)) return kRequired;
  return sslType == kSslNone && sendsPassword ? kWhenOffered : literal;
}

SmtpPlan PlanConnection(const SmtpServer& server) {
  return PlanConnection(server.sslType, server.port, server.autoFix, !LoginName(server).empty());
}

}  // namespace ovs
