// The mail server and how to send through it: one value on the whole way from the settings to the engine.
#pragma once

#include <cstdint>

#include "base/Text.h"
#include "base/Wipe.h"

namespace ovs {

// Codes of SmtpServer::sslType; every other code counts as kSslByPort.
enum SslType : std::int32_t { kSslNone, kSslImplicit, kSslStartTls, kSslWhenOffered, kSslByPort };
// Codes of SmtpServer::authMethod. Every other code counts as kAuthAutomatic.
enum AuthMethod : std::int32_t { kAuthNone, kAuthLogin, kAuthNtlm, kAuthPlain, kAuthCramMd5, kAuthAutomatic };

// 0 "NONE", 1 "LOGIN", 2 "NTLM", 3 "PLAIN", 4 "CRAM-MD5"; empty for 5 (the engine chooses) and every other code.
[[nodiscard]] TextView ckSmtpAuthMethodStr(std::int32_t code);
// 0 "TLS 1.0 or higher" to 6 "SSL 3.0", 7 "default"; empty for every other code.
[[nodiscard]] TextView ckSSLProtocolStr(std::int32_t code);

// The password is wiped wherever a copy of this ends.
struct SmtpServer {
  Text host;
  std::int32_t port = 0;
  Text username;
  SecretText password;
  Text loginDomain;                     // for NTLM
  std::int32_t sslType = kSslNone;      // SslType
  std::int32_t sslProtocol = 0;         // see ckSSLProtocolStr
  std::int32_t authMethod = kAuthNone;  // AuthMethod
  std::int32_t autoFix = 1;             // 0: the SSL type is taken literally
  Text caFile;                          // PEM file of a certification authority to be trusted as well; empty for none
  bool allowUntrusted = false;          // neither certificate nor host name is verified
  // Limits of one mail in seconds: for the connection, and for everything, a second attempt included.
  std::int32_t connectSeconds = 60;
  std::int32_t sendSeconds = 180;
};

// The name to log in with, for NTLM behind the domain as "DOMAIN\name"; empty when there is to be no login.
[[nodiscard]] Text LoginName(const SmtpServer& server);

enum class StartTls { Never, WhenOffered, Required };

// How a connection is secured.
struct SmtpPlan {
  bool implicitTls = false;  // TLS from the first byte on
  StartTls startTls = StartTls::Never;

  bool operator==(const SmtpPlan&) const = default;
};

// From SSL type, port and auto-fix mode. Mode 0 takes the type literally. Otherwise port 465 means implicit TLS, port 587
// STARTTLS required, implicit TLS on port 25 becomes STARTTLS required, and type 0 uses STARTTLS, where it is offered, when
// a password would be sent.
[[nodiscard]] SmtpPlan PlanConnection(std::int32_t sslType, std::int32_t port, std::int32_t autoFix, bool sendsPassword);
[[nodiscard]] SmtpPlan PlanConnection(const SmtpServer& server);

}  // namespace ovs
