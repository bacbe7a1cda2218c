// The TLS library of the machine, as far as libcurl does not speak for it.
#pragma once

#include <string>

namespace ovs {

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

}  // namespace ovs
