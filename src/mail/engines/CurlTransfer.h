// One mail over one connection, by libcurl.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Text.h"
#include "mail/engines/SmtpPlan.h"
#include "mail/engines/SmtpSession.h"
#include "mail/engines/os/MailMachine.h"
#include "os/Clock.h"
#include "os/Files.h"

namespace ovs {

// Texts are UTF-8 but for paths.
struct CurlJob {
  std::string host;
  std::int32_t port = 0;
  std::string ehloName;
  SmtpPlan plan;
  std::int32_t sslProtocol = 0;
  std::string certificateAuthorities;  // PEM; empty: what the TLS library trusts by itself
  bool allowUntrusted = false;
  std::string username;  // empty: no login
  std::string password;
  std::string authMethod;  // empty: whatever libcurl prefers of what is offered
  std::int64_t connectMilliseconds = 0;
  std::int64_t sendMilliseconds = 0;
  std::string sender;
  std::vector<std::string> recipients;
  std::vector<std::string> headers;  // folded lines without their last line end
  std::string body;
  bool isHtml = false;
  Text logoFile;                  // empty for none
  std::vector<Text> attachments;  // full paths
};

// What was found out about a connection; empty texts where nothing was.
struct ConnectionFacts {
  std::string address;  // of the server, such as "192.0.2.1"
  TlsFacts tls;
};

struct CurlResult {
  int code = 0;       // CURLcode
  std::string error;  // libcurl's words; empty when all went well
  ConnectionFacts facts;
};

// Makes libcurl ready; before the first transfer, on one thread.
void StartCurl();

// Writes what is said into `session`. Takes no longer than the job's limit and a few seconds. Throws RuntimeError when
// libcurl refuses an option.
[[nodiscard]] CurlResult PerformTransfer(os::Files& files, os::Clock& clock, const CurlJob& job, SmtpSession& session);

}  // namespace ovs
