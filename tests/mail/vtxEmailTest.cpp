#include "mail/message/vtxEmail.h"

#include <gtest/gtest.h>

#include "mail/engines/LibzipArchive.h"
#include "support/MailTest.h"

namespace ovs {
namespace {

class vtxEmailTest : public MailTest {
 protected:
  vtxEmailTest() { system.environment[u"TMP"] = u"C:\\App"; }
  void Store(TextView lines) { store.LoadString(lines); }
  void StoreComplete() {
    Store(
        u"Email.SMTP.Host=mail\r\nEmail.SMTP.Port=587\r\nEmail.SMTP.Username=user\r\nEmail.SMTP.Password=geheim99\r\n"
        u"Email.From=pc@example.com\r\nEmail.To=tech@example.com");
  }
  vtxEmail New() { return vtxEmail({fileSystem, environment, engines, user, store}); }
};

TEST_F(vtxEmailTest, DefaultsComeFromTheStore) {
  const vtxEmail bare = New();
  EXPECT_EQ(bare.SmtpAutoFix, 1);
  EXPECT_EQ(bare.SmtpAuthMethod, 0);
  EXPECT_FALSE(bare.SendReady());
  EXPECT_FALSE(bare.HasSmtpPassword());
  EXPECT_EQ(bare.EmailBodyTailMsg, u"\r\n\r\nThis message sent by  -  " + environment.AppTitle_VersionForced());

  StoreComplete();
  Store(u"Email.SMTP.AutoFix=0\r\nEmail.SMTP.SSLType=3\r\nEmail.ReplyTo=reply@example.com");
  store.Ensure_Encrypted(u"Email.SMTP.Password");
  const vtxEmail full = New();
  EXPECT_EQ(TextView(full.SmtpPassword), u"geheim99");
  EXPECT_EQ(full.SmtpAuthMethod, 1) << "a stored password without a method means LOGIN";
  EXPECT_EQ(full.SmtpAutoFix, 0);
  EXPECT_EQ(full.SmtpSSLType, 3);
  EXPECT_EQ(full.SmtpPort, 587);
  EXPECT_EQ(full.EmailReplyTo, u"reply@example.com");
  EXPECT_TRUE(full.SendReady());
  EXPECT_TRUE(full.HasSmtpPassword());
  EXPECT_FALSE(full.HasSmtpPassword(true));
  Store(u"Test.Email.SMTP.Password=other");
  EXPECT_TRUE(full.HasSmtpPassword(true));
  Store(u"Email.SMTP.AuthMethod=4");
  EXPECT_EQ(New().SmtpAuthMethodStr(), u"CRAM-MD5");
}

TEST_F(vtxEmailTest, NumbersOutOfTheirRangeCountForNothing) {
  StoreComplete();
  EXPECT_EQ(New().SmtpSSLProtocol, 0);
  const struct {
    TextView value;
    std::int32_t connectSeconds, sendSeconds, sslProtocol;
  } cases[] = {{u"2", 2, 2, 2},          {u"0", 60, 180, 0},    {u"-1", 60, 180, 0}, {u"8", 8, 8, 0},
               {u"3600", 3600, 3600, 0}, {u"3601", 60, 180, 0}, {u"x", 60, 180, 0},  {u"7", 7, 7, 7}};
  for (const auto& each : cases) {
    for (const TextView key : {u"Email.SMTP.ConnectTimeout", u"Email.SMTP.SendTimeout", u"Email.SMTP.SSLProtocol"}) {
      Store(Text(key) + u"=" + Text(each.value));
    }
    EXPECT_TRUE(New().SendEmail());
    const SmtpServer& server = engines.mails.back().server;
    EXPECT_EQ(server.connectSeconds, each.connectSeconds) << ToUtf8(each.value);
    EXPECT_EQ(server.sendSeconds, each.sendSeconds) << ToUtf8(each.value);
    EXPECT_EQ(server.sslProtocol, each.sslProtocol) << ToUtf8(each.value);
  }
  EXPECT_TRUE(Logged(u"Setting [Email.SMTP.SSLProtocol] is not a protocol choice from 0 to 7; 0 is used"));
}

TEST_F(vtxEmailTest, SendReadyAndTheMessageItGives) {
  StoreComplete();
  const std::pair<TextView, std::function<void(vtxEmail&)>> cases[] = {
      {u"SmtpHost", [](vtxEmail& mail) { mail.SmtpHost = u""; }},
      {u"SmtpUsername", [](vtxEmail& mail) { mail.SmtpUsername = u""; }},
      {u"SmtpPassword", [](vtxEmail& mail) { mail.SmtpPassword = u""; }},
      {u"EmailFrom", [](vtxEmail& mail) { mail.EmailFrom = u""; }},
      {u"EmailTo", [](vtxEmail& mail) { mail.EmailTo = u""; }},
  };
  for (const auto& [name, clear] : cases) {
    vtxEmail mail = New();
    clear(mail);
    EXPECT_FALSE(mail.SendReady());
    EXPECT_FALSE(mail.SendEmail());
    EXPECT_EQ(mail.TakeOutcome().reason, u"The mail cannot be sent, a setting is missing: " + Text(name));
    mail.RequireAllSettingsForSend = false;
    EXPECT_EQ(mail.SendReady(), name != u"SmtpHost");
  }
  EXPECT_TRUE(engines.mails.empty());
  EXPECT_TRUE(user.shown.empty()) << "nobody is asked in automatic mode";

  vtxEmail mail = New();
  mail.SmtpHost.clear();
  mail.ShowErrorMsgs = true;
  EXPECT_FALSE(mail.SendEmail());
  EXPECT_TRUE(user.boxes.empty()) << "nor when errors are to be shown";
  environment.SetAutomaticMode(false);
  mail.ShowErrorMsgs = false;
  user.answer = 7;
  EXPECT_FALSE(mail.SendEmail());
  const Text asked =
      u"Orvanta Event Service|You must configure an SMTP server to send email!\r\n\r\nChoose 'Yes' to open the email "
      u"config, "
      u"'No' to start the system default mail client (you must attach any files manually), or 'Cancel' to skip this email.";
  EXPECT_EQ(user.shown, (std::vector<Text>{asked, u"client|tech@example.com"}));
  user.answer = 2;
  EXPECT_FALSE(mail.SendEmail());
  EXPECT_EQ(user.shown.back(), asked);
  user.answer = 6;
  for (const bool edits : {false, true}) {
    user.edit = [edits] { return edits; };
    EXPECT_FALSE(mail.SendEmail()) << "what was edited may lack something still";
    EXPECT_EQ(user.shown.back(), u"Orvanta Event Service|Email configuration incomplete.");
  }
  constexpr std::uint32_t kAsk = 0x10023, kTell = 0x10040;  // Yes, No, Cancel and a question; OK and a remark; in front
  EXPECT_EQ(user.boxes, (std::vector<std::uint32_t>{kAsk, kAsk, kAsk, kTell, kAsk, kTell}));
  user.edit = [&] { return !(mail.SmtpHost = u"mail").empty(); };
  EXPECT_TRUE(mail.SendEmail());
  EXPECT_EQ(mail.TakeOutcome().reason, u"");
}

TEST_F(vtxEmailTest, ShowCriticalUserMsgsIsOffOnlyWhenNobodyCouldWantIt) {
  for (int bits = 0; bits < 16; ++bits) {
    vtxEmail mail = New();
    mail.ShowSuccessMsgs = (bits & 1) != 0;
    mail.ShowErrorMsgs = (bits & 2) != 0;
    environment.SetAutomaticMode((bits & 4) == 0);
    mail.SetShowCriticalUserMsgs((bits & 8) != 0);
    EXPECT_EQ(mail.ShowCriticalUserMsgs(), bits != 0) << bits;
  }
}

TEST_F(vtxEmailTest, WhichEngineSends) {
  StoreComplete();
  struct Case {
    bool asked;
    std::int32_t sslType, method;
    bool html, priority, component;
  };
  constexpr Case kCases[] = {
      {false, 0, 0, false, false, false}, {false, 1, 1, false, false, false}, {false, 1, 2, false, false, false},
      {true, 0, 0, false, false, true},   {false, 2, 0, false, false, true},  {false, 4, 0, false, false, true},
      {false, 0, 3, false, false, true},  {false, 0, 5, false, false, true},  {false, 0, 0, true, false, true},
      {false, 0, 0, false, true, true},
  };
  for (const Case& test : kCases) {
    vtxEmail mail = New();
    mail.SmtpSSLType = test.sslType;
    mail.SmtpAuthMethod = test.method;
    mail.EmailBodyIsHTML = test.html;
    mail.AddPriorityHeader = test.priority;
    EXPECT_TRUE(mail.SendEmail(test.asked));
    EXPECT_EQ(mail.UsedChilkatSendMethod, test.component);
    EXPECT_EQ(engines.mails.back().bySystemMessage, !test.component);
  }
}

TEST_F(vtxEmailTest, TheSystemMessageLogsItsFields) {
  StoreComplete();
  struct Case {
    std::int32_t method;
    bool stored;
    std::int32_t handedOver;
  };
  for (const Case& test : {Case{0, true, 0}, Case{1, true, 1}, Case{2, true, 2}, Case{-1, true, 1}, Case{-1, false, 2}}) {
    if (!test.stored) store.Remove(u"Email.SMTP.Password");
    vtxEmail mail = New();
    mail.SmtpPassword = u"geheim99";
    mail.SmtpAuthMethod = test.method;
    EXPECT_TRUE(mail.SendEmail());
    EXPECT_EQ(engines.mails.back().server.authMethod, test.handedOver);
    const Text full = mail.LogFullText();
    EXPECT_EQ(full.substr(0, full.find(u"\r\nLast Fail")),
              u"Object Setup\r\ncdoSMTPServer.Status=0\r\ncdoSMTPServerPort.Status=1\r\ncdoSMTPAuthenticate.Status=2\r\n"
              u"cdoSMTPUseSSL.Status=3\r\ncdoSendUserName.Status=4\r\ncdoSendPassword.Status=5\r\n"
              u"cdoSMTPConnectionTimeout.Status=6\r\ncdoSendUsingMethod.Status=7\r\nSend Email (cdo)");
  }
  EXPECT_TRUE(Logged(u"cdoSendEmail Result = True"));
}

TEST_F(vtxEmailTest, AutomaticLoginGetsASecondAttempt) {
  StoreComplete();
  engines.report.failReason = u"refused";
  engines.report.session = u"password geheim99 in a transcript";
  engines.report.notes = {u"a recipient was refused: Z2VoZWltOTk="};
  engines.report.steps = {{u"login", false, u"no: geheim99"}};
  for (const std::int32_t method : {3, 5}) {
    engines.results = {false, true};
    vtxEmail mail = New();
    mail.SmtpAuthMethod = method;
    EXPECT_EQ(mail.SendEmail(), method == 5);
    EXPECT_EQ(engines.mails.back().attempts, method == 5 ? (std::vector<Text>{u"", u"LOGIN"}) : std::vector<Text>{u"PLAIN"});
    EXPECT_EQ(mail.LogFullText(),
              u"a recipient was refused: ***\r\nLast Fail Reason [refused]\r\nSession [password *** in a transcript]\r\n"
              u"Last Error []\r\nLast Status []");
    EXPECT_TRUE(Logged(u"a recipient was refused: ***"));
    EXPECT_EQ(mail.TakeOutcome().report.steps.front().detail, u"no: ***");
    mail.ClearLogText();
    EXPECT_EQ(mail.LogFullText() + mail.LogSmtpFailReason() + mail.LogSmtpSession(), u"");
    EXPECT_FALSE(mail.UsedChilkatSendMethod);
  }
}

TEST_F(vtxEmailTest, AFailureIsToldInTheSameWordsHoweverItCame) {
  StoreComplete();
  engines.report.failReason = u"the component broke";
  engines.report.lastErrorText = u"details";
  engines.report.lastStatus = u"535";
  const Text engineNames[] = {u"cdoSendEmail", u"ckSendEmail"};
  for (const bool byComponent : {false, true}) {
    for (const int raises : {0, 1, 2}) {
      engines.results = {false};
      engines.throwOnCompose = raises == 1;
      engines.throwOnSend = raises == 2;
      vtxEmail mail = New();
      log.clear();
      EXPECT_FALSE(mail.SendEmail(byComponent));
      const Text& name = engineNames[byComponent ? 1 : 0];
      EXPECT_NE(log.find(name + u" Failure!"), Text::npos) << ToUtf8(log);
      EXPECT_NE(log.find(u"SmtpFailReason=the component broke"), Text::npos) << ToUtf8(log);
      EXPECT_TRUE(Logged(name + u" Result = False"));
      EXPECT_EQ(mail.LogSmtpFailReason(), u"the component broke");
      EXPECT_EQ(mail.TakeOutcome().reason, u"the component broke");
      mail.ClearLogText();
      EXPECT_EQ(mail.LogSmtpFailReason() + mail.LogSmtpLastErrorText() + mail.LogSmtpLastStatus(), u"");
    }
  }
}

TEST_F(vtxEmailTest, WhatTheEngineGets) {
  StoreComplete();
  Store(
      u"Email.SMTP.CAFile=C:\\ca.pem\r\nEmail.SMTP.AllowUntrusted=1\r\n"
      u"Debug.Chilkat.WriteLogFiles=1\r\nDebug.Chilkat.Verbose=1\r\nEmail.Chilkat.UnlockCode=code");
  Put(u"C:\\App\\a.txt");
  Put(u"C:\\App\\Config\\Logo.gif");
  vtxEmail mail = New();
  mail.EmailSubject = u"s\r\nBcc: x";
  mail.EmailBody = u"body";
  mail.EmailBodyIsHTML = true;
  mail.AddPriorityHeader = true;
  mail.EmailTo = u"\"A\" <a@x>, two@x\r\nRCPT TO:<evil@x>, b@x";
  mail.EmailCC = u"c@x";
  mail.EmailBCC = u"b@x";
  mail.AddFileAttachment(u"C:\\App\\a.txt");
  mail.AddFileAttachment(u"C:\\App\\missing.txt");
  mail.AddFileAttachment({});
  EXPECT_TRUE(mail.SendEmail());
  const auto& [bySystem, server, message, attempts] = engines.mails.back();
  EXPECT_EQ(engines.options.back().unlockCode, u"code");
  EXPECT_TRUE(engines.options.back().verboseLogging);
  EXPECT_EQ(server.caFile, u"C:\\ca.pem");
  EXPECT_TRUE(server.allowUntrusted);
  EXPECT_TRUE(engines.options.back().mailManDebugLog.ends_with(u"ckMailMan_Debug(4711).log"));
  EXPECT_TRUE(engines.options.back().emailDebugLog.ends_with(u"ckEmail_Debug(4711).log"));
  EXPECT_EQ(message.subject, u"s  Bcc: x");
  EXPECT_EQ(message.body, u"body" + mail.EmailBodyTailMsg);
  EXPECT_EQ(message.logoFile, u"C:\\App\\Config\\Logo.gif");
  EXPECT_TRUE(message.addPriorityHeader);
  EXPECT_EQ(message.to, u"\"A\" <a@x>, b@x");
  EXPECT_TRUE(LoggedIn(log, u"Recipient left out, it is no mail address: [two@x  RCPT TO:<evil@x>]"));
  EXPECT_EQ(message.cc + message.bcc, u"c@xb@x");
  EXPECT_EQ(message.attachments, std::vector<Text>{u"C:\\App\\a.txt"});
  EXPECT_TRUE(Logged(u"Added logo file:  C:\\App\\Config\\Logo.gif"));

  engines.refuseLogo = true;
  mail.SendEmail();
  EXPECT_TRUE(Logged(u"Chilkat failed to add logo file:  C:\\App\\Config\\Logo.gif"));
  memory.Delete(u"C:\\App\\Config\\Logo.gif").Ignore();
  mail.SendEmail();
  EXPECT_TRUE(Logged(u"Failed to find a logo file!"));
  mail.EmailBodyIncludeLogoFile = false;
  mail.SendEmail();
  EXPECT_TRUE(Logged(u"HTML email is not flagged to add logo file."));
}

TEST_F(vtxEmailTest, BodyFileAndArchive) {
  StoreComplete();
  vtxEmail mail = New();
  mail.EmailBodyIsFile = true;
  mail.EmailBody = u"C:\\App\\body.txt";
  EXPECT_FALSE(mail.SendEmail());
  EXPECT_EQ(mail.LogFullText(), u"C:\\App\\body.txt");
  Put(u"C:\\App\\body.txt", "from the file");
  mail.EmailBodyAppendTailMsg = false;
  EXPECT_TRUE(mail.SendEmail());
  EXPECT_EQ(engines.mails.back().message.body, u"from the file");

  engines.newZip = [&] { return std::make_unique<LibzipArchive>(files); };
  vtxEmail zipped = New();
  zipped.ZipAttachments = true;
  zipped.ZipFileName = u"..\\..\\Report";
  EXPECT_TRUE(zipped.SendEmail());
  EXPECT_TRUE(engines.mails.back().message.attachments.empty()) << "no files, no archive";
  zipped.AddFileAttachmentsFromPath(u"C:\\App", u"*.txt");
  zipped.AddFileAttachmentsFromPath(u"C:\\Nowhere");
  EXPECT_TRUE(Logged(u"The folder of files to attach does not exist: C:\\Nowhere"));
  zipped.AddFileAttachmentsFromPath(u"C:\\App", u"*.none");
  EXPECT_TRUE(Logged(u"The folder holds no files to attach: C:\\App"));
  EXPECT_TRUE(zipped.SendEmail());
  EXPECT_EQ(engines.mails.back().message.attachments, std::vector<Text>{u"C:\\App\\Report.zip"});
  EXPECT_FALSE(Exists(u"C:\\App\\Report.zip")) << "removed after the send";
  EXPECT_NE(zipped.LogFullText().find(u"File=C:\\App\\body.txt"), Text::npos);
  EXPECT_FALSE(zipped.ckZipFileCollection({}, u"C:\\App\\x.zip"));
  EXPECT_TRUE(zipped.ckZipFileCollection({u"C:\\App\\gone", u"C:\\App\\body.txt", u"C:\\App\\body.txt"}, u"C:\\App\\x.zip"));
  EXPECT_NE(zipped.LogFullText().find(u"File Skipped (Does Not Exist):   C:\\App\\gone"), Text::npos);
  EXPECT_NE(Content(u"C:\\App\\x.zip").find("body (2).txt"), std::string::npos);
  files.FailPath(u"Report.zip", SystemError::kDiskFull);
  EXPECT_TRUE(zipped.SendEmail()) << "without its attachments rather than not at all";
  EXPECT_TRUE(Logged(u"Failed to zip attachments!"));
}

// An archive that can be told what to do.
class ScriptedZip final : public ZipArchive {
 public:
  explicit ScriptedZip(std::function<bool(TextView step, TextView path)> step) : step_(std::move(step)) {}
  bool Create(TextView path) override { return step_(u"create", path_ = path); }
  bool AppendFile(TextView path) override { return step_(u"append", path); }
  bool Write() override { return step_(u"write", path_); }
  Text LastErrorText() override { return u"no room"; }

 private:
  std::function<bool(TextView, TextView)> step_;
  Text path_;
};

TEST_F(vtxEmailTest, OnlyTheArchiveOfThisSendIsAttachedAndDeleted) {
  StoreComplete();
  Put(u"C:\\App\\a.txt", "a");
  const struct {
    TextView title, failing;  // the step of the packing that fails
    bool packs = true;        // there is a file to pack
    bool locked = false;      // what lies at the path cannot be deleted
    bool isAttached = false, stays = false;
    TextView logged = {};
  } cases[] = {{u"all well", u"", true, false, true, false, u"File=C:\\App\\a.txt"},
               {u"nothing to pack", u"", false, false, false, true},
               {u"no archive can be begun", u"create", true, false, false, false, u"CreateZipError=no room"},
               {u"none can be written", u"write", true, false, false, false, u"ZipError=no room"},
               {u"the old one cannot be deleted", u"create", true, true, false, true},
               {u"but be written over", u"", true, true, true, true}};
  for (const auto& each : cases) {
    Put(u"C:\\App\\Attachment.zip", "old");
    engines.newZip = [&] {
      return std::make_unique<ScriptedZip>([&](TextView step, TextView path) {
        EXPECT_TRUE(step != u"create" || Exists(path) == each.locked) << ToUtf8(each.title);
        if (step == u"write") Put(path, "new");
        return step != each.failing;
      });
    };
    vtxEmail mail = New();
    mail.ZipAttachments = true;
    if (each.packs) mail.AddFileAttachment(u"C:\\App\\a.txt");
    if (!each.packs) mail.ZipFile = u"C:\\App\\Attachment.zip";
    files.refuseDeletes = each.locked;
    EXPECT_TRUE(mail.SendEmail());
    files.refuseDeletes = false;
    const std::vector<Text> expected(each.isAttached ? 1 : 0, Text(u"C:\\App\\Attachment.zip"));
    EXPECT_EQ(engines.mails.back().message.attachments, expected) << ToUtf8(each.title);
    EXPECT_EQ(Exists(u"C:\\App\\Attachment.zip"), each.stays) << ToUtf8(each.title);
    EXPECT_NE(mail.LogFullText().find(each.logged), Text::npos) << ToUtf8(mail.LogFullText());
  }
}

TEST_F(vtxEmailTest, WhatTheUserIsShown) {
  StoreComplete();
  Store(u"Email.PromptForSubject=1");
  engines.report.failReason = u"no route";
  for (const bool automatic : {true, false}) {
    environment.SetAutomaticMode(automatic);
    user.shown.clear();
    user.boxes.clear();
    user.input = u"typed";
    user.answer = 6;
    engines.results = {true, false};
    vtxEmail mail = New();
    mail.EmailSubject = u"given";
    mail.ShowSuccessMsgs = mail.ShowErrorMsgs = true;
    EXPECT_TRUE(mail.SendEmail(true));
    EXPECT_EQ(engines.mails.back().message.subject, automatic ? u"given" : u"typed");
    user.input = u"";
    EXPECT_FALSE(mail.SendEmail(true));
    EXPECT_EQ(engines.mails.back().message.subject, automatic ? u"given" : u"typed") << "an empty reply changes nothing";
    if (automatic) {
      EXPECT_EQ(user.shown, (std::vector<Text>{u"notice|Email Sent!", u"notice|Failed to send email!"}));
      continue;
    }
    ASSERT_EQ(user.shown.size(), 5u);
    EXPECT_EQ(user.shown[0], u"Email Subject|Modify Subject Line|given");
    EXPECT_EQ(user.shown[1], u"Orvanta Event Service|Email Sent!");
    EXPECT_EQ(user.shown[3],
              u"Fail result:|Failed to send test email, please check your settings.\r\n\r\n"
              u"Fail Reason:  no route\r\n\r\nView detailed log?");
    EXPECT_EQ(user.shown[4], u"log|Fail result:|" + mail.LogFullText());
    EXPECT_EQ(user.boxes, (std::vector<std::uint32_t>{0x10040, 0x10014})) << "OK; Yes and No, with a stop sign";
  }
}

}  // namespace
}  // namespace ovs
