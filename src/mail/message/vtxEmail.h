// One e-mail message: its texts, the mail server, the files to attach, the switches for user messages, and a running log of
// the send.
//
// A new object holds the defaults of the settings store. No operation fails to the caller: errors are reported to the
// debug log and give false. One thread at a time.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "base/Vell_String.h"
#include "config/Config_Class.h"
#include "mail/engines/MailComponent.h"
#include "mail/message/AlertMailer.h"
#include "mail/message/MailUser.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"
#include "platform/FS_DirList.h"

namespace ovs {

// Entries of the debug log that a reader of the log, in another process, may look for.
inline constexpr TextView kSendingEntry = u"Sending email...";
inline constexpr TextView kComponentSentEntry = u"ckSendEmail Success!";
// "True" or "False" follows.
inline constexpr TextView kComponentResultEntry = u"ckSendEmail Result = ";
inline constexpr TextView kSystemResultEntry = u"cdoSendEmail Result = ";

// A message's collaborators; all must outlive it.
struct MailParts {
  App_FileSystem& fileSystem;
  App_Env& environment;
  MailEngines& engines;
  MailUser& user;
  const Config_Class& store;
};

class vtxEmail {
 public:
  explicit vtxEmail(const MailParts& parts);
  vtxEmail(const vtxEmail&) = delete;
  vtxEmail& operator=(const vtxEmail&) = delete;

  // --- the message and its server

  bool AddPriorityHeader = false;
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
  // The server; the properties below name its parts.
  SmtpServer Smtp;
  Text& SmtpUsername = Smtp.username;
  SecretText& SmtpPassword = Smtp.password;
  Text& SmtpHost = Smtp.host;
  std::int32_t& SmtpPort = Smtp.port;
  std::int32_t& SmtpSSLType = Smtp.sslType;
  Text& SmtpLoginDomain = Smtp.loginDomain;
  std::int32_t& SmtpSSLProtocol = Smtp.sslProtocol;
  std::int32_t& SmtpAuthMethod = Smtp.authMethod;
  std::int32_t& SmtpAutoFix = Smtp.autoFix;
  bool RequireAllSettingsForSend = true;
  bool ShowSuccessMsgs = false;
  bool ShowErrorMsgs = false;

  // Adds a file that exists; any other is reported and left out.
  void AddFileAttachment(TextView file);
  // Loads the defaults from the store; the result is SendReady.
  bool SetDefaultEmailConfig();

  // --- the send

  // True when a send has the settings that it needs: a host, and with RequireAllSettingsForSend user name, password, sender
  // and recipients too.
  [[nodiscard]] bool SendReady() const { return MissingSetting().empty(); }
  // The engine that a send would use, and the security of its connection.
  struct Engine {
    Text name;
    SmtpPlan plan;
  };
  [[nodiscard]] Engine EngineOfSend() const;
  // Sends the message; true when a server took it for one recipient at least.
  bool SendEmail(bool useChilkat = false);
  // Of the last send; once. Never throws: the mail may have been sent.
  [[nodiscard]] MailOutcome TakeOutcome() noexcept { return std::exchange(outcome_, {}); }
  // The last send went through the mail component rather than the system's message object.
  bool UsedChilkatSendMethod = false;
  // Packs the files that exist into a new archive; false when there is none to pack or the archive was not written.
  bool ckZipFileCollection(const std::vector<Text>& files, TextView zipPath);
  // True when the store holds "Email.SMTP.Password", or "Test.Email.SMTP.Password" with `test`.
  [[nodiscard]] bool HasSmtpPassword(bool test = false) const;
  // False only in automatic mode, when neither success nor errors are to be shown and the flag below was not set.
  [[nodiscard]] bool ShowCriticalUserMsgs() const;

  // --- the log. Writing one of the four values also appends it to the log, masked where it holds a secret.

  [[nodiscard]] Text LogFullText() const;
  [[nodiscard]] const Text& LogSmtpFailReason() const { return failReason_; }
  void SetLogSmtpFailReason(TextView value) { SetLogValue(failReason_, u"Last Fail Reason [", value); }
  [[nodiscard]] const Text& LogSmtpLastErrorText() const { return lastErrorText_; }
  void SetLogSmtpLastErrorText(TextView value) { SetLogValue(lastErrorText_, u"Last Error [", value); }
  [[nodiscard]] const Text& LogSmtpLastStatus() const { return lastStatus_; }
  void SetLogSmtpLastStatus(TextView value) { SetLogValue(lastStatus_, u"Last Status [", value); }
  [[nodiscard]] const Text& LogSmtpSession() const { return session_; }
  void SetLogSmtpSession(TextView value) { SetLogValue(session_, u"Session [", value); }

  // --- members of the message object that the service itself does without

  void ClearLogText();
  void SetShowCriticalUserMsgs(bool show) { showCriticalUserMsgs_ = show; }
  [[nodiscard]] Text SmtpSSLProtocolStr() const { return Text(ckSSLProtocolStr(SmtpSSLProtocol)); }
  [[nodiscard]] Text SmtpAuthMethodStr() const { return Text(ckSmtpAuthMethodStr(SmtpAuthMethod)); }
  // Adds every file of the folder that matches the mask, to `recursionLevel` levels below it (0 none, -1 all).
  void AddFileAttachmentsFromPath(TextView path, TextView mask = u"*.*", std::int32_t recursionLevel = 0);
  void ClearFileAttachments() { attachments_.clear(); }
  // The problem report of a desktop program: not available here, always false.
  bool SendDebugEmail();

 private:
  void SetLogValue(Text& value, TextView label, TextView text);
  // Engines leave logins out of what they tell; this holds where one does not.
  void HidePassword(Text& text) const;
  [[nodiscard]] TextView MissingSetting() const;

  // vtxEmailSend.cpp
  [[nodiscard]] bool Send(class Proc& proc, bool useChilkat);
  bool TakeBodyFromFile(class Proc& proc);
  void PackAttachments(class Proc& proc);
  void PromptForSubject();
  [[nodiscard]] bool NeedsMailComponent(bool useChilkat) const;
  bool MakeReady(class Proc& proc);
  void ShowResult(bool sent);
  void ShowFailure();

  // vtxEmailEngines.cpp
  [[nodiscard]] ClosedComponentOptions ComponentOptions() const;
  bool cdoSendEmail();
  bool SendBySystemMessage(class Proc& proc);
  bool ckSendEmail();
  bool SendByMailComponent(class Proc& proc);
  [[nodiscard]] bool SendBy(class Proc& proc, bool (vtxEmail::*engine)(class Proc&), TextView failedEntry);
  [[nodiscard]] SmtpServer Server() const;
  // `initial` where the setting is missing, or out of its range, which the debug log then tells.
  [[nodiscard]] std::int32_t NumberSetting(const SettingName& setting, std::int32_t initial, TextView what) const;
  [[nodiscard]] MailMessage Message();
  [[nodiscard]] Text Recipients(TextView addresses);
  void ComposeWith(class Proc& proc, MailComponent& component, TextView refusedText);
  [[nodiscard]] Text FindLogoFile() const;
  void TakeReport(class Proc& proc, MailComponent& component);
  void AppendToArchive(ZipArchive& archive, TextView file);

  MailParts parts_;
  MailOutcome outcome_;
  std::vector<Text> attachments_;
  bool ownsArchive_ = false;  // what lies at ZipFile is of this send
  bool packed_ = false;       // and whole
  Vell_String log_;
  Text failReason_;
  Text lastErrorText_;
  Text lastStatus_;
  Text session_;
  bool showCriticalUserMsgs_ = false;
};

}  // namespace ovs
