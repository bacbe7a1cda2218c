// One e-mail message with the SMTP settings needed to send it, the files to attach, the switches for user messages, and a
// running log of what the send did.
//
// A new object holds the defaults of the settings store. No operation fails to the caller: errors are reported to the
// debug log and give false. One thread at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Text.h"
#include "base/Vell_String.h"
#include "config/Config_Class.h"
#include "mail/engines/MailComponent.h"
#include "mail/message/MailUser.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"
#include "platform/FS_DirList.h"

namespace ovs {

// What a message works with; all must outlive it.
struct MailParts {
  App_FileSystem& fileSystem;
  App_Env& environment;
  MailEngines& engines;
  MailUser& user;
  const Config_Class* store;  // null: no settings
};

class vtxEmail {
 public:
  explicit vtxEmail(const MailParts& parts);
  ~vtxEmail();
  vtxEmail(const vtxEmail&) = delete;
  vtxEmail& operator=(const vtxEmail&) = delete;

  bool AddPriorityHeader = false;

  // --- the log. Writing one of the four values also appends it to the log, masked where it holds a secret.
  void ClearLogText();
  [[nodiscard]] Text LogFullText() const;
  [[nodiscard]] const Text& LogSmtpFailReason() const { return failReason_; }
  void SetLogSmtpFailReason(TextView value) { SetLogValue(failReason_, u"Last Fail Reason [", value); }
  [[nodiscard]] const Text& LogSmtpLastErrorText() const { return lastErrorText_; }
  void SetLogSmtpLastErrorText(TextView value) { SetLogValue(lastErrorText_, u"Last Error [", value); }
  [[nodiscard]] const Text& LogSmtpLastStatus() const { return lastStatus_; }
  void SetLogSmtpLastStatus(TextView value) { SetLogValue(lastStatus_, u"Last Status [", value); }
  [[nodiscard]] const Text& LogSmtpSession() const { return session_; }
  void SetLogSmtpSession(TextView value) { SetLogValue(session_, u"Session [", value); }
  // The last send went through the mail component rather than the system's message object.
  bool UsedChilkatSendMethod = false;

  Text EmailFrom;
  Text EmailReplyTo;
  Text EmailTo;
  Text EmailCC;
  Text EmailBCC;
  Text EmailSubject;
  Text EmailBody;  // a file name when EmailBodyIsFile
  bool EmailBodyAppendTailMsg = true;
  Text EmailBodyTailMsg;
  bool EmailBodyIncludeLogoFile = true;
  bool EmailBodyIsHTML = false;
  bool EmailBodyIsFile = false;
  bool ZipAttachments = false;
  Text ZipFileName;
  Text ZipFile;  // full path; decided by the send when it is empty
  Text SmtpUsername;
  Text SmtpPassword;
  Text SmtpHost;
  std::int32_t SmtpPort = 0;
  std::int32_t SmtpSSLType = 0;
  Text SmtpLoginDomain;
  std::int32_t SmtpSSLProtocol = 0;
  [[nodiscard]] Text SmtpSSLProtocolStr() const { return Text(ckSSLProtocolStr(SmtpSSLProtocol)); }
  std::int32_t SmtpAuthMethod = 0;
  [[nodiscard]] Text SmtpAuthMethodStr() const { return Text(ckSmtpAuthMethodStr(SmtpAuthMethod)); }
  std::int32_t SmtpAutoFix = 1;
  bool RequireAllSettingsForSend = true;
  // False only in automatic mode, when neither success nor errors are to be shown and nobody set it.
  [[nodiscard]] bool ShowCriticalUserMsgs() const;
  void SetShowCriticalUserMsgs(bool show) { showCriticalUserMsgs_ = show; }
  bool ShowSuccessMsgs = false;
  bool ShowErrorMsgs = false;

  // Adds a file that exists; any other is reported and left out.
  void AddFileAttachment(TextView file);
  // Adds every file of the folder that matches the mask, to `recursionLevel` levels below it (0 none, -1 all).
  void AddFileAttachmentsFromPath(TextView path, TextView mask = u"*.*", std::int32_t recursionLevel = 0);
  void ClearFileAttachments() { attachments_.clear(); }
  [[nodiscard]] const std::vector<Text>& FileAttachments() const { return attachments_; }
  // True when the store holds "Email.SMTP.Password", or "Test.Email.SMTP.Password" with `test`.
  [[nodiscard]] bool HasSmtpPassword(bool test = false) const;
  // Loads the defaults from the store; the result is SendReady.
  bool SetDefaultEmailConfig();
  // True when a send has the settings that it needs: a host, and with RequireAllSettingsForSend user name, password, sender
  // and recipients too.
  [[nodiscard]] bool SendReady() const { return MissingSetting().empty(); }

  // The engine that a send would use.
  [[nodiscard]] Text EngineName() const;

  // Sends the message; true when a server took it for one recipient at least.
  bool SendEmail(bool useChilkat = false);
  // The problem report of a desktop program: not available here, always false.
  bool SendDebugEmail();

  // Packs the files that exist into a new archive; false when there is none to pack or the archive was not written.
  bool ckZipFileCollection(const std::vector<Text>& files, TextView zipPath);

 private:
  void SetLogValue(Text& value, TextView label, TextView text);
  [[nodiscard]] TextView MissingSetting() const;
  [[nodiscard]] Text Setting(TextView key) const;
  [[nodiscard]] bool HasSetting(TextView key) const;
  [[nodiscard]] std::int32_t NumberSetting(TextView key) const;

  // vtxEmailSend.cpp
  bool Send(class Proc& proc, bool useChilkat);
  bool TakeBodyFromFile(class Proc& proc);
  void PackAttachments(class Proc& proc);
  void PromptForSubject();
  [[nodiscard]] bool NeedsMailComponent(bool useChilkat) const;
  bool MakeReady(class Proc& proc);
  void ShowResult(bool sent);
  void ShowFailure();

  // vtxEmailEngines.cpp
  bool cdoSendEmail();
  bool ckSendEmail();
  [[nodiscard]] Text FailVariables() const;
  [[nodiscard]] SmtpSettings Settings() const;
  [[nodiscard]] std::int32_t SecondsSetting(TextView key, std::int32_t initial) const;
  [[nodiscard]] MailMessage Message();
  [[nodiscard]] Text Recipients(TextView addresses);
  void ComposeWith(class Proc& proc, MailComponent& component, TextView refusedText);
  [[nodiscard]] Text FindLogoFile() const;
  void TakeReport(class Proc& proc, MailComponent& component);
  void AppendToArchive(ZipArchive& archive, TextView file);

  MailParts parts_;
  std::vector<Text> attachments_;
  Vell_String log_;
  Text failReason_;
  Text lastErrorText_;
  Text lastStatus_;
  Text session_;
  bool showCriticalUserMsgs_ = false;
};

}  // namespace ovs
