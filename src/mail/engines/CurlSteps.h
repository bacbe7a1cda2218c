// What became of a transfer, step by step.
#pragma once

#include <vector>

#include "mail/engines/CurlTransfer.h"
#include "mail/engines/MailComponent.h"
#include "mail/engines/SmtpSession.h"

namespace ovs {

// In their order: "name", "connection", "greeting", "TLS", "certificate", "login", "sender", one "recipient" each, "mail".
// Steps that were not needed are left out; the first that failed is the last, but for recipients. `failReason` is why the
// transfer failed; empty when it did not.
[[nodiscard]] std::vector<MailStep> StepsOf(const CurlJob& job, const CurlResult& result, const SmtpSession& session,
                                            TextView failReason);

}  // namespace ovs
