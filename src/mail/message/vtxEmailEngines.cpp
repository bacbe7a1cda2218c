// The part of a message that drives the two kinds of engine, and the archive.
#include <array>

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "diag/Proc.h"
#include "mail/engines/MailHeaders.h"
#include "mail/message/vtxEmail.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"vtxEmail";

// True when `line`, the text without control characters, differs from it outside of double quotes.
bool BreaksOutsideQuotes(TextView text, TextView line) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'"') quoted = !quoted;
    if (text[i] != line[i] && !quoted) return true;
  }
  return false;
}

}  // namespace

ClosedComponentOptions vtxEmail::ComponentOptions() const {
  ClosedComponentOptions options;
  options.unlockCode = parts_.store.GetString(ProgramSettings::kChilkatUnlockCode);
  options.verboseLogging = parts_.store.GetBool(ProgramSettings::kChilkatVerbose);
  if (!parts_.store.GetBool(ProgramSettings::kChilkatWriteLogFiles)) return options;
  const Text end = u"(" + parts_.environment.ProcessIdText() + u").log";
  options.mailManDebugLog = Diagnostics().DebugLogPath(true) + u"ckMailMan_Debug" + end;
  options.emailDebugLog = Diagnostics().DebugLogPath(true) + u"ckEmail_Debug" + end;
  return options;
}

vtxEmail::Engine vtxEmail::EngineOfSend() const {
  const std::unique_ptr<MailComponent> component =
      NeedsMailComponent(false) ? parts_.engines.NewComponent(ComponentOptions()) : parts_.engines.NewSystemMessage();
  return {Text(component->Name()), component->Plan(Smtp)};
}

// A failure is told in the same words whether the engine says so or raises an error.
bool vtxEmail::SendBy(Proc& proc, bool (vtxEmail::*engine)(Proc&), TextView failedEntry) {
  const bool sent = proc.Run(false, [&] { return KeepingReason(outcome_.reason, [&] { return (this->*engine)(proc); }); });
  if (sent) return true;
  proc.Run([&] {
    if (!outcome_.reason.empty()) SetLogSmtpFailReason(outcome_.reason);
    proc.Log(failedEntry, EventType::Normal, u"SmtpFailReason=" + failReason_ + u"<sep>LastErrorText=" + lastErrorText_);
  });
  return false;
}

bool vtxEmail::cdoSendEmail() {
  Proc proc(kModule, u"cdoSendEmail", ProcKind::Function);
  return SendBy(proc, &vtxEmail::SendBySystemMessage, u"cdoSendEmail Failure!");
}

bool vtxEmail::SendBySystemMessage(Proc& proc) {
  static constexpr std::array<TextView, MailComponent::kStatusFields> kFields = {u"cdoSMTPServer.Status=",
                                                                                 u"cdoSMTPServerPort.Status=",
                                                                                 u"cdoSMTPAuthenticate.Status=",
                                                                                 u"cdoSMTPUseSSL.Status=",
                                                                                 u"cdoSendUserName.Status=",
                                                                                 u"cdoSendPassword.Status=",
                                                                                 u"cdoSMTPConnectionTimeout.Status=",
                                                                                 u"cdoSendUsingMethod.Status="};
  SmtpServer server = Server();
  const bool isKnown = SmtpAuthMethod >= kAuthNone && SmtpAuthMethod <= kAuthNtlm;
  if (!isKnown) server.authMethod = HasSmtpPassword() ? kAuthLogin : kAuthNtlm;
  const std::unique_ptr<MailComponent> component = parts_.engines.NewSystemMessage();
  outcome_.engine = component->Name();
  const std::vector<std::int32_t> statuses = component->Configure(server);
  log_.AddLine(u"Object Setup");
  for (std::size_t i = 0; i < kFields.size() && i < statuses.size(); ++i) {
    log_.AddLine(Text(kFields[i]) + NumberText(statuses[i]));
  }
  ComposeWith(proc, *component, u"Failed to add logo file:  ");
  const bool sent = component->Send();
  log_.AddLine(u"Send Email (cdo)");
  TakeReport(proc, *component);
  return sent;
}

bool vtxEmail::ckSendEmail() {
  Proc proc(kModule, u"ckSendEmail", ProcKind::Function);
  return SendBy(proc, &vtxEmail::SendByMailComponent, u"ckSendEmail Failure!");
}

bool vtxEmail::SendByMailComponent(Proc& proc) {
  const std::unique_ptr<MailComponent> component = parts_.engines.NewComponent(ComponentOptions());
  outcome_.engine = component->Name();
  component->Configure(Server());
  ComposeWith(proc, *component, u"Chilkat failed to add logo file:  ");
  bool sent = component->Send();
  if (!sent && SmtpAuthMethod == kAuthAutomatic) {
    component->SetAuthMethod(kAuthLogin);
    sent = component->Send();
  }
  TakeReport(proc, *component);
  if (sent) proc.Log(kComponentSentEntry);
  return sent;
}

SmtpServer vtxEmail::Server() const {
  SmtpServer server = Smtp;
  for (Text* const line : {&server.host, &server.username, &server.loginDomain}) *line = MailHeaders::OneLine(*line);
  constexpr TextView kSeconds = u"a number of seconds";
  server.connectSeconds = NumberSetting(ProgramSettings::kSmtpConnectTimeout, server.connectSeconds, kSeconds);
  server.sendSeconds = NumberSetting(ProgramSettings::kSmtpSendTimeout, server.sendSeconds, kSeconds);
  server.caFile = parts_.store.GetString(ProgramSettings::kSmtpCaFile);
  server.allowUntrusted = parts_.store.GetString(ProgramSettings::kSmtpAllowUntrusted) == u"1";
  return server;
}

std::int32_t vtxEmail::NumberSetting(const SettingName& setting, std::int32_t initial, TextView what) const {
  if (!parts_.store.SettingExist(setting.key)) return initial;
  const std::int32_t number = parts_.store.GetLong(setting);
  if (number >= setting.least && number <= setting.most) return number;
  Debug::dLog(kNoProc, u"Setting [" + Text(setting.key) + u"] is not " + Text(what) + u" from " + NumberText(setting.least) +
                           u" to " + NumberText(setting.most) + u"; " + NumberText(initial) + u" is used");
  return initial;
}

// Without those that hold a line break or another control character outside of a quoted name: nobody meant the text
// behind one.
Text vtxEmail::Recipients(TextView addresses) {
  Text kept;
  for (const TextView each : App_Strings::SplitViews(addresses, u",")) {
    const Text line = MailHeaders::OneLine(each);
    if (!BreaksOutsideQuotes(each, line)) {
      kept.append(line).append(u",");
      continue;
    }
    const Text note = u"Recipient left out, it is no mail address: [" + Text(App_Strings::TrimBlanks(line)) + u"]";
    log_.AddLine(note);
    Debug::dLog(kNoProc, note);
  }
  if (!kept.empty()) kept.pop_back();
  return kept;
}

MailMessage vtxEmail::Message() {
  MailMessage message;
  message.from = FirstMailbox(MailHeaders::OneLine(EmailFrom));
  message.replyTo = FirstMailbox(MailHeaders::OneLine(EmailReplyTo));
  message.to = Recipients(EmailTo);
  message.cc = Recipients(EmailCC);
  message.bcc = Recipients(EmailBCC);
  message.subject = MailHeaders::OneLine(EmailSubject);
  message.body = EmailBodyAppendTailMsg ? EmailBody + EmailBodyTailMsg : EmailBody;
  message.isHtml = EmailBodyIsHTML;
  message.addPriorityHeader = AddPriorityHeader;
  if (!ZipAttachments) {
    message.attachments = attachments_;
  } else if (packed_) {
    message.attachments = {ZipFile};
  }
  return message;
}

void vtxEmail::ComposeWith(Proc& proc, MailComponent& component, TextView refusedText) {
  MailMessage message = Message();
  const bool wantsLogo = EmailBodyIsHTML && EmailBodyIncludeLogoFile;
  if (wantsLogo) message.logoFile = FindLogoFile();
  const bool added = component.Compose(message);
  if (wantsLogo && message.logoFile.empty()) {
    proc.Log(u"Failed to find a logo file!");
  } else if (wantsLogo) {
    proc.Log(Text(added ? TextView(u"Added logo file:  ") : refusedText) + message.logoFile);
  } else if (EmailBodyIsHTML) {
    proc.Log(u"HTML email is not flagged to add logo file.");
  }
}

Text vtxEmail::FindLogoFile() const {
  for (const TextView extension : {u".png", u".gif", u".jpg"}) {
    Text path = parts_.environment.ApplicationFolder() + u"Config\\Logo" + Text(extension);
    if (parts_.fileSystem.FileExist(path)) return path;
  }
  return {};
}

void vtxEmail::TakeReport(Proc& proc, MailComponent& component) {
  MailReport report = component.Report();
  for (MailStep& step : report.steps) HidePassword(step.detail);
  for (Text& note : report.notes) {
    HidePassword(note);
    log_.AddLine(note);
    proc.Log(note);
  }
  SetLogSmtpFailReason(report.failReason);
  SetLogSmtpSession(report.session);
  SetLogSmtpLastErrorText(report.lastErrorText);
  SetLogSmtpLastStatus(report.lastStatus);
  report.failReason = failReason_;
  report.session = session_;
  report.lastErrorText = lastErrorText_;
  report.lastStatus = lastStatus_;
  outcome_.report = std::move(report);
}

bool vtxEmail::ckZipFileCollection(const std::vector<Text>& files, TextView zipPath) {
  Proc proc(kModule, u"ckZipFileCollection", ProcKind::Function);
  proc.ByVal(u"colFiles", files);
  proc.ByVal(u"sZipFile", zipPath);
  return proc.Run(false, [&] {
    if (files.empty()) return false;
    const std::unique_ptr<ZipArchive> archive =
        parts_.engines.NewZip(parts_.store.GetString(ProgramSettings::kChilkatUnlockCode));
    if (!archive->Create(zipPath)) {
      log_.AddLine(u"CreateZipError=" + archive->LastErrorText());
      return false;
    }
    for (const Text& file : files) AppendToArchive(*archive, file);
    if (archive->Write()) return true;
    log_.AddLine(u"ZipError=" + archive->LastErrorText());
    return false;
  });
}

void vtxEmail::AppendToArchive(ZipArchive& archive, TextView file) {
  if (!parts_.fileSystem.FileExist(file)) {
    log_.AddLine(u"File Skipped (Does Not Exist):   " + Text(file));
    return;
  }
  if (archive.AppendFile(file)) {
    log_.AddLine(u"File=" + Text(file));
  } else {
    log_.AddLine(u"ZipError=" + archive.LastErrorText());
  }
}

}  // namespace ovs
