// The machine's mail engines, with each mail that goes through them written down.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "mail/engines/MailComponent.h"

namespace ovs {

struct ObservedMail {
  Text engine;
  Text from;
  Text to;
  bool sent = false;
  MailReport report;
};

class ObservedEngines final : public MailEngines {
 public:
  // `real` must outlive this object.
  explicit ObservedEngines(MailEngines& real) : real_(real) {}

  void Start() override { real_.Start(); }
  [[nodiscard]] std::unique_ptr<MailComponent> NewComponent(TextView unlockCode) override;
  [[nodiscard]] std::unique_ptr<MailComponent> NewSystemMessage() override;
  [[nodiscard]] std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) override { return real_.NewZip(unlockCode); }

  // Of components that are done with.
  [[nodiscard]] const std::vector<ObservedMail>& Mails() const { return mails_; }
  [[nodiscard]] std::vector<ObservedMail> TakeMails() { return std::exchange(mails_, {}); }

 private:
  class Component;

  MailEngines& real_;
  std::vector<ObservedMail> mails_;
};

}  // namespace ovs
