#include "mail/message/vtxEmail.h"

#include "base/App_Strings.h"
#include "base/Wipe.h"
#include "diag/Proc.h"
#include "diag/SecretMask.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"vtxEmail";

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
  HidePassword(value);
  log_.Add(Text(kCrLf).append(label).append(value).append(u"]"));
}

void vtxEmail::HidePassword(Text& text) const {
  SecretMask mask;
  mask.Add(SmtpPassword);
  mask.Apply(text);
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
  return proc.Run(
      false, [&] { return parts_.store.SettingExist((test ? u"Test." : u"") + Text(ProgramSettings::kSmtpPassword.key)); });
}

bool vtxEmail::SetDefaultEmailConfig() {
  Proc proc(kModule, u"SetDefaultEmailConfig", ProcKind::Function);
  using namespace ProgramSettings;
  return proc.Run(false, [&] {
    SmtpAutoFix = parts_.store.SettingExist(kSmtpAutoFix.key) ? parts_.store.GetLong(kSmtpAutoFix) : 1;
    SmtpUsername = parts_.store.GetString(kSmtpUsername);
    Text password = parts_.store.GetString(kSmtpPassword);
    const WipeAtEnd wiped(password);
    SmtpPassword = password;
    SmtpHost = parts_.store.GetString(kSmtpHost);
    SmtpPort = parts_.store.GetLong(kSmtpPort);
    SmtpSSLType = parts_.store.GetLong(kSmtpSslType);
    SmtpSSLProtocol = NumberSetting(kSmtpSslProtocol, 0, u"a protocol choice");
    if (parts_.store.SettingExist(kSmtpAuthMethod.key)) {
      SmtpAuthMethod = parts_.store.GetLong(kSmtpAuthMethod);
    } else if (parts_.store.SettingExist(kSmtpPassword.key)) {
      SmtpAuthMethod = kAuthLogin;
    }
    EmailFrom = parts_.store.GetString(kEmailFrom);
    EmailReplyTo = parts_.store.GetString(kEmailReplyTo);
    EmailTo = parts_.store.GetString(kEmailTo);
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

}  // namespace ovs
