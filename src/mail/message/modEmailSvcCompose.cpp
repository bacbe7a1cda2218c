// How one mail is composed: recipients' kinds, body, attachments.
#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/Proc.h"
#include "mail/message/modEmailSvc.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"modEmailSvc";
constexpr std::int32_t kLastSslType = 4;
constexpr std::int32_t kAutomaticMethod = 5;

// The blank at its end belongs there.
constexpr TextView kBodyTail = u"\r\n---\r\nThis message sent by ";

bool IsWithin(std::int32_t value, std::int32_t last) { return value >= 0 && value <= last; }

std::int32_t PortNumber(TextView text) {
  const std::optional<std::int32_t> port = ParseInt32(App_Strings::TrimBlanks(text));
  if (!port) throw RuntimeError(RuntimeErrorNumber::kTypeMismatch, u"[EmailConfig] SMTPPort is no number");
  return *port;
}

Text SubjectTag(TextView identifier, TextView name) {
  return identifier.empty() ? Text() : Text(identifier).append(u" (").append(name).append(u")");
}

}  // namespace

bool modEmailSvc::SendEmail(TextView toAddress, TextView senderText, TextView subject, TextView body,
                            TextView attachmentPath) {
  Proc proc(kModule, u"SendEmail", ProcKind::Function);
  proc.ByVal(u"sToAddress", toAddress);
  proc.ByVal(u"sSenderText", senderText);
  proc.ByVal(u"sSubject", subject);
  proc.ByVal(u"sBody", body);
  proc.ByVal(u"sAttachmentPath", attachmentPath);
  return proc.Run(false, [&] {
    if (!GetEmailConfig()) return false;
    const PlainIni ini = LoadSettings();
    const std::vector<Text> files = FilesToAttach(attachmentPath);
    const Client client{GetClientIdentifier(), GetClientName(), GetClientPhone(), GetClientEmail()};
    const bool withDetails = IsTechnician(ini, toAddress);
    Text text = BodyHead(ini);
    if (withDetails) text += ClientDetails(client);
    const TextView sender = senderText.empty() ? toAddress : senderText;

    vtxEmail mail(PartsOfMail());
    mail.ShowErrorMsgs = false;
    mail.ShowSuccessMsgs = false;
    mail.EmailBodyAppendTailMsg = false;
    SetSmtpSettings(mail);
    mail.EmailReplyTo = sender;
    mail.EmailTo = toAddress;
    mail.EmailSubject = Text(subject).append(u" - ") + SubjectTag(client.identifier, client.name);
    mail.EmailBody = text.append(body).append(kBodyTail);
    const bool userIsSender = settings_.username.find(u'&') != Text::npos;
    mail.EmailFrom = userIsSender ? settings_.username : Text(sender);
    if (IsTechnician(ini, toAddress)) {
      for (const Text& file : files) mail.AddFileAttachment(file);
    }
    proc.Log(u"Sending email...");
    return mail.SendEmail();
  });
}

modEmailSvc::Route modEmailSvc::RouteOfMails() {
  Proc proc(kModule, u"RouteOfMails", ProcKind::Sub);
  Route route;
  proc.Run([&] {
    route.usable = GetEmailConfig();
    route.host = settings_.host;
    route.port = settings_.port;
    route.userName = settings_.username;
    route.hasPassword = !settings_.password.empty();
    if (!route.usable) return;
    route.usable = false;  // until the end is reached: a port that is no number raises
    vtxEmail mail(PartsOfMail());
    SetSmtpSettings(mail);
    route.sslType = mail.SmtpSSLType;
    route.autoFix = mail.SmtpAutoFix;
    route.engine = mail.EngineName();
    route.usable = true;
  });
  return route;
}

MailParts modEmailSvc::PartsOfMail() const {
  return {parts_.fileSystem, parts_.environment, parts_.engines, parts_.user, parts_.store ? parts_.store() : nullptr};
}

void modEmailSvc::SetSmtpSettings(vtxEmail& mail) const {
  mail.SmtpHost = settings_.host;
  mail.SmtpPort = PortNumber(settings_.port);
  mail.SmtpUsername = settings_.username;
  mail.SmtpPassword = settings_.password;
  mail.SmtpAutoFix = settings_.autoFix;
  if (IsWithin(settings_.sslType, kLastSslType)) mail.SmtpSSLType = settings_.sslType;
  mail.SmtpAuthMethod = IsWithin(settings_.authMethod, kAutomaticMethod) ? settings_.authMethod : kAutomaticMethod;
}

// --- attachments

void modEmailSvc::ListFolderFiles(TextView folder, TextView pattern, std::vector<Text>& files) {
  Proc proc(kModule, u"ListFolderFiles", ProcKind::Sub);
  proc.ByVal(u"sFolder", folder);
  proc.ByVal(u"sPattern", pattern);
  proc.ReturnedByRef(u"sFiles", files);
  proc.Run([&] {
    FS_DirList list(parts_.fileSystem.Files());
    list.RecursionLevel = 0;
    list.AddSearchPath(folder);
    list.AddFileMask(pattern);
    list.StartSearch();
    for (const Text& path : list.MatchingFilesOnDisk()) files.push_back(App_FilePath::FileNameOf(path));
  });
}

std::vector<Text> modEmailSvc::FilesToAttach(TextView attachmentPath) {
  std::vector<Text> files;
  if (attachmentPath.empty()) return files;
  if (parts_.fileSystem.FileExist(attachmentPath)) return {Text(attachmentPath)};
  if (!parts_.fileSystem.DirExist(attachmentPath)) return files;
  ListFolderFiles(attachmentPath, u"*.*", files);
  for (Text& file : files) file = App_FilePath::JoinPath(attachmentPath, file);
  return files;
}

// --- body

bool modEmailSvc::IsTechnician(const PlainIni& ini, TextView address) {
  const Text support = parts_.ini.ReadINI(ini, configIniPath_, u"Branding", u"SupportEmail");
  return App_Strings::StringsMatch(settings_.technicianAddress, address) || App_Strings::StringsMatch(support, address);
}

Text modEmailSvc::BodyHead(const PlainIni& ini) {
  return parts_.ini.ReadINI(ini, configIniPath_, u"Branding", u"AppName") + u" Event Service - Auto Generated Email\r\n\r\n";
}

// The second key counts even when it has nothing, so what the first one has never shows.
Text modEmailSvc::ReportName() {
  constexpr TextView kName = u"ClientNameForReports";
  Text name = MachineValue(u"Software\\Quorral\\vtx", kName);
  name = MachineValue(u"Software\\Brindle Works\\vtII", kName);
  return name.empty() ? MachineValue(u"Software\\Brindle Works\\vt", kName) : name;
}

// Whether the client got the mail too is told by a setting of its own, not by the one that decides it.
Text modEmailSvc::ClientDetails(const Client& client) {
  const Text reportName = ReportName();
  Text details = u"-----Client Details-----\r\n";
  const auto add = [&](TextView label, const Text& value) { details.append(label).append(value).append(kCrLf); };
  add(u"ID:  ", client.identifier);
  add(u"Name:  ", client.name);
  add(u"Phone:  ", client.phone);
  add(u"Email:  ", client.address);
  add(u"Computer Name:  ", parts_.environment.ComputerName());
  add(u"LAN IP:  ", parts_.environment.LanAddress());
  add(u"WAN IP:  ", parts_.environment.WanAddress());
  add(u"vt/vtII Name:  ", reportName);
  details += kCrLf;
  details += EmailClientCustomApp() ? u"Email sent to client follows:" : u"Email NOT sent to client follows:";
  return details.append(kCrLf).append(kCrLf);
}

}  // namespace ovs
