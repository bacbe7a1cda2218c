// The service's e-mail module over an installation, composed as the service composes it.
#pragma once

#include <memory>

#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "mail/message/MailUser.h"
#include "mail/message/modEmailSvc.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/mail/ObservedEngines.h"
#include "platform/App_Registry.h"

namespace ovs {

// A box is a message here, which nobody answers.
class MessagePrompt final : public os::Prompt {
 public:
  int Show(TextView text, TextView caption, std::uint32_t flags) override;
};

class ServiceMail {
 public:
  // Reads the program settings (.cfg files) and makes the engines ready; writes nothing. `installation` must outlive it.
  explicit ServiceMail(Installation& installation);

  [[nodiscard]] modEmailSvc& Module() { return module_; }
  [[nodiscard]] const Config_Class& Store() const { return *store_; }
  // The mails that the module has handed to an engine.
  [[nodiscard]] const std::vector<ObservedMail>& Mails() const { return engines_.Mails(); }
  // The same, which are then forgotten.
  [[nodiscard]] std::vector<ObservedMail> TakeMails() { return engines_.TakeMails(); }

 private:
  std::unique_ptr<Config_Class> store_;
  std::unique_ptr<MailEngines> real_;
  ObservedEngines engines_;
  MessagePrompt prompt_;
  PlainMailUser user_;
  modEmailSvc module_;
};

}  // namespace ovs
