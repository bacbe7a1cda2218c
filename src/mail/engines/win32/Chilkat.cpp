// Mail by the closed component.
#include <algorithm>
#include <utility>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "mail/engines/MailHeaders.h"
#include "mail/engines/SmtpSession.h"
#include "mail/engines/win32/ComMail.h"
#include "mail/engines/win32/ckGlobalMod.h"
#include "platform/App_FilePath.h"

namespace ovs {

using ckGlobalMod::NewUnlockedObject;
using ckGlobalMod::TextProperty;
using win32::AutomationObject;
using win32::AutomationValue;

namespace {

constexpr std::int32_t kImplicitTlsPort = 465;

// Puts a property that older builds of the component lack.
void PutIfKnown(const AutomationObject& object, TextView property, AutomationValue value) {
  if (object.Knows(property)) {
    object.Put(property, std::move(value));
  } else {
    Debug::dLog(kNoProc, u"This build of the mail component has no " + Text(property) + u"; it is passed over");
  }
}

// The component's properties are numbers: True would arrive as -1.
AutomationValue Flag(bool on) { return std::int64_t{on ? 1 : 0}; }

// The commands of a session log that begin with `command`, which is in capitals; replies begin with a number. Commands may
// stand behind a label.
std::vector<Text> Commands(TextView session, TextView command) {
  constexpr TextView kLabel = u"SmtpCmdSent: ";
  std::vector<Text> found;
  for (const TextView line : App_Strings::SplitViews(session, u"\n")) {
    TextView text = App_Strings::TrimBlanks(line);
    if (text.starts_with(kLabel)) text.remove_prefix(kLabel.size());
    Text upper = Fold(text);
    if (upper.starts_with(command)) found.push_back(std::move(upper));
  }
  return found;
}

bool IsProofOnly(TextView method) {
  return method == ckSmtpAuthMethodStr(kAuthNone) || method == ckSmtpAuthMethodStr(kAuthNtlm) ||
         method == ckSmtpAuthMethodStr(kAuthCramMd5);
}

}  // namespace

ChilkatMailer::ChilkatMailer(os::Clock& clock, const ClosedComponentOptions& options)
    : clock_(clock),
      mailMan_(NewUnlockedObject(kProgId, options.unlockCode)),
      email_(AutomationObject::FromProgId(kEmailProgId)),
      options_(options) {}

std::vector<std::int32_t> ChilkatMailer::Configure(const SmtpServer& server) {
  server_ = server;
  SetDebugLogs();
  mailMan_.Put(u"SmtpHost", server.host);
  mailMan_.Put(u"SmtpPort", std::int64_t{server.port});
  mailMan_.Put(u"SmtpUsername", server.username);
  mailMan_.Put(u"SmtpPassword", Text(server.password));
  mailMan_.Put(u"SmtpLoginDomain", server.loginDomain);
  SetSecurity();
  mailMan_.Put(u"SslProtocol", Text(ckSSLProtocolStr(server.sslProtocol)));
  SetAuthMethod(server.authMethod);
  mailMan_.Put(u"AutoFix", std::int64_t{server.autoFix});
  SetLimits(server.sendSeconds);
  PutIfKnown(mailMan_, u"RequireSslCertVerify", Flag(!server.allowUntrusted));
  return std::vector<std::int32_t>(kStatusFields, 0);
}

void ChilkatMailer::SetDebugLogs() {
  if (options_.verboseLogging) mailMan_.Put(u"VerboseLogging", Flag(true));
  if (!options_.mailManDebugLog.empty()) mailMan_.Put(u"DebugLogFilePath", options_.mailManDebugLog);
  if (!options_.emailDebugLog.empty()) email_.Put(u"DebugLogFilePath", options_.emailDebugLog);
}

// All of them: what the component does unasked differs between its builds.
void ChilkatMailer::SetSecurity() {
  std::int32_t type = server_.sslType;
  if (type < kSslNone || type > kSslWhenOffered) type = server_.port == kImplicitTlsPort ? kSslImplicit : kSslStartTls;
  mailMan_.Put(u"SmtpSsl", Flag(type == kSslImplicit));
  mailMan_.Put(u"StartTLS", Flag(type == kSslStartTls));
  const bool fixesClearLogin = server_.autoFix != 0 && type == kSslNone && !server_.password.empty();
  PutIfKnown(mailMan_, u"StartTLSifPossible", Flag(type == kSslWhenOffered || fixesClearLogin));
}

void ChilkatMailer::SetAuthMethod(std::int32_t method) {
  server_.authMethod = method;
  mailMan_.Put(u"SmtpAuthMethod", Text(ckSmtpAuthMethodStr(method)));
}

// The component knows no limit for the whole mail: a server may be silent for as long as connecting leaves of it.
void ChilkatMailer::SetLimits(std::int64_t seconds) {
  limit_ = seconds;
  const std::int64_t connect = std::min<std::int64_t>(server_.connectSeconds, seconds);
  mailMan_.Put(u"ConnectTimeout", connect);
  PutIfKnown(mailMan_, u"ReadTimeout", std::max<std::int64_t>(seconds - connect, 1));
}

bool ChilkatMailer::Compose(const MailMessage& message) {
  email_.Put(u"From", message.from);
  email_.Put(u"ReplyTo", message.replyTo);
  AddRecipients(u"AddTo", message.to);
  AddRecipients(u"AddCC", message.cc);
  AddRecipients(u"AddBcc", message.bcc);
  email_.Put(u"Subject", message.subject);
  bool complete = true;
  if (message.isHtml) {
    complete = SetHtml(message);
  } else {
    email_.Put(u"Body", BodyText(message));
  }
  for (const Text& path : message.attachments) AddAttachment(path);
  if (message.addPriorityHeader) email_.Call(u"AddHeaderField", {Text(u"X-Priority"), Text(u"1")});
  return complete;
}

void ChilkatMailer::AddRecipients(TextView method, TextView addresses) {
  for (const MailAddress& each : SplitAddresses(addresses)) {
    if (IsUsableAddress(each.address) && win32::TruthOf(email_.Call(method, {each.name, each.address}))) continue;
    notes_.push_back(u"Recipient left out, it is no mail address: [" + each.address + u"]");
  }
}

// The component chooses the identity under which the HTML finds the logo.
bool ChilkatMailer::SetHtml(const MailMessage& message) {
  Text html = BodyText(message);
  Text id;
  if (!message.logoFile.empty()) {
    id = win32::TextOf(email_.Call(u"AddRelatedFile", {message.logoFile}));
    const Text name = App_FilePath::FileNameOf(message.logoFile);
    if (!id.empty()) html = App_Strings::ReplaceAll(html, u"cid:" + name, u"cid:" + id);
  }
  email_.Call(u"SetHtmlBody", {std::move(html)});
  return message.logoFile.empty() || !id.empty();
}

void ChilkatMailer::AddAttachment(const Text& path) {
  if (!win32::TextOf(email_.Call(u"AddFileAttachment", {path})).empty()) return;
  notes_.push_back(LeftOut(path, u"The mail component refused it."));
}

bool ChilkatMailer::Send() {
  failure_.clear();
  const std::int64_t left = SecondsLeft();
  if (left < 1) {
    failure_ = u"The time for this mail is used up";
    return false;
  }
  if (left != limit_) SetLimits(left);
  try {
    sent_ = win32::TruthOf(mailMan_.Call(u"SendEmail", {email_}));
  } catch (const RuntimeError& error) {
    sent_ = false;
    failure_ = ErrorText(error);
  }
  return sent_;
}

std::int64_t ChilkatMailer::SecondsLeft() {
  const std::uint64_t now = clock_.Milliseconds();
  if (!start_) start_ = now;
  return server_.sendSeconds - static_cast<std::int64_t>((now - *start_) / 1000);
}

MailReport ChilkatMailer::Report() {
  MailReport report;
  const Text session = TextProperty(mailMan_, u"SmtpSessionLog");
  report.failReason = failure_.empty() ? TextProperty(mailMan_, u"SmtpFailReason") : failure_;
  report.session = MaskSession(session);
  report.lastErrorText = MaskSession(TextProperty(mailMan_, u"LastErrorText"));
  report.lastStatus = TextProperty(mailMan_, u"LastSmtpStatus");
  report.notes = notes_;
  if (PasswordWasInClear(session)) report.notes.emplace_back(kPasswordInClear);
  if (server_.allowUntrusted) report.notes.emplace_back(kNotVerified);
  if (!server_.caFile.empty()) {
    report.notes.push_back(u"Email.SMTP.CAFile has no effect on " + Text(kProgId) +
                           u", which trusts what the system trusts.");
  }
  return report;
}

bool ChilkatMailer::PasswordWasInClear(TextView session) const {
  const bool fixedToTls = server_.autoFix != 0 && server_.port == kImplicitTlsPort;
  const bool mayBeClear = (server_.sslType == kSslNone || server_.sslType == kSslWhenOffered) && !fixedToTls;
  if (!mayBeClear || server_.password.empty() || !Commands(session, u"STARTTLS").empty()) return false;
  const std::vector<Text> logins = Commands(session, u"AUTH ");
  // A session without a login: it ended before, or the component logs in a form of its own.
  if (logins.empty()) return sent_ && !IsProofOnly(ckSmtpAuthMethodStr(server_.authMethod));
  return std::ranges::any_of(logins, [](const Text& command) {
    const std::size_t start = command.find(u' ') + 1;
    return !IsProofOnly(TextView(command).substr(start, command.find_first_of(u" \r", start) - start));
  });
}

}  // namespace ovs
