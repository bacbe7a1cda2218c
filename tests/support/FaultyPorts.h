// The ports beside the files, failing by the order of a FaultyFiles: their calls count among its own, under the paths
// "registry", "time" and "mail".
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "base/RuntimeError.h"
#include "mail/engines/MailComponent.h"
#include "os/Clock.h"
#include "os/Registry.h"
#include "support/FaultyFiles.h"

namespace ovs::fakes {

class FaultyRegistry final : public os::Registry {
 public:
  FaultyRegistry(FaultyFiles& order, os::Registry& inner) : order_(order), inner_(inner) {}

  os::Error Open(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) override {
    return Opened([&](auto& key2) { return inner_.Open(root, key, access, key2); }, out);
  }
  os::Error Create(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) override {
    return Opened([&](auto& key2) { return inner_.Create(root, key, access, key2); }, out);
  }
  os::Error DeleteKey(os::RootKey root, TextView key, std::uint32_t access) override {
    return order_.Call(kPath, [&] { return inner_.DeleteKey(root, key, access); });
  }

 private:
  static constexpr TextView kPath = u"registry";

  class Key final : public os::RegistryKey {
   public:
    Key(FaultyFiles& order, std::unique_ptr<os::RegistryKey> inner) : order_(order), inner_(std::move(inner)) {}
    os::Error QueryLength(TextView name, std::uint32_t& type, std::uint32_t& bytes) override {
      return order_.Call(kPath, [&] { return inner_->QueryLength(name, type, bytes); });
    }
    os::Error QueryData(TextView name, std::uint32_t limit, std::uint32_t& type, std::string& data) override {
      return order_.Call(kPath, [&] { return inner_->QueryData(name, limit, type, data); });
    }
    os::Error SetData(TextView name, std::uint32_t type, std::string_view data) override {
      return order_.Call(kPath, [&] { return inner_->SetData(name, type, data); });
    }
    os::Error DeleteValue(TextView name) override {
      return order_.Call(kPath, [&] { return inner_->DeleteValue(name); });
    }

   private:
    FaultyFiles& order_;
    std::unique_ptr<os::RegistryKey> inner_;
  };

  template <class Call>
  os::Error Opened(Call call, std::unique_ptr<os::RegistryKey>& out) {
    std::unique_ptr<os::RegistryKey> key;
    const os::Error error = order_.Call(kPath, [&] { return call(key); });
    out = key ? std::make_unique<Key>(order_, std::move(key)) : nullptr;
    return error;
  }

  FaultyFiles& order_;
  os::Registry& inner_;
};

class FaultyTimeZone final : public os::TimeZone {
 public:
  FaultyTimeZone(FaultyFiles& order, os::TimeZone& inner) : order_(order), inner_(inner) {}
  os::Error ToLocal(const DateTime& utc, DateTime& local) override {
    return order_.Call(u"time", [&] { return inner_.ToLocal(utc, local); });
  }

 private:
  FaultyFiles& order_;
  os::TimeZone& inner_;
};

// A call of the mail engine that is to fail throws, as a component does, or says that it did not work where it can.
class FaultyEngines final : public MailEngines {
 public:
  FaultyEngines(FaultyFiles& order, MailEngines& inner) : order_(order), inner_(inner) {}

  void Start() override {
    AdmitOrThrow(order_);
    inner_.Start();
  }
  std::unique_ptr<MailComponent> NewComponent(const ClosedComponentOptions& options) override {
    AdmitOrThrow(order_);
    return std::make_unique<Component>(order_, inner_.NewComponent(options));
  }
  std::unique_ptr<MailComponent> NewSystemMessage() override {
    AdmitOrThrow(order_);
    return std::make_unique<Component>(order_, inner_.NewSystemMessage());
  }
  std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) override {
    AdmitOrThrow(order_);
    return inner_.NewZip(unlockCode);
  }

 private:
  static void AdmitOrThrow(FaultyFiles& order) {
    if (order.Admit(u"mail").Failed()) throw RuntimeError(RuntimeErrorNumber::kComponent, u"the component broke");
  }

  class Component final : public MailComponent {
   public:
    Component(FaultyFiles& order, std::unique_ptr<MailComponent> inner) : order_(order), inner_(std::move(inner)) {}
    TextView Name() const override { return inner_->Name(); }
    std::vector<std::int32_t> Configure(const SmtpServer& server) override {
      AdmitOrThrow(order_);
      return inner_->Configure(server);
    }
    bool Compose(const MailMessage& message) override {
      AdmitOrThrow(order_);
      return inner_->Compose(message);
    }
    void SetAuthMethod(std::int32_t method) override { inner_->SetAuthMethod(method); }
    bool Send() override { return order_.Admit(u"mail").Ok() && inner_->Send(); }
    MailReport Report() override {
      AdmitOrThrow(order_);
      return inner_->Report();
    }

   private:
    FaultyFiles& order_;
    std::unique_ptr<MailComponent> inner_;
  };

  FaultyFiles& order_;
  MailEngines& inner_;
};

}  // namespace ovs::fakes
