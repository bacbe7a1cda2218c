#include "mail/message/vtxEmail.h"

#include "base/App_Strings.h"
#include "base/Wipe.h"
#include "diag/Proc.h"
#include "diag/SecretMask.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"vtxEmail";
constexpr TextView kPasswordKey = u"Email.SMTP.Password";

}  // namespace

vtxEmail::vtxEmail(const MailParts& parts) : parts_(parts) { SetDefaultEmailConfig(); }

// --- the log

void vtxEmail::ClearLogText() {
  log_.WipeString();
  failReason_.clear();
  lastErrorText_.clear();
  lastStatus_.clear();
  session_.clear();
  UsedChilkatSendMethod = false;
}

Text vtxEmail::LogFullText() const {
  Text text = log_.GetStr();
  int removed = 0;
  App_Strings::TrimLeft(text, kCrLf, -1, removed);
  App_Strings::TrimRight(text, kCrLf, -1, removed);
  return text;
}

void vtxEmail::SetLogValue(Text& value, TextView label, TextView text) {
  value = text;
  SecretMask mask;
  mask.Add(SmtpPassword);
  mask.Apply(value);
  log_.Add(Text(kCrLf).append(label).append(value).append(u"]"));
}

// --- attachments

void vtxEmail::AddFileAttachment(TextView file) {
  Proc proc(kModule, u"AddFileAttachment", ProcKind::Sub);
  proc.ByVal(u"sFile", file);
  proc.Run([&] {
    if (file.empty()) {
      proc.Log(u"No file to attach was named");
    } else if (!parts_.fileSystem.FileExist(file)) {
      proc.Log(u"The file to attach does not exist: " + Text(file));
    } else {
      attachments_.emplace_back(file);
    }
  });
}

void vtxEmail::AddFileAttachmentsFromPath(TextView path, TextView mask, std::int32_t recursionLevel) {
  Proc proc(kModule, u"AddFileAttachmentsFromPath", ProcKind::Sub);
  proc.ByVal(u"sPath", path);
  proc.ByVal(u"sMask", mask);
  proc.Run([&] {
    if (path.empty()) return proc.Log(u"No folder of files to attach was named");
    if (!parts_.fileSystem.DirExist(path)) return proc.Log(u"The folder of files to attach does not exist: " + Text(path));
    FS_DirList list(parts_.fileSystem.Files());
    list.RecursionLevel = recursionLevel;
    list.AddSearchPath(path);
    list.AddFileMask(mask);
    list.StartSearch();
    const std::vector<Text>& found = list.MatchingFilesOnDisk();
    if (found.empty()) proc.Log(u"The folder holds no files to attach: " + Text(path));
    attachments_.insert(attachments_.end(), found.begin(), found.end());
  });
}

// --- settings

bool vtxEmail::HasSmtpPassword(bool test) const {
  Proc proc(kModule, u"HasSmtpPassword", ProcKind::Function);
  return proc.Run(false, [&] { return HasSetting((test ? u"Test." : u"") + Text(kPasswordKey)); });
}

bool vtxEmail::SetDefaultEmailConfig() {
  Proc proc(kModule, u"SetDefaultEmailConfig", ProcKind::Function);
  return proc.Run(false, [&] {
    SmtpAutoFix = HasSetting(u"Email.SMTP.AutoFix") ? NumberSetting(u"Email.SMTP.AutoFix") : 1;
    SmtpUsername = Setting(u"Email.SMTP.Username");
    Text password = Setting(kPasswordKey);
    const WipeAtEnd wiped(password);
    SmtpPassword = password;
    SmtpHost = Setting(u"Email.SMTP.Host");
    SmtpPort = NumberSetting(u"Email.SMTP.Port");
    SmtpSSLType = NumberSetting(u"Email.SMTP.SSLType");
    if (HasSetting(u"Email.SMTP.AuthMethod")) {
      SmtpAuthMethod = NumberSetting(u"Email.SMTP.AuthMethod");
    } else if (HasSetting(kPasswordKey)) {
      SmtpAuthMethod = kAuthLogin;
    }
    EmailFrom = Setting(u"Email.From");
    EmailReplyTo = Setting(u"Email.ReplyTo");
    EmailTo = Setting(u"Email.To");
    EmailBodyTailMsg = u"\r\n\r\nThis message sent by  -  " + parts_.environment.AppTitle_VersionForced();
    return SendReady();
  });
}

TextView vtxEmail::MissingSetting() const {
  if (SmtpHost.empty()) return u"SmtpHost";
  if (!RequireAllSettingsForSend) return {};
  if (SmtpUsername.empty()) return u"SmtpUsername";
  if (SmtpPassword.empty()) return u"SmtpPassword";
  if (EmailFrom.empty()) return u"EmailFrom";
  return EmailTo.empty() ? TextView(u"EmailTo") : TextView();
}

bool vtxEmail::ShowCriticalUserMsgs() const {
  return ShowSuccessMsgs || ShowErrorMsgs || !parts_.environment.AutomaticMode() || showCriticalUserMsgs_;
}

Text vtxEmail::Setting(TextView key) const { return parts_.store.GetString(key); }

bool vtxEmail::HasSetting(TextView key) const { return parts_.store.SettingExist(key); }

std::int32_t vtxEmail::NumberSetting(TextView key) const { return parts_.store.GetLong(key); }

}  // namespace ovs
