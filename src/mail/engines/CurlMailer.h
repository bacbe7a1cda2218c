// The built-in mail engine: SMTP by libcurl, with the TLS library of the system.
//
// Certificates and host names are verified against the authorities that the system trusts. A recipient that cannot be used,
// or that the server refuses, stops no other. Attachments are read while they are sent and never held in memory; one that
// cannot be read is left out, which the report notes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mail/engines/CurlTransfer.h"
#include "mail/engines/MailComponent.h"
#include "mail/engines/MailHeaders.h"
#include "mail/engines/SmtpSession.h"
#include "os/Machine.h"

namespace ovs {

class CurlMailer final : public MailComponent {
 public:
  explicit CurlMailer(const os::Machine& machine) : machine_(machine) {}

  [[nodiscard]] TextView Name() const override { return u"built-in engine"; }
  std::vector<std::int32_t> Configure(const SmtpServer& server) override;
  bool Compose(const MailMessage& message) override;
  void SetAuthMethod(std::int32_t method) override { server_.authMethod = method; }
  bool Send() override;
  [[nodiscard]] MailReport Report() override;

 private:
  [[nodiscard]] bool ComposeSender();
  void AddRecipients(TextView addresses, std::vector<MailAddress>& shown);
  void ComposeHeaders(const std::vector<MailAddress>& to, const std::vector<MailAddress>& cc);
  [[nodiscard]] std::string NewMessageId();
  [[nodiscard]] bool CanRead(TextView path);
  // The reason not to try a connection; empty when one is worth it.
  [[nodiscard]] Text Objection() const;
  [[nodiscard]] CurlJob NewJob();
  [[nodiscard]] std::int64_t MillisecondsLeft();
  [[nodiscard]] std::string CertificateAuthorities();
  void Note(Text note);

  os::Machine machine_;
  SmtpServer server_;
  MailMessage message_;
  MailAddress sender_;
  Text senderProblem_;
  std::vector<Text> recipients_;
  std::vector<std::string> headers_;
  std::optional<std::uint64_t> start_;  // of the first send
  SmtpSession session_;
  MailReport report_;
};

// The engines that need nothing but this program: they serve wherever no closed component does.
class BuiltInEngines final : public MailEngines {
 public:
  explicit BuiltInEngines(const os::Machine& machine) : machine_(machine) {}

  void Start() override { StartCurl(); }
  [[nodiscard]] std::unique_ptr<MailComponent> NewComponent(const ClosedComponentOptions& options) override;
  [[nodiscard]] std::unique_ptr<MailComponent> NewSystemMessage() override;
  [[nodiscard]] std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) override;

 private:
  os::Machine machine_;
};

}  // namespace ovs
