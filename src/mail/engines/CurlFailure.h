// What a technician is told when a mail could not be sent.
#pragma once

#include "base/Text.h"
#include "mail/engines/CurlTransfer.h"
#include "mail/engines/SmtpSession.h"

namespace ovs {

// One sentence: what went wrong, at which step, and what to look at.
[[nodiscard]] Text FailReason(const CurlJob& job, const CurlResult& result, const SmtpSession& session);

// True when the login failed because the server offers no method that is wanted.
[[nodiscard]] bool IsLoginNotOffered(const CurlResult& result, const SmtpSession& session);

// The facts, one a line: engine, server, security, libcurl's number and words, last command and reply.
[[nodiscard]] Text FailDetails(const CurlJob& job, const CurlResult& result, const SmtpSession& session);

}  // namespace ovs
