// The built-in mail engine: SMTP by libcurl, with the TLS library of the system.
//
// Certificates and host names are verified by what the system trusts. A recipient that cannot be used, or that the server
// refuses, stops no other. Attachments are read while they are sent and never held in memory; one that cannot be read is
// left out, which the report notes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mail/engines/CurlTransfer.h"
#include "mail/engines/MailAddress.h"
#include "mail/engines/MailComponent.h"
#include "mail/engines/SmtpSession.h"
#include "mail/engines/os/MailMachine.h"

namespace ovs {

class CurlMailer final : public MailComponent {
 public:
  explicit CurlMailer(const MailMachine& machine) : machine_(machine) {}

  [[nodiscard]] TextView Name() const override { return u"built-in engine"; }
  std::vector<std::int32_t> Configure(const SmtpSettings& settings) override;
  bool Compose(const MailMessage& message) override;
  void SetAuthMethod(TextView method) override { authMethod_ = method; }
  bool Send() override;
  [[nodiscard]] MailReport Report() override;

 private:
  [[nodiscard]] bool ComposeSender();
  void AddRecipients(TextView addresses, std::vector<MailAddress>& shown);
  void ComposeHeaders(const std::vector<MailAddress>& to, const std::vector<MailAddress>& cc);
  [[nodiscard]] std::string NewMessageId();
  [[nodiscard]] bool CanRead(TextView path);
  // Why no connection is worth trying; empty when one is.
  [[nodiscard]] Text Objection() const;
  [[nodiscard]] CurlJob NewJob();
  void SetLogin(CurlJob& job) const;
  [[nodiscard]] std::int64_t MillisecondsLeft();
  [[nodiscard]] std::string CertificateAuthorities();
  void Note(Text note);

  MailMachine machine_;
  SmtpSettings settings_;
  Text authMethod_;
  MailMessage message_;
  MailAddress sender_;
  Text senderProblem_;
  std::vector<Text> recipients_;
  std::vector<std::string> headers_;
  std::optional<std::uint64_t> start_;  // of the first send
  SmtpSession session_;
  MailReport report_;
};

}  // namespace ovs
