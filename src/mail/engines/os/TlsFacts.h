// The TLS library of the machine, as far as libcurl does not speak for it.
#pragma once

#include <string>

namespace ovs {

// The lowest version of TLS 1 that the system uses where a program names none: 0 for TLS 1.0, 1 for TLS 1.1 and so on.
[[nodiscard]] int LowestTlsVersion();

// The certification authorities that the machine trusts, in PEM form, for a TLS library that would forget them when it is
// given a further one; empty where it does not.
[[nodiscard]] std::string TrustedRoots();

// Facts about a TLS connection; texts are empty where nothing is known.
struct TlsFacts {
  std::string version;  // and cipher
  // Of the server's certificate.
  std::string subject;
  std::string issuer;
  std::string validTo;  // a date, UTC
};

// `session` is the TLS library's own object of a connection that lives, as libcurl gives it.
[[nodiscard]] TlsFacts TlsFactsOf(void* session);

// Why the system does not trust the server at the other end of such a connection; empty when it has verified the chain of
// certificates up to an authority of its own, their dates and the server's name. `host` is that name, UTF-8.
[[nodiscard]] std::string CertificateObjection(void* session, const std::string& host);

}  // namespace ovs
