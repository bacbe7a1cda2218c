// What the mail floor needs from the machine it runs on.
#pragma once

#include <memory>
#include <string>

#include "mail/engines/MailComponent.h"
#include "os/Clock.h"
#include "os/Crypto.h"
#include "os/Files.h"
#include "os/System.h"

namespace ovs {

// What the engines are made of; all must outlive them.
struct MailMachine {
  os::Files& files;
  os::Clock& clock;
  os::System& system;
  os::Crypto& crypto;
};

// The engines of this machine: on Windows the closed components where they are registered, everywhere the built-in ones.
[[nodiscard]] std::unique_ptr<MailEngines> SystemMailEngines(const MailMachine& machine);

// The certification authorities that the machine trusts, in PEM form, for a TLS library that would forget them when it is
// given a further one; empty where it does not.
[[nodiscard]] std::string TrustedRoots();

// What a TLS connection is like; empty texts where nothing is known.
struct TlsFacts {
  std::string version;  // and cipher
  // Of the server's certificate.
  std::string subject;
  std::string issuer;
  std::string validTo;  // a date, UTC
};

// `session` is what libcurl gives as the TLS library's own object of a connection that lives.
[[nodiscard]] TlsFacts TlsFactsOf(void* session);

}  // namespace ovs
