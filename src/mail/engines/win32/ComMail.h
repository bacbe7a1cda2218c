// The mail components of the machine, through COM.
//
// All trust the certification authorities that the system trusts and no others. Their objects belong to the thread and the
// COM apartment in which they were made.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/RuntimeError.h"
#include "mail/engines/MailComponent.h"
#include "os/Clock.h"
#include "os/win32/Automation.h"

namespace ovs {

// The body as a component can take it: a NUL would end it.
[[nodiscard]] Text BodyText(const MailMessage& message);

// The text of an error that a component raised, without the line break that components put behind it.
[[nodiscard]] Text ErrorText(const RuntimeError& error);

// Mail by the system's message object. It does as settings with SSL type 0 or 1 and authentication NONE, LOGIN or NTLM ask,
// and always verifies. It knows no limit but that for connecting.
class CdoMailer final : public MailComponent {
 public:
  static constexpr TextView kProgId = u"CDO.Message";

  // Throws RuntimeError when the object cannot be made, or cannot be configured.
  CdoMailer();

  [[nodiscard]] TextView Name() const override { return kProgId; }
  // It knows no STARTTLS, and takes the SSL type literally.
  [[nodiscard]] SmtpPlan Plan(const SmtpServer& server) const override {
    return {server.sslType == kSslImplicit, StartTls::Never};
  }
  std::vector<std::int32_t> Configure(const SmtpServer& server) override;
  bool Compose(const MailMessage& message) override;
  void SetAuthMethod(std::int32_t method) override;
  bool Send() override;
  [[nodiscard]] MailReport Report() override;

 private:
  [[nodiscard]] win32::AutomationObject Field(TextView name) const;
  void Set(TextView name, win32::AutomationValue value) const;
  void SetBody(const MailMessage& message);
  [[nodiscard]] bool AddLogo(const Text& path);
  void AddAttachment(const Text& path);

  win32::AutomationObject message_;
  win32::AutomationObject fields_;
  SmtpServer server_;
  bool reachedServer_ = false;
  Text failure_;  // of the last send
  std::vector<Text> notes_;
};

// Mail by the closed mail component, which speaks SMTP itself.
class ChilkatMailer final : public MailComponent {
 public:
  static constexpr TextView kProgId = u"Chilkat_9_5_0.MailMan";
  static constexpr TextView kEmailProgId = u"Chilkat_9_5_0.Email";

  // Throws RuntimeError when the component cannot be made or refuses the code. `clock` must outlive this object.
  ChilkatMailer(os::Clock& clock, const ClosedComponentOptions& options);

  [[nodiscard]] TextView Name() const override { return kProgId; }
  std::vector<std::int32_t> Configure(const SmtpServer& server) override;
  bool Compose(const MailMessage& message) override;
  void SetAuthMethod(std::int32_t method) override;
  bool Send() override;
  [[nodiscard]] MailReport Report() override;

 private:
  void SetDebugLogs();
  void SetSecurity();
  void SetLimits(std::int64_t seconds);
  [[nodiscard]] std::int64_t SecondsLeft();
  void AddRecipients(TextView method, TextView addresses);
  [[nodiscard]] bool SetHtml(const MailMessage& message);
  void AddAttachment(const Text& path);
  [[nodiscard]] bool PasswordWasInClear(TextView session) const;

  os::Clock& clock_;
  win32::AutomationObject mailMan_;
  win32::AutomationObject email_;
  ClosedComponentOptions options_;
  SmtpServer server_;
  std::int64_t limit_ = 0;              // seconds that the component has been given
  std::optional<std::uint64_t> start_;  // of the first send
  bool sent_ = false;
  Text failure_;  // of the last send, when it is not the component that tells
  std::vector<Text> notes_;
};

}  // namespace ovs
