// The composition of one mail: kinds of recipients, body, attachments.
#include "base/App_Strings.h"
#include "diag/Proc.h"
#include "mail/message/modEmailSvc.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"modEmailSvc";

// The blank at its end belongs there.
constexpr TextView kBodyTail = u"\r\n---\r\nThis message sent by ";

bool IsWithin(std::int32_t value, std::int32_t last) { return value >= 0 && value <= last; }

Text SubjectTag(TextView identifier, TextView name) {
  return identifier.empty() ? Text() : Text(identifier).append(u" (").append(name).append(u")");
}

}  // namespace

bool modEmailSvc::SendEmail(TextView toAddress, TextView senderText, TextView subject, TextView body,
                            TextView attachmentPath) {
  return Send(nullptr, {toAddress, senderText, subject, body, attachmentPath});
}

bool modEmailSvc::Send(const PlainIni* known, const Order& order) {
  Proc proc(kModule, u"SendEmail", ProcKind::Function);
  proc.ByVal(u"sToAddress", order.to);
  proc.ByVal(u"sSenderText", order.sender);
  proc.ByVal(u"sSubject", order.subject);
  proc.ByVal(u"sBody", order.body);
  proc.ByVal(u"sAttachmentPath", order.attachmentPath);
  MailOutcome outcome;
  const bool sent = proc.Run(false, [&] {
    outcome.to = order.to;
    const PlainIni own = known == nullptr ? LoadSettings() : PlainIni();
    return KeepingReason(outcome.reason,
                         [&] { return ComposeAndSend(proc, known == nullptr ? own : *known, order, outcome); });
  });
  proc.Run([&] {
    if (parts_.onOutcome) parts_.onOutcome(outcome);
  });
  return sent;
}

bool modEmailSvc::ComposeAndSend(Proc& proc, const PlainIni& ini, const Order& order, MailOutcome& outcome) {
  if (!TakeConfig(&ini, outcome.reason)) return false;
  const std::vector<Text> files = FilesToAttach(order.attachmentPath);
  const Client client{GetClientIdentifier(), GetClientName(), GetClientPhone(), GetClientEmail()};
  const bool withDetails = IsTechnician(ini, order.to);
  Text text = BodyHead(ini);
  if (withDetails) text += ClientDetails(client);
  const TextView sender = order.sender.empty() ? order.to : order.sender;

  vtxEmail mail(PartsOfMail());
  mail.ShowErrorMsgs = false;
  mail.ShowSuccessMsgs = false;
  mail.EmailBodyAppendTailMsg = false;
  SetServer(mail.Smtp);
  mail.EmailReplyTo = sender;
  mail.EmailTo = order.to;
  mail.EmailSubject = Text(order.subject).append(u" - ") + SubjectTag(client.identifier, client.name);
  mail.EmailBody = text.append(order.body).append(kBodyTail);
  const bool userIsSender = settings_.server.username.find(u'&') != Text::npos;
  mail.EmailFrom = userIsSender ? settings_.server.username : Text(sender);
  if (IsTechnician(ini, order.to)) {
    for (const Text& file : files) mail.AddFileAttachment(file);
  }
  proc.Log(kSendingEntry);
  const bool sent = mail.SendEmail();
  outcome = mail.TakeOutcome();
  return sent;
}

modEmailSvc::Route modEmailSvc::RouteOfMails(const PlainIni& ini) {
  Proc proc(kModule, u"RouteOfMails", ProcKind::Sub);
  Route route;
  proc.Run([&] {
    const bool complete = TakeConfig(&ini, route.problem);
    route.host = settings_.server.host;
    route.port = settings_.port;
    route.userName = settings_.server.username;
    route.hasPassword = !settings_.server.password.empty();
    if (!complete) return;
    KeepingReason(route.problem, [&] {
      vtxEmail mail(PartsOfMail());
      SetServer(mail.Smtp);
      route.logsIn = !LoginName(mail.Smtp).empty();
      route.portNumber = mail.Smtp.port;
      route.sslType = mail.SmtpSSLType;
      vtxEmail::Engine engine = mail.EngineOfSend();
      route.engine = std::move(engine.name);
      route.plan = engine.plan;
    });
    route.usable = true;
  });
  return route;
}

MailParts modEmailSvc::PartsOfMail() const {
  return {parts_.fileSystem, parts_.environment, parts_.engines, parts_.user, parts_.store};
}

void modEmailSvc::SetServer(SmtpServer& server) const {
  const SmtpServer& own = settings_.server;
  server.host = own.host;
  server.port = NumberOf(MainSettings::kSmtpPort, settings_.port);
  server.username = own.username;
  server.password = own.password;
  server.autoFix = own.autoFix;
  if (IsWithin(own.sslType, kSslByPort)) server.sslType = own.sslType;
  server.authMethod = IsWithin(own.authMethod, kAuthAutomatic) ? own.authMethod : std::int32_t{kAuthAutomatic};
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
  const Text support = parts_.ini.ReadINI(ini, configIniPath_, MainSettings::kSupportEmail);
  return App_Strings::StringsMatch(settings_.technicianAddress, address) || App_Strings::StringsMatch(support, address);
}

Text modEmailSvc::BodyHead(const PlainIni& ini) {
  return parts_.ini.ReadINI(ini, configIniPath_, MainSettings::kAppName) + u" Event Service - Auto Generated Email\r\n\r\n";
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
  add(u"Computer Name:  ", parts_.environment.ComputerNameVariable());
  add(u"LAN IP:  ", parts_.environment.LanAddress());
  add(u"WAN IP:  ", parts_.environment.WanAddress());
  add(u"vt/vtII Name:  ", reportName);
  details += kCrLf;
  details += EmailClientCustomApp() ? u"Email sent to client follows:" : u"Email NOT sent to client follows:";
  return details.append(kCrLf).append(kCrLf);
}

}  // namespace ovs
