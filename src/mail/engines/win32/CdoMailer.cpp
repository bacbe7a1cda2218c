#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "diag/App_Debug.h"
#include "mail/engines/win32/ComMail.h"
#include "platform/App_FilePath.h"

namespace ovs {

using win32::AutomationObject;
using win32::AutomationValue;
using win32::ObjectOf;

namespace {

constexpr TextView kSchema = u"http://schemas.microsoft.com/cdo/configuration/";
constexpr TextView kUseSsl = u"smtpusessl";
constexpr TextView kAuthenticate = u"smtpauthenticate";
// CDO_E_FAILED_TO_CONNECT.
constexpr auto kNotConnected = static_cast<int>(0x80040213);

constexpr std::array<TextView, MailComponent::kStatusFields> kStatusOrder = {
    u"smtpserver",   u"smtpserverport",        kAuthenticate, kUseSsl, u"sendusername",
    u"sendpassword", u"smtpconnectiontimeout", u"sendusing"};

}  // namespace

Text BodyText(const MailMessage& message) {
  Text body = message.body;
  std::ranges::replace(body, kNul, kBlank);
  return body;
}

Text ErrorText(const RuntimeError& error) {
  const Text& text = error.Description();
  return text.substr(0, text.find_last_not_of(u" \r\n") + 1);
}

CdoMailer::CdoMailer()
    : message_(AutomationObject::FromProgId(kProgId)),
      fields_(ObjectOf(ObjectOf(message_.Get(u"Configuration"), u"Configuration").Get(u"Fields"), u"Fields")) {}

AutomationObject CdoMailer::Field(TextView name) const {
  return ObjectOf(fields_.Get(u"Item", {Text(kSchema) + Text(name)}), u"Item");
}

void CdoMailer::Set(TextView name, AutomationValue value) const { Field(name).Put(u"Value", std::move(value)); }

std::vector<std::int32_t> CdoMailer::Configure(const SmtpServer& server) {
  constexpr std::int64_t kBySmtp = 2;
  server_ = server;
  const bool useSsl = Plan(server).implicitTls;
  Set(u"smtpserver", server.host);
  Set(u"smtpserverport", std::int64_t{server.port});
  Set(kAuthenticate, std::int64_t{server.authMethod});
  if (useSsl) Set(kUseSsl, true);
  Set(u"sendusername", server.username);
  Set(u"sendpassword", Text(server.password));
  Set(u"smtpconnectiontimeout", std::int64_t{server.connectSeconds});
  Set(u"sendusing", kBySmtp);
  fields_.Call(u"Update");

  std::vector<std::int32_t> statuses;
  for (const TextView name : kStatusOrder) {
    // Asking for a field makes it.
    const bool isThere = useSsl || name != kUseSsl;
    statuses.push_back(isThere ? win32::NumberOf(Field(name).Get(u"Status"), u"Status") : 0);
  }
  return statuses;
}

bool CdoMailer::Compose(const MailMessage& message) {
  // Headers and texts are encoded by the character set in force when they are set.
  ObjectOf(message_.Get(u"BodyPart"), u"BodyPart").Put(u"Charset", Text(u"utf-8"));
  message_.Put(u"To", message.to);
  message_.Put(u"From", message.from);
  message_.Put(u"ReplyTo", message.replyTo);
  message_.Put(u"Subject", message.subject);
  if (!message.cc.empty()) message_.Put(u"CC", message.cc);
  if (!message.bcc.empty()) message_.Put(u"BCC", message.bcc);
  SetBody(message);
  const bool complete = message.logoFile.empty() || AddLogo(message.logoFile);
  for (const Text& path : message.attachments) AddAttachment(path);
  return complete;
}

void CdoMailer::AddAttachment(const Text& path) try {
  message_.Call(u"AddAttachment", {path});
} catch (const RuntimeError& error) {
  notes_.push_back(LeftOut(path, ErrorText(error)));
}

void CdoMailer::SetBody(const MailMessage& message) {
  const TextView kind = message.isHtml ? u"HTMLBody" : u"TextBody";
  message_.Put(kind, BodyText(message));
  // The part that the text has become has a character set of its own.
  const Text part = Text(kind) + u"Part";
  ObjectOf(message_.Get(part), part).Put(u"Charset", Text(u"utf-8"));
}

bool CdoMailer::AddLogo(const Text& path) try {
  constexpr std::int64_t kByContentId = 0;
  message_.Call(u"AddRelatedBodyPart", {path, App_FilePath::FileNameOf(path), kByContentId});
  return true;
} catch (const RuntimeError& error) {
  Debug::dLog(kNoProc, ErrorText(error));
  return false;
}

// Of the methods the object knows these three alone.
void CdoMailer::SetAuthMethod(std::int32_t method) {
  server_.authMethod = method == kAuthLogin || method == kAuthNtlm ? method : kAuthNone;
  Set(kAuthenticate, std::int64_t{server_.authMethod});
  fields_.Call(u"Update");
}

bool CdoMailer::Send() try {
  failure_.clear();
  message_.Call(u"Send");
  reachedServer_ = true;
  return true;
} catch (const RuntimeError& error) {
  failure_ = ErrorText(error);
  if (error.Number() != kNotConnected) reachedServer_ = true;
  return false;
}

MailReport CdoMailer::Report() {
  MailReport report;
  report.failReason = failure_;
  report.lastErrorText = failure_;
  report.notes = notes_;
  const bool useSsl = Plan(server_).implicitTls;
  const bool sendsPassword = server_.authMethod == kAuthLogin && !server_.password.empty();
  if (sendsPassword && !useSsl && reachedServer_) report.notes.emplace_back(kPasswordInClear);
  if (useSsl && (server_.allowUntrusted || !server_.caFile.empty())) {
    report.notes.emplace_back(
        u"Email.SMTP.AllowUntrusted and Email.SMTP.CAFile have no effect on CDO.Message, which trusts what the system "
        u"trusts.");
  }
  return report;
}

}  // namespace ovs
