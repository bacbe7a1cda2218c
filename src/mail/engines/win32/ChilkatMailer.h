// Mail by the closed mail component, which speaks SMTP itself.
//
// It trusts the certification authorities that the system trusts and no others.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "mail/engines/MailAddress.h"
#include "mail/engines/MailComponent.h"
#include "os/Clock.h"
#include "os/win32/Automation.h"

namespace ovs {

class ChilkatMailer final : public MailComponent {
 public:
  static constexpr TextView kProgId = u"Chilkat_9_5_0.MailMan";
  static constexpr TextView kEmailProgId = u"Chilkat_9_5_0.Email";

  // Throws RuntimeError when the component cannot be made or refuses the code. `clock` must outlive this object.
  ChilkatMailer(os::Clock& clock, TextView unlockCode);

  [[nodiscard]] TextView Name() const override { return kProgId; }
  std::vector<std::int32_t> Configure(const SmtpSettings& settings) override;
  bool Compose(const MailMessage& message) override;
  void SetAuthMethod(TextView method) override;
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
  SmtpSettings settings_;
  Text authMethod_;
  std::int64_t limit_ = 0;              // seconds that the component has been given
  std::optional<std::uint64_t> start_;  // of the first send
  bool sent_ = false;
  Text failure_;  // of the last send, when it is not the component that tells
  std::vector<Text> notes_;
};

}  // namespace ovs
