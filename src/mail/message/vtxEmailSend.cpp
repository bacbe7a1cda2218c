// The send of a message: its order, and what the user is shown.
#include "base/App_Strings.h"
#include "diag/Proc.h"
#include "mail/message/vtxEmail.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"vtxEmail";

// Of the platform's message box.
constexpr std::uint32_t kForeground = 0x10000;
constexpr std::uint32_t kInformation = 0x40 | kForeground;
constexpr std::uint32_t kYesNo = 0x4 | 0x10 | kForeground;
constexpr std::uint32_t kYesNoCancel = 0x3 | 0x20 | kForeground;
constexpr int kYes = 6;
constexpr int kNo = 7;

}  // namespace

bool vtxEmail::SendEmail(bool useChilkat) {
  Proc proc(kModule, u"SendEmail", ProcKind::Function);
  proc.ByVal(u"bUseChilkat", useChilkat);
  proc.ByVal(u"EmailTo", EmailTo);
  proc.ByVal(u"EmailSubject", EmailSubject);
  bool sent = false;
  proc.Run([&] {
    outcome_ = {};
    outcome_.to = EmailTo;
    sent = KeepingReason(outcome_.reason, [&] { return Send(proc, useChilkat); });
  });
  outcome_.sent = sent;
  proc.Run([&] {
    if (ownsArchive_ && parts_.fileSystem.FileExist(ZipFile)) parts_.fileSystem.FileDelete(ZipFile);
  });
  proc.Result(sent);
  return sent;
}

bool vtxEmail::SendDebugEmail() {
  Proc proc(kModule, u"SendDebugEmail", ProcKind::Function);
  return proc.Run(false, [&] {
    proc.Log(u"Problem reports by mail are not available in this program");
    return false;
  });
}

bool vtxEmail::Send(Proc& proc, bool useChilkat) {
  UsedChilkatSendMethod = false;
  ownsArchive_ = packed_ = false;
  if (EmailBodyIsFile && !TakeBodyFromFile(proc)) return false;
  if (ZipAttachments && !attachments_.empty()) PackAttachments(proc);
  PromptForSubject();
  UsedChilkatSendMethod = NeedsMailComponent(useChilkat);
  if (!SendReady() && !MakeReady(proc)) return false;
  const bool sent = UsedChilkatSendMethod ? ckSendEmail() : cdoSendEmail();
  if (!sent && outcome_.reason.empty()) outcome_.reason = outcome_.report.failReason;
  proc.Log(Text(UsedChilkatSendMethod ? kComponentResultEntry : kSystemResultEntry) + (sent ? u"True" : u"False"));
  ShowResult(sent);
  return sent;
}

bool vtxEmail::TakeBodyFromFile(Proc& proc) {
  Text content;
  if (!parts_.fileSystem.FileExist(EmailBody) || !parts_.fileSystem.GetFileToString(EmailBody, content)) {
    log_.AddLine(EmailBody);
    outcome_.reason = u"The file of the mail's body does not exist or cannot be read: " + EmailBody;
    proc.Log(outcome_.reason);
    return false;
  }
  EmailBody = std::move(content);
  return true;
}

void vtxEmail::PackAttachments(Proc& proc) {
  if (ZipFile.empty()) {
    const Text name = ZipFileName.empty() ? Text(u"Attachment") : App_FilePath::FileNameOf(ZipFileName);
    ZipFile = parts_.environment.TempFolder() + name;
    App_Strings::EnsureStringEndsWith(ZipFile, u".zip");
  }
  std::uint32_t reason = 0;
  parts_.fileSystem.EnsureDirExists(App_FilePath::FolderOf(ZipFile), reason);
  if (parts_.fileSystem.FileExist(ZipFile)) parts_.fileSystem.FileDelete(ZipFile);
  const bool isFree = !parts_.fileSystem.FileExist(ZipFile);
  const bool written = ckZipFileCollection(attachments_, ZipFile);
  if (!written) proc.Log(u"ckZipFileCollection = False!");
  ownsArchive_ = isFree || written;
  packed_ = written && parts_.fileSystem.FileExist(ZipFile);
  if (packed_) return;
  log_.AddLine(u"Failed to zip attachments!");
  proc.Log(u"Failed to zip attachments! The mail goes without them: " + ZipFile);
}

void vtxEmail::PromptForSubject() {
  const bool wanted = parts_.store.GetBool(ProgramSettings::kPromptForSubject);
  if (!wanted || parts_.environment.AutomaticMode()) return;
  const std::optional<Text> reply = parts_.user.InputBox(u"Email Subject", u"Modify Subject Line", EmailSubject);
  if (reply && !reply->empty()) EmailSubject = *reply;
}

bool vtxEmail::NeedsMailComponent(bool useChilkat) const {
  return useChilkat || SmtpSSLType >= kSslStartTls || SmtpAuthMethod >= kAuthPlain || EmailBodyIsHTML || AddPriorityHeader;
}

bool vtxEmail::MakeReady(Proc& proc) {
  outcome_.reason = u"The mail cannot be sent, a setting is missing: " + Text(MissingSetting());
  proc.Log(outcome_.reason);
  if (!ShowCriticalUserMsgs() || parts_.environment.AutomaticMode()) return false;
  const int answer = parts_.user.Box(
      u"You must configure an SMTP server to send email!\r\n\r\n"
      u"Choose 'Yes' to open the email config, 'No' to start the system default mail client (you must attach any files "
      u"manually), or 'Cancel' to skip this email.",
      parts_.environment.Title(), kYesNoCancel);
  if (answer == kNo) parts_.user.StartMailClient(EmailTo, EmailSubject, EmailBody);
  if (answer != kYes) return false;
  if (parts_.user.EditMailSettings() && SendReady()) {
    outcome_.reason.clear();
    return true;
  }
  proc.Log(u"Email configuration incomplete.");
  parts_.user.Box(u"Email configuration incomplete.", parts_.environment.Title(), kInformation);
  return false;
}

void vtxEmail::ShowResult(bool sent) {
  const bool automatic = parts_.environment.AutomaticMode();
  if (sent && ShowSuccessMsgs) {
    constexpr TextView kSent = u"Email Sent!";
    if (automatic) {
      parts_.user.StatusNotice(kSent);
    } else {
      parts_.user.Box(kSent, parts_.environment.Title(), kInformation);
    }
  }
  if (sent || !ShowErrorMsgs) return;
  if (automatic) {
    parts_.user.StatusNotice(u"Failed to send email!");
  } else {
    ShowFailure();
  }
}

void vtxEmail::ShowFailure() {
  constexpr TextView kCaption = u"Fail result:";
  Text text = u"Failed to send test email, please check your settings.";
  if (UsedChilkatSendMethod) text += u"\r\n\r\nFail Reason:  " + failReason_;
  text += u"\r\n\r\nView detailed log?";
  if (parts_.user.Box(text, kCaption, kYesNo) == kYes) parts_.user.ViewLog(kCaption, LogFullText());
}

}  // namespace ovs
