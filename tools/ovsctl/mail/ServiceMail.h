// The service's e-mail module over an installation, composed as the service composes it.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "config/Config_Class.h"
#include "mail/message/MailUser.h"
#include "mail/message/modEmailSvc.h"
#include "ovsctl/cli/Installation.h"

namespace ovs {

// Shows a box as a message, which nobody answers.
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
  // The outcomes since the last call, one for each mail that the module was to send.
  [[nodiscard]] std::vector<MailOutcome> TakeOutcomes() { return std::exchange(outcomes_, {}); }

 private:
  std::unique_ptr<Config_Class> store_;
  std::unique_ptr<MailEngines> engines_;
  MessagePrompt prompt_;
  PlainMailUser user_;
  std::vector<MailOutcome> outcomes_;
  modEmailSvc module_;
};

}  // namespace ovs
