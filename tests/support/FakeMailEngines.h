// Engines that send nothing and remember what they were given.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/RuntimeError.h"
#include "mail/engines/MailComponent.h"

namespace ovs::fakes {

class FakeMailEngines final : public MailEngines {
 public:
  struct Mail {
    bool bySystemMessage = false;
    SmtpServer server;
    MailMessage message;
    std::vector<Text> attempts;  // the authentication method of each
  };

  void Start() override { ++started; }
  std::unique_ptr<MailComponent> NewComponent(const ClosedComponentOptions& asked) override {
    options.push_back(asked);
    return NewEngine(false);
  }
  std::unique_ptr<MailComponent> NewSystemMessage() override { return NewEngine(true); }
  std::unique_ptr<ZipArchive> NewZip(TextView /*unlockCode*/) override { return newZip ? newZip() : nullptr; }

  std::vector<Mail> mails;                      // in the order of their engines
  std::vector<ClosedComponentOptions> options;  // of the components, in their order
  std::deque<bool> results;                     // of the next sends; true when none is left
  MailReport report;
  bool refuseLogo = false;
  bool failToCreate = false;
  bool throwOnSend = false;
  bool throwOnCompose = false;
  std::function<void()> onSend;  // runs before each send
  std::function<std::unique_ptr<ZipArchive>()> newZip;
  int started = 0;

 private:
  class Engine final : public MailComponent {
   public:
    explicit Engine(FakeMailEngines& owner) : owner_(owner), at_(owner.mails.size() - 1) {}
    TextView Name() const override { return u"fake engine"; }
    // One that no settings would give.
    SmtpPlan Plan(const SmtpServer& /*server*/) const override { return {true, StartTls::Required}; }
    std::vector<std::int32_t> Configure(const SmtpServer& server) override {
      Mine().server = server;
      SetAuthMethod(server.authMethod);
      return {0, 1, 2, 3, 4, 5, 6, 7};
    }
    bool Compose(const MailMessage& message) override {
      Mine().message = message;
      if (owner_.throwOnCompose) throw RuntimeError(RuntimeErrorNumber::kComponent, u"the component broke");
      return !owner_.refuseLogo;
    }
    void SetAuthMethod(std::int32_t method) override { method_ = ckSmtpAuthMethodStr(method); }
    bool Send() override {
      Mine().attempts.push_back(method_);
      if (owner_.onSend) owner_.onSend();
      if (owner_.throwOnSend) throw RuntimeError(RuntimeErrorNumber::kComponent, u"the component broke");
      if (owner_.results.empty()) return true;
      const bool result = owner_.results.front();
      owner_.results.pop_front();
      return result;
    }
    MailReport Report() override { return owner_.report; }

   private:
    Mail& Mine() { return owner_.mails[at_]; }
    FakeMailEngines& owner_;
    std::size_t at_;
    Text method_;
  };

  std::unique_ptr<MailComponent> NewEngine(bool system) {
    if (failToCreate) throw RuntimeError(RuntimeErrorNumber::kComponent, u"no engine");
    mails.emplace_back().bySystemMessage = system;
    return std::make_unique<Engine>(*this);
  }
};

}  // namespace ovs::fakes
