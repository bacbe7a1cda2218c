#include "mail/engines/win32/CdoMailer.h"

#include <array>
#include <string_view>
#include <utility>

#include "base/RuntimeError.h"
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
constexpr std::int32_t kImplicitTls = 1;
constexpr std::int32_t kBasic = 1;
// CDO_E_FAILED_TO_CONNECT.
constexpr auto kNotConnected = static_cast<int>(0x80040213);

constexpr std::array<TextView, kStatusFields> kStatusOrder = {
    u"smtpserver",   u"smtpserverport",        kAuthenticate, kUseSsl, u"sendusername",
    u"sendpassword", u"smtpconnectiontimeout", u"sendusing"};

}  // namespace

CdoMailer::CdoMailer()
    : message_(AutomationObject::FromProgId(kProgId)),
      fields_(ObjectOf(ObjectOf(message_.Get(u"Configuration"), u"Configuration").Get(u"Fields"), u"Fields")) {}

AutomationObject CdoMailer::Field(TextView name) const {
  return ObjectOf(fields_.Get(u"Item", {Text(kSchema) + Text(name)}), u"Item");
}

void CdoMailer::Set(TextView name, AutomationValue value) const { Field(name).Put(u"Value", std::move(value)); }

std::vector<std::int32_t> CdoMailer::Configure(const SmtpSettings& settings) {
  constexpr std::int64_t kBySmtp = 2;
  settings_ = settings;
  const bool useSsl = settings.sslType == kImplicitTls;
  Set(u"smtpserver", settings.host);
  Set(u"smtpserverport", std::int64_t{settings.port});
  Set(kAuthenticate, std::int64_t{settings.authMethod});
  if (useSsl) Set(kUseSsl, true);
  Set(u"sendusername", settings.username);
  Set(u"sendpassword", Text(settings.password));
  Set(u"smtpconnectiontimeout", std::int64_t{settings.connectSeconds});
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
  for (const Text& path : message.attachments) message_.Call(u"AddAttachment", {path});
  return complete;
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

void CdoMailer::SetAuthMethod(TextView method) {
  for (settings_.authMethod = 2; settings_.authMethod > 0; --settings_.authMethod) {
    if (method == ckSmtpAuthMethodStr(settings_.authMethod)) break;
  }
  Set(kAuthenticate, std::int64_t{settings_.authMethod});
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
  const bool useSsl = settings_.sslType == kImplicitTls;
  const bool sendsPassword = settings_.authMethod == kBasic && !settings_.password.empty();
  if (sendsPassword && !useSsl && reachedServer_) report.notes.emplace_back(kPasswordInClear);
  if (useSsl && (settings_.allowUntrusted || !settings_.caFile.empty())) {
    report.notes.emplace_back(
        u"Email.SMTP.AllowUntrusted and Email.SMTP.CAFile have no effect on CDO.Message, which trusts what the system "
        u"trusts.");
  }
  return report;
}

}  // namespace ovs
