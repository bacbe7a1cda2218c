#include "ovsctl/mail/ObservedEngines.h"

#include <utility>

namespace ovs {

class ObservedEngines::Component final : public MailComponent {
 public:
  Component(std::unique_ptr<MailComponent> real, std::vector<ObservedMail>& mails) : real_(std::move(real)), mails_(mails) {
    mail_.engine = real_->Name();
  }
  ~Component() override { mails_.push_back(std::move(mail_)); }

  [[nodiscard]] TextView Name() const override { return real_->Name(); }
  std::vector<std::int32_t> Configure(const SmtpSettings& settings) override { return real_->Configure(settings); }
  bool Compose(const MailMessage& message) override {
    mail_.from = message.from;
    mail_.to = message.to;
    return real_->Compose(message);
  }
  void SetAuthMethod(TextView method) override { real_->SetAuthMethod(method); }
  bool Send() override {
    mail_.sent = real_->Send();
    return mail_.sent;
  }
  [[nodiscard]] MailReport Report() override {
    mail_.report = real_->Report();
    return mail_.report;
  }

 private:
  std::unique_ptr<MailComponent> real_;
  std::vector<ObservedMail>& mails_;
  ObservedMail mail_;
};

std::unique_ptr<MailComponent> ObservedEngines::NewComponent(TextView unlockCode) {
  return std::make_unique<Component>(real_.NewComponent(unlockCode), mails_);
}

std::unique_ptr<MailComponent> ObservedEngines::NewSystemMessage() {
  return std::make_unique<Component>(real_.NewSystemMessage(), mails_);
}

}  // namespace ovs
