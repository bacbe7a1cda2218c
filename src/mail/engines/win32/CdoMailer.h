// Mail by the system's message object. It does what settings with SSL type 0 or 1 and authentication NONE, LOGIN or NTLM
// ask for; it trusts what the system trusts and always verifies. It knows no limit but that for connecting.
#pragma once

#include <cstdint>
#include <vector>

#include "mail/engines/MailComponent.h"
#include "os/win32/Automation.h"

namespace ovs {

class CdoMailer final : public MailComponent {
 public:
  static constexpr TextView kProgId = u"CDO.Message";

  // Throws RuntimeError when the object cannot be made, or cannot be configured.
  CdoMailer();

  [[nodiscard]] TextView Name() const override { return kProgId; }
  std::vector<std::int32_t> Configure(const SmtpSettings& settings) override;
  bool Compose(const MailMessage& message) override;
  void SetAuthMethod(TextView method) override;
  bool Send() override;
  [[nodiscard]] MailReport Report() override;

 private:
  [[nodiscard]] win32::AutomationObject Field(TextView name) const;
  void Set(TextView name, win32::AutomationValue value) const;
  void SetBody(const MailMessage& message);
  [[nodiscard]] bool AddLogo(const Text& path);

  win32::AutomationObject message_;
  win32::AutomationObject fields_;
  SmtpSettings settings_;
  bool reachedServer_ = false;
  Text failure_;  // of the last send
};

}  // namespace ovs
