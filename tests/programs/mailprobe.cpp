// Sends mails through the message object for tests: each line of standard input is a request (JSON, UTF-8), each line of
// standard output its answer.
//
// A request: "set" (properties of vtxEmail by name), "store" (text of a settings file), "attachments" (native paths), "zip",
// "useChilkat", "app" (application folder, a native path). All may be missing.
#include <chrono>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/Encoding.h"
#include "config/ckCrypt_Config.h"
#include "diag/App_Debug.h"
#include "mail/engines/MailComponent.h"
#include "mail/message/vtxEmail.h"
#include "os/Clock.h"
#include "os/CommandLine.h"
#include "os/Crypto.h"
#include "os/System.h"
#include "platform/DebugEnvironment.h"
#include "support/FakePrompt.h"

namespace {

using namespace ovs;
using nlohmann::json;

template <class Value, class Owner = vtxEmail>
struct Property {
  const char* name;
  Value Owner::*member;
};

constexpr Property<Text> kTexts[] = {
    {"EmailFrom", &vtxEmail::EmailFrom},     {"EmailReplyTo", &vtxEmail::EmailReplyTo},
    {"EmailTo", &vtxEmail::EmailTo},         {"EmailCC", &vtxEmail::EmailCC},
    {"EmailBCC", &vtxEmail::EmailBCC},       {"EmailSubject", &vtxEmail::EmailSubject},
    {"EmailBody", &vtxEmail::EmailBody},     {"EmailBodyTailMsg", &vtxEmail::EmailBodyTailMsg},
    {"ZipFileName", &vtxEmail::ZipFileName}, {"ZipFile", &vtxEmail::ZipFile},
};

constexpr Property<Text, SmtpServer> kServerTexts[] = {
    {"SmtpUsername", &SmtpServer::username},
    {"SmtpHost", &SmtpServer::host},
    {"SmtpLoginDomain", &SmtpServer::loginDomain},
};

constexpr Property<std::int32_t, SmtpServer> kNumbers[] = {
    {"SmtpPort", &SmtpServer::port},
    {"SmtpSSLType", &SmtpServer::sslType},
    {"SmtpSSLProtocol", &SmtpServer::sslProtocol},
    {"SmtpAuthMethod", &SmtpServer::authMethod},
    {"SmtpAutoFix", &SmtpServer::autoFix},
};

constexpr Property<bool> kSwitches[] = {
    {"AddPriorityHeader", &vtxEmail::AddPriorityHeader},
    {"EmailBodyAppendTailMsg", &vtxEmail::EmailBodyAppendTailMsg},
    {"EmailBodyIncludeLogoFile", &vtxEmail::EmailBodyIncludeLogoFile},
    {"EmailBodyIsHTML", &vtxEmail::EmailBodyIsHTML},
    {"EmailBodyIsFile", &vtxEmail::EmailBodyIsFile},
    {"ZipAttachments", &vtxEmail::ZipAttachments},
    {"RequireAllSettingsForSend", &vtxEmail::RequireAllSettingsForSend},
    {"ShowSuccessMsgs", &vtxEmail::ShowSuccessMsgs},
    {"ShowErrorMsgs", &vtxEmail::ShowErrorMsgs},
};

Text TextOf(const json& value) { return FromUtf8(value.get_ref<const std::string&>()); }

// Every key must be a property: a test that sets what does not exist proves nothing.
void SetProperty(vtxEmail& mail, const std::string& name, const json& value) {
  for (const auto& property : kTexts) {
    if (name == property.name) return void(mail.*property.member = TextOf(value));
  }
  for (const auto& property : kServerTexts) {
    if (name == property.name) return void(mail.Smtp.*property.member = TextOf(value));
  }
  for (const auto& property : kNumbers) {
    if (name == property.name) return void(mail.Smtp.*property.member = value.get<std::int32_t>());
  }
  for (const auto& property : kSwitches) {
    if (name == property.name) return void(mail.*property.member = value.get<bool>());
  }
  if (name == "SmtpPassword") return void(mail.SmtpPassword = TextOf(value));
  throw std::invalid_argument("no such property: " + name);
}

Text PathOf(const json& value) {
  Text path;
  const os::Error error = os::FullPathOfArgument(value.get_ref<const std::string&>(), path);
  if (error.Failed()) throw std::invalid_argument("no such path: " + value.get<std::string>());
  return path;
}

Text FolderOf(const json& request) {
  const auto app = request.find("app");
  return app == request.end() ? Text() : PathOf(*app) + u"\\";
}

json Answer(vtxEmail& mail, const fakes::FakeMailUser& user) {
  std::vector<std::string> asked;
  for (const Text& each : user.shown) asked.push_back(ToUtf8(each));
  json steps = json::array();
  for (const MailStep& each : mail.TakeOutcome().report.steps) {
    steps.push_back({ToUtf8(each.name), each.done, ToUtf8(each.detail)});
  }
  return {{"log", ToUtf8(mail.LogFullText())},
          {"failReason", ToUtf8(mail.LogSmtpFailReason())},
          {"lastError", ToUtf8(mail.LogSmtpLastErrorText())},
          {"lastStatus", ToUtf8(mail.LogSmtpLastStatus())},
          {"session", ToUtf8(mail.LogSmtpSession())},
          {"usedComponent", mail.UsedChilkatSendMethod},
          {"asked", asked},
          {"steps", steps}};
}

json Send(MailEngines& engines, const json& request) {
  App_FileSystem fileSystem(os::SystemFiles(), os::ThisSystem());
  App_Env environment(os::ThisSystem(), FolderOf(request));
  environment.SetAutomaticMode(true);
  const ckCrypt_Config crypt(os::SystemCrypto());
  Config_Class store(fileSystem, crypt, environment.ApplicationFolder());
  if (request.contains("store")) store.LoadString(TextOf(request["store"]));
  fakes::FakeMailUser user;

  vtxEmail mail({fileSystem, environment, engines, user, store});
  mail.ZipAttachments = request.value("zip", false);
  const json properties = request.value("set", json::object());
  for (const auto& [name, value] : properties.items()) SetProperty(mail, name, value);
  const json attachments = request.value("attachments", json::array());
  for (const json& path : attachments) mail.AddFileAttachment(PathOf(path));

  std::vector<std::string> entries;
  Diagnostics().SetEntryListener([&](TextView entry, EventType /*type*/) { entries.push_back(ToUtf8(entry)); });
  const auto start = std::chrono::steady_clock::now();
  const bool sent = mail.SendEmail(request.value("useChilkat", false));
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  Diagnostics().SetEntryListener(nullptr);

  json answer = Answer(mail, user);
  answer["sent"] = sent;
  answer["debug"] = entries;
  answer["seconds"] = passed.count();
  return answer;
}

void Serve() {
  Diagnostics().Attach(DebugPortsOf(os::ThisMachine()), {});
  Diagnostics().SetSwitches({.verbose = true});
  const std::unique_ptr<MailEngines> engines = SystemMailEngines(os::ThisMachine());
  engines->Start();
  for (std::string line; std::getline(std::cin, line);) {
    const json answer = Send(*engines, json::parse(line));
    std::cout << answer.dump(-1, ' ', /*ensure_ascii=*/true, json::error_handler_t::replace) << "\n" << std::flush;
  }
}

}  // namespace

int main() {
  try {
    Serve();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "mailprobe: " << error.what() << "\n";
    return 2;
  }
}
