// One attempt to send a mail over one connection, by libcurl, and the account of it for a technician.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Text.h"
#include "mail/engines/MailComponent.h"
#include "mail/engines/SmtpServer.h"
#include "mail/engines/SmtpSession.h"
#include "mail/engines/os/TlsFacts.h"
#include "os/Clock.h"
#include "os/Files.h"

namespace ovs {

// Strings are UTF-8.
struct CurlJob {
  explicit CurlJob(const SmtpServer& to) : server(to) {}

  const SmtpServer& server;            // outlives the job
  std::string ehloName;                // of this machine
  std::string certificateAuthorities;  // PEM; empty: those that the TLS library trusts by itself
  std::int64_t milliseconds = 0;       // limit of the attempt, 1 at least
  std::string sender;
  std::vector<std::string> recipients;
  std::vector<std::string> headers;  // folded lines without their last line end
  std::string body;
  bool isHtml = false;
  Text logoFile;                  // empty for none
  std::vector<Text> attachments;  // full paths
};

// Facts about a connection; texts are empty where nothing was found out.
struct ConnectionFacts {
  std::string address;  // of the server, such as "192.0.2.1"
  TlsFacts tls;
  bool verified = false;  // certificate and name of the server were, before a login could be sent
};

struct CurlResult {
  int code = 0;       // CURLcode
  std::string error;  // libcurl's words; empty when all went well
  ConnectionFacts facts;
};

// Makes libcurl ready; before the first transfer, on one thread. Throws RuntimeError when it cannot be.
void StartCurl();

// Records the dialogue in `session`. Takes no longer than the job's limit and a few seconds. Throws RuntimeError when
// libcurl refuses an option.
[[nodiscard]] CurlResult PerformTransfer(os::Files& files, os::Clock& clock, const CurlJob& job, SmtpSession& session);

// --- the account of a transfer (CurlReport.cpp)

// One sentence for a technician: the failure, the step at which it came up, and the setting to look at.
[[nodiscard]] Text FailReason(const CurlJob& job, const CurlResult& result, const SmtpSession& session);

// True when the login failed because the server offers no method that is wanted.
[[nodiscard]] bool IsLoginNotOffered(const CurlResult& result, const SmtpSession& session);

// The facts, one a line: engine, server, security, libcurl's number and words, last command and reply.
[[nodiscard]] Text FailDetails(const CurlJob& job, const CurlResult& result, const SmtpSession& session);

// The steps in their order: "name", "connection", "greeting", "TLS", "certificate", "login", "sender", one "recipient" each,
// "mail". Steps that were not needed are left out; the first that failed is the last, but for recipients. `failReason` is
// the reason of a transfer that failed, and empty otherwise.
[[nodiscard]] std::vector<MailStep> StepsOf(const CurlJob& job, const CurlResult& result, const SmtpSession& session,
                                            TextView failReason);

}  // namespace ovs
