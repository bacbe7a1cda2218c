#include "mail/message/modEmailSvc.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "base/Wipe.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "mail/message/StoredPassword.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"modEmailSvc";
constexpr TextView kClientKey = u"Software\\Quorral\\Orvanta";
constexpr TextView kOldClientKey = u"Software\\Brindle Works\\Orvanta";

// An empty value leaves the setting; true when it was not.
bool Replace(Text& setting, const Text& value) {
  if (!value.empty()) setting = value;
  return !value.empty();
}

Text Mailbox(TextView name, TextView address) {
  return Text(u"\"").append(name).append(u"\" <").append(address).append(u">");
}

}  // namespace

modEmailSvc::modEmailSvc(const EmailServiceParts& parts)
    : parts_(parts), configIniPath_(parts.environment.ApplicationFolder() + u"Config\\Orvanta.ini") {
  settings_.server.sslType = settings_.server.authMethod = -1;
}

Text modEmailSvc::SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) {
  Proc proc(kModule, u"SendEventsEmail", ProcKind::Function);
  proc.ByVal(u"sSubject", subject);
  proc.ByVal(u"sBody", body);
  proc.ByVal(u"sAttachmentPath", attachmentPath);
  return proc.Run(Text(), [&] {
    const PlainIni settings = LoadSettings();
    for (const Copy& copy : AlertCopies(settings)) Send(&settings, {copy.to, copy.sender, subject, body, attachmentPath});
    return Text();
  });
}

std::vector<modEmailSvc::Copy> modEmailSvc::AlertCopies() { return AlertCopies(LoadSettings()); }

// The client's address, identifier and wish come from the old key alone.
std::vector<modEmailSvc::Copy> modEmailSvc::AlertCopies(const PlainIni& ini) {
  std::vector<Copy> copies;
  Copy technician = TechnicianCopy(ini);
  const bool clientWantsEvents = MachineValue(kOldClientKey, u"EmailClientEvents") == u"1";
  if (Text client = MachineValue(kOldClientKey, u"ClientEmail"); clientWantsEvents && !client.empty()) {
    const Text name = parts_.ini.ReadINI(ini, configIniPath_, MainSettings::kAdminName);
    copies.push_back({std::move(client), Mailbox(name, technician.to), true});
  }
  const bool technicianWantsEvents = parts_.ini.IsOn(ini, configIniPath_, MainSettings::kEmailAdminEvents);
  if (technicianWantsEvents && !technician.to.empty()) copies.push_back(std::move(technician));
  return copies;
}

modEmailSvc::Copy modEmailSvc::TechnicianCopy() { return TechnicianCopy(LoadSettings()); }

modEmailSvc::Copy modEmailSvc::TechnicianCopy(const PlainIni& ini) {
  Text technician = parts_.ini.ReadINI(ini, configIniPath_, MainSettings::kAdminEmail);
  const Text client = MachineValue(kOldClientKey, u"ClientEmail");
  Text sender = Mailbox(MachineValue(kOldClientKey, u"ClientIdentifier"), client.empty() ? technician : client);
  return {std::move(technician), std::move(sender), false};
}

// --- settings

std::int32_t modEmailSvc::NumberOf(const SettingName& setting, TextView value) {
  if (const std::optional<std::int32_t> number = ParseInt32(App_Strings::TrimBlanks(value))) return *number;
  throw RuntimeError(RuntimeErrorNumber::kTypeMismatch,
                     Text(u"[").append(setting.section).append(u"] ").append(setting.key).append(u" is no number"));
}

PlainIni modEmailSvc::LoadSettings() {
  PlainIni ini;
  parts_.ini.LoadIniOrLast(configIniPath_, ini);
  return ini;
}

bool modEmailSvc::GetEmailConfig() {
  Text problem;
  return TakeConfig(nullptr, problem);
}

bool modEmailSvc::TakeConfig(const PlainIni* known, Text& problem) {
  Proc proc(kModule, u"GetEmailConfig", ProcKind::Function);
  return proc.Run(false, [&] {
    const PlainIni own = known == nullptr ? LoadSettings() : PlainIni();
    const bool complete = KeepingReason(problem, [&] { return TakeServer(known == nullptr ? own : *known, problem); });
    if (!complete) proc.Log(problem);
    return complete;
  });
}

bool modEmailSvc::TakeServer(const PlainIni& ini, Text& problem) {
  using namespace MainSettings;
  Text missing;
  const auto take = [&](Text& to, const SettingName& setting) {
    if (!Replace(to, parts_.ini.ReadINI(ini, configIniPath_, setting))) missing.append(u" ").append(setting.key);
  };
  const auto takeNumber = [&](std::int32_t& to, const SettingName& setting) {
    const Text value = parts_.ini.ReadINI(ini, configIniPath_, setting);
    if (!value.empty()) to = NumberOf(setting, value);
  };
  SmtpServer& server = settings_.server;
  take(settings_.technicianAddress, kAdminEmail);
  take(server.host, kSmtpServer);
  take(settings_.port, kSmtpPort);
  Replace(server.username, parts_.ini.ReadINI(ini, configIniPath_, kSmtpUserName));
  if (!TakePassword(ini, problem)) return false;
  takeNumber(server.autoFix, kAutoFix);
  takeNumber(server.sslType, kUseSsl);
  takeNumber(server.authMethod, kSmtpAuth);
  if (!missing.empty()) problem = u"Nothing can be mailed, [EmailConfig] lacks:" + missing;
  return missing.empty();
}

// Neither form of the password may become a value of a traced procedure: short ones are not masked there.
bool modEmailSvc::TakePassword(const PlainIni& ini, Text& problem) {
  Text stored = ProfileValue(ini.RawValue(MainSettings::kSmtpPassword).value_or(TextView()));
  const WipeAtEnd storedWiped(stored);
  if (stored.empty()) return true;
  Diagnostics().AddSecret(stored);
  StoredPassword::Unscrambled password = StoredPassword::UnscrambleText(stored, StoredPassword::kKey);
  const WipeAtEnd passwordWiped(password.text);
  if (!password.problem.empty()) {
    problem = Text(u"Cannot decode [EmailConfig] SMTPPassword: ").append(password.problem);
    return false;
  }
  Diagnostics().AddSecret(password.text);
  settings_.server.password = password.text;
  return true;
}

// --- the client

Text modEmailSvc::MachineValue(TextView key, TextView name) {
  return parts_.registry.RegReadString(os::RootKey::LocalMachine, key, name);
}

Text modEmailSvc::ClientValue(TextView name) {
  const Text value = MachineValue(kClientKey, name);
  return value.empty() ? MachineValue(kOldClientKey, name) : value;
}

Text modEmailSvc::GetClientEmail() {
  Proc proc(kModule, u"GetClientEmail", ProcKind::Function);
  return proc.Run(Text(), [&] { return ClientValue(u"ClientEmail"); });
}

Text modEmailSvc::GetClientIdentifier() {
  Proc proc(kModule, u"GetClientIdentifier", ProcKind::Function);
  return proc.Run(Text(), [&] { return ClientValue(u"ClientIdentifier"); });
}

Text modEmailSvc::GetClientPhone() {
  Proc proc(kModule, u"GetClientPhone", ProcKind::Function);
  return proc.Run(Text(), [&] { return ClientValue(u"ClientPhone"); });
}

Text modEmailSvc::GetClientName() {
  Proc proc(kModule, u"GetClientName", ProcKind::Function);
  return proc.Run(Text(), [&] { return ClientValue(u"ClientName"); });
}

bool modEmailSvc::EmailClientCustomApp() {
  Proc proc(kModule, u"EmailClientCustomApp", ProcKind::Function);
  return proc.Run(false, [&] { return ClientValue(u"EmailClientCustomApp") == u"1"; });
}

}  // namespace ovs
