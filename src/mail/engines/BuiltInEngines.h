// The engines that need nothing but this program.
#pragma once

#include "mail/engines/MailComponent.h"
#include "mail/engines/os/MailMachine.h"

namespace ovs {

class BuiltInEngines final : public MailEngines {
 public:
  explicit BuiltInEngines(const MailMachine& machine) : machine_(machine) {}

  void Start() override;
  [[nodiscard]] std::unique_ptr<MailComponent> NewComponent(TextView unlockCode) override;
  [[nodiscard]] std::unique_ptr<MailComponent> NewSystemMessage() override;
  [[nodiscard]] std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) override;

 private:
  MailMachine machine_;
};

}  // namespace ovs
