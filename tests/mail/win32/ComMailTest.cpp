// What the closed mail components are asked for, field by field and in order, and what becomes of their answers.
#include <gtest/gtest.h>

#include "ComStandIn.h"
#include "base/RuntimeError.h"
#include "mail/engines/win32/ComMail.h"
#include "mail/engines/win32/ckZip.h"
#include "support/MailTest.h"

namespace ovs {
namespace {

using standin::Raise;

constexpr auto kFail = static_cast<std::int32_t>(0x80004005);
constexpr auto kNotConnected = static_cast<std::int32_t>(0x80040213);
constexpr auto kRejected = static_cast<std::int32_t>(0x80040217);

SmtpServer NewServer() {
  SmtpServer server;
  server.host = u"mail";
  server.port = 2525;
  server.username = u"user";
  server.password = u"geheim99";
  server.loginDomain = u"CORP";
  server.sslType = 3;
  server.sslProtocol = 2;
  server.authMethod = 5;
  return server;
}

MailMessage PlainMessage() {
  MailMessage message;
  message.from = u"\"PC\" <pc@example.com>";
  message.replyTo = u"reply@example.com";
  message.to = u"\"Jane Doe\" <jane@example.com>, bad address,joe@example.com";
  message.cc = u"cc@example.com";
  message.bcc = u"bcc@example.com";
  message.subject = u"Größe";
  message.body = Text(u"a\0b", 3);
  message.attachments = {u"C:\\a.txt", u"C:\\b.txt"};
  return message;
}

MailMessage HtmlMessage() {
  MailMessage message;
  message.to = u"a@example.com";
  message.body = u"<img src=\"cid:My Logo.png\">";
  message.isHtml = true;
  message.logoFile = u"C:\\My Logo.png";
  return message;
}

class ComMailTest : public MailTest {
 protected:
  ComMailTest() { com.RegisterMailComponents(); }

  standin::ComStandIn com;
  SmtpServer server = NewServer();
  ClosedComponentOptions options{.unlockCode = u"code", .mailManDebugLog = {}, .emailDebugLog = {}};
};

TEST_F(ComMailTest, ChilkatIsAskedForEveryFieldInOrder) {
  options.verboseLogging = true;
  options.mailManDebugLog = u"C:\\m.log";
  options.emailDebugLog = u"C:\\e.log";
  MailMessage message = PlainMessage();
  message.addPriorityHeader = true;
  com.answers[u"MailMan.SendEmail"] = {0, 1};
  com.answers[u"Email.AddBcc"] = {0};
  ChilkatMailer mailer(clock, options);
  EXPECT_EQ(mailer.Configure(server), std::vector<std::int32_t>(8, 0));
  EXPECT_TRUE(mailer.Compose(message));
  EXPECT_FALSE(mailer.Send());
  clock.Advance(130'000);
  mailer.SetAuthMethod(kAuthLogin);
  EXPECT_TRUE(mailer.Send());
  clock.Advance(50'000);
  EXPECT_FALSE(mailer.Send());
  EXPECT_EQ(com.TakeJournal(),
            "MailMan.UnlockComponent('code'); MailMan.VerboseLogging=1; MailMan.DebugLogFilePath='C:\\m.log'; "
            "Email.DebugLogFilePath='C:\\e.log'; MailMan.SmtpHost='mail'; MailMan.SmtpPort=2525; "
            "MailMan.SmtpUsername='user'; MailMan.SmtpPassword='geheim99'; MailMan.SmtpLoginDomain='CORP'; "
            "MailMan.SmtpSsl=0; MailMan.StartTLS=0; MailMan.StartTLSifPossible=1; MailMan.SslProtocol='TLS 1.2 or higher'; "
            "MailMan.SmtpAuthMethod=''; MailMan.AutoFix=1; MailMan.ConnectTimeout=60; MailMan.ReadTimeout=120; "
            "MailMan.RequireSslCertVerify=1; Email.From='\"PC\" <pc@example.com>'; Email.ReplyTo='reply@example.com'; "
            "Email.AddTo('Jane Doe', 'jane@example.com'); Email.AddTo('', 'joe@example.com'); "
            "Email.AddCC('', 'cc@example.com'); Email.AddBcc('', 'bcc@example.com'); Email.Subject='Größe'; "
            "Email.Body='a b'; Email.AddFileAttachment('C:\\a.txt'); Email.AddFileAttachment('C:\\b.txt'); "
            "Email.AddHeaderField('X-Priority', '1'); MailMan.SendEmail((object)); MailMan.SmtpAuthMethod='LOGIN'; "
            "MailMan.ConnectTimeout=50; MailMan.ReadTimeout=1; MailMan.SendEmail((object)); ");
  const MailReport report = mailer.Report();
  EXPECT_EQ(report.failReason, u"The time for this mail is used up");
  EXPECT_EQ(report.notes,
            (std::vector<Text>{u"Recipient left out, it is no mail address: [bad address]",
                               u"Recipient left out, it is no mail address: [bcc@example.com]", Text(kPasswordInClear)}));
}

TEST_F(ComMailTest, ChilkatsKindsOfTls) {
  struct {
    std::int32_t type;
    std::int32_t port;
    const char* expected;
  } const cases[] = {{0, 25, "MailMan.SmtpSsl=0; MailMan.StartTLS=0; MailMan.StartTLSifPossible=1; "},
                     {1, 25, "MailMan.SmtpSsl=1; MailMan.StartTLS=0; MailMan.StartTLSifPossible=0; "},
                     {2, 465, "MailMan.SmtpSsl=0; MailMan.StartTLS=1; MailMan.StartTLSifPossible=0; "},
                     {4, 465, "MailMan.SmtpSsl=1; MailMan.StartTLS=0; MailMan.StartTLSifPossible=0; "},
                     {4, 587, "MailMan.SmtpSsl=0; MailMan.StartTLS=1; MailMan.StartTLSifPossible=0; "}};
  for (const auto& each : cases) {
    server.sslType = each.type;
    server.port = each.port;
    server.allowUntrusted = each.type == 0;
    ChilkatMailer(clock, options).Configure(server);
    const std::string journal = com.TakeJournal();
    EXPECT_NE(journal.find(each.expected), std::string::npos) << each.type << " " << each.port << journal;
    EXPECT_TRUE(journal.ends_with(each.type == 0 ? "Verify=0; " : "Verify=1; ")) << journal;
  }
}

TEST_F(ComMailTest, ChilkatsHtmlAndWhatItRefuses) {
  for (const bool added : {true, false}) {
    com.answers[u"Email.AddRelatedFile"] = {added ? Text(u"17") : Text()};
    ChilkatMailer mailer(clock, options);
    EXPECT_EQ(mailer.Compose(HtmlMessage()), added);
    const std::string html = added ? "<img src=\"cid:17\">" : "<img src=\"cid:My Logo.png\">";
    EXPECT_TRUE(com.TakeJournal().ends_with("Email.AddRelatedFile('C:\\My Logo.png'); Email.SetHtmlBody('" + html + "'); "));
  }
}

// As natively, where the files themselves are asked.
TEST_F(ComMailTest, AnAttachmentThatIsGoneIsNotedAndTheOthersGo) {
  com.answers[u"Email.AddFileAttachment"] = {Text(), Text(u"text/plain")};
  com.answers[u"Message.AddAttachment"] = {Raise{kFail, u"no such file\r\n"}, 1};
  MailMessage message;
  message.attachments = {u"C:\\gone.txt", u"C:\\b.txt"};
  ChilkatMailer chilkat(clock, options);
  CdoMailer cdo;
  for (MailComponent* const mailer : std::initializer_list<MailComponent*>{&chilkat, &cdo}) {
    mailer->Compose(message);
    EXPECT_TRUE(mailer->Send());
    const std::string journal = com.TakeJournal();
    EXPECT_NE(journal.find("Attachment('C:\\b.txt')"), std::string::npos) << journal;
    const std::vector<Text> notes = mailer->Report().notes;
    ASSERT_FALSE(notes.empty());
    EXPECT_TRUE(notes[0].starts_with(u"Left out of the mail, it cannot be read: [C:\\gone.txt] ")) << ToUtf8(notes[0]);
  }
}

TEST_F(ComMailTest, MembersThatABuildOfChilkatLacks) {
  for (const TextView each : {u"StartTLSifPossible", u"ReadTimeout", u"RequireSslCertVerify"}) {
    com.missing = {u"MailMan." + Text(each)};
    ChilkatMailer(clock, options).Configure(server);
    EXPECT_TRUE(Logged(u"This build of the mail component has no " + Text(each))) << ToUtf8(each);
  }
  com.missing = {u"MailMan.StartTLS"};
  EXPECT_THROW(ChilkatMailer(clock, options).Configure(server), RuntimeError);
  com.missing = {u"MailMan.SmtpFailReason"};
  ChilkatMailer mailer(clock, options);
  EXPECT_EQ(mailer.Report().failReason, u"") << "a report never fails";
}

TEST_F(ComMailTest, ChilkatsReportHoldsNoSecret) {
  com.answers[u"MailMan.SendEmail"] = {0, Raise{kFail, u"broken\r\n"}};
  com.answers[u"MailMan.SmtpFailReason"] = {Text(u"AuthFailure")};
  com.answers[u"MailMan.LastSmtpStatus"] = {535};
  com.answers[u"MailMan.SmtpSessionLog"] = {Text(u"AUTH LOGIN\r\n334 VXNlcg==\r\nZ2VoZWltOTk=\r\n535 no\r\n")};
  com.answers[u"MailMan.LastErrorText"] = {Text(u"  SmtpCmdSent: AUTH PLAIN Z2VoZWltOTk=\r\n  SmtpCmdResp: 535 no\r\n")};
  ChilkatMailer mailer(clock, options);
  mailer.Configure(server);
  EXPECT_FALSE(mailer.Send());
  MailReport report = mailer.Report();
  EXPECT_EQ(report.failReason, u"AuthFailure");
  EXPECT_EQ(report.lastStatus, u"535");
  EXPECT_NE(report.session.find(u"535 no"), Text::npos);
  EXPECT_NE(report.lastErrorText.find(u"535 no"), Text::npos);
  EXPECT_EQ((report.session + report.lastErrorText).find(u"Z2Vo"), Text::npos);
  EXPECT_FALSE(mailer.Send());
  report = mailer.Report();
  EXPECT_EQ(report.failReason, u"SendEmail failed: 0x80004005 broken");
}

TEST_F(ComMailTest, ChilkatsNotesOnSecurity) {
  const Text ehlo = u"220 hi\r\nEHLO pc\r\n250-STARTTLS\r\n250 AUTH LOGIN CRAM-MD5\r\n";
  struct {
    std::int32_t type;
    std::int32_t port;
    std::int32_t authMethod;
    int sent;
    Text session;
    bool inClear;
  } const cases[] = {{0, 25, 1, 1, ehlo + u"AUTH LOGIN\r\n", true},
                     {0, 25, 5, 0, ehlo + u"auth plain eA==\r\n", true},
                     {3, 25, 1, 1, ehlo + u"AUTH LOGIN\r\n", true},
                     {0, 25, 1, 1, u"", true},
                     {0, 25, 1, 0, u"", false},
                     {0, 25, 0, 1, u"", false},
                     {0, 25, 5, 1, ehlo + u"AUTH CRAM-MD5\r\n334 x\r\n", false},
                     {0, 25, 5, 1, ehlo + u"AUTH CRAM-MD5\r\n334 x\r\ny\r\n535 no\r\nAUTH LOGIN\r\n", true},
                     {0, 25, 1, 1, ehlo + u"STARTTLS\r\n220 go\r\nAUTH LOGIN\r\n", false},
                     {0, 465, 1, 1, ehlo + u"AUTH LOGIN\r\n", false},
                     {2, 25, 1, 1, ehlo + u"AUTH LOGIN\r\n", false}};
  for (const auto& each : cases) {
    server.sslType = each.type;
    server.port = each.port;
    server.authMethod = each.authMethod;
    com.answers[u"MailMan.SendEmail"] = {each.sent};
    com.answers[u"MailMan.SmtpSessionLog"] = {each.session};
    ChilkatMailer mailer(clock, options);
    mailer.Configure(server);
    EXPECT_EQ(mailer.Send(), each.sent != 0);
    const std::vector<Text> expected(each.inClear ? 1 : 0, Text(kPasswordInClear));
    EXPECT_EQ(mailer.Report().notes, expected) << &each - cases;
  }
  server.allowUntrusted = true;
  server.caFile = u"C:\\ca.pem";
  ChilkatMailer mailer(clock, options);
  mailer.Configure(server);
  const std::vector<Text> notes = mailer.Report().notes;
  ASSERT_EQ(notes.size(), 2u);
  EXPECT_EQ(notes[0], u"Certificate and host name of the mail server were not verified.");
  EXPECT_NE(notes[1].find(u"Email.SMTP.CAFile"), Text::npos);
}

TEST_F(ComMailTest, CdoIsAskedForEveryFieldInOrder) {
  server.sslType = 1;
  server.authMethod = 1;
  com.answers[u"sendusername.Status"] = {3};
  CdoMailer mailer;
  EXPECT_EQ(mailer.Configure(server), (std::vector<std::int32_t>{0, 0, 0, 0, 3, 0, 0, 0}));
  EXPECT_TRUE(mailer.Compose(PlainMessage()));
  EXPECT_TRUE(mailer.Send());
  EXPECT_EQ(com.TakeJournal(),
            "smtpserver.Value='mail'; smtpserverport.Value=2525; smtpauthenticate.Value=1; smtpusessl.Value=True; "
            "sendusername.Value='user'; sendpassword.Value='geheim99'; smtpconnectiontimeout.Value=60; sendusing.Value=2; "
            "Fields.Update(); smtpserver.Status; smtpserverport.Status; smtpauthenticate.Status; smtpusessl.Status; "
            "sendusername.Status; sendpassword.Status; smtpconnectiontimeout.Status; sendusing.Status; "
            "BodyPart.Charset='utf-8'; Message.To='\"Jane Doe\" <jane@example.com>, bad address,joe@example.com'; "
            "Message.From='\"PC\" <pc@example.com>'; Message.ReplyTo='reply@example.com'; Message.Subject='Größe'; "
            "Message.CC='cc@example.com'; Message.BCC='bcc@example.com'; Message.TextBody='a b'; "
            "TextBodyPart.Charset='utf-8'; Message.AddAttachment('C:\\a.txt'); Message.AddAttachment('C:\\b.txt'); "
            "Message.Send(); ");
  EXPECT_EQ(mailer.Report().notes, std::vector<Text>());
}

TEST_F(ComMailTest, CdoTakesTheKindOfTlsLiterallyAndKnowsNoStarttls) {
  const CdoMailer cdo;
  const ChilkatMailer chilkat(clock, options);
  for (const std::int32_t port : {25, 465, 587}) {
    for (const std::int32_t type : {0, 1}) {
      server.port = port;
      server.sslType = type;
      EXPECT_EQ(cdo.Plan(server), (SmtpPlan{type == 1, StartTls::Never})) << port << " " << type;
      EXPECT_EQ(chilkat.Plan(server), PlanConnection(server)) << port << " " << type;
    }
  }
}

TEST_F(ComMailTest, CdoWithoutTlsWithHtmlAndWithAnotherMethod) {
  server.sslType = 0;
  for (const bool added : {true, false}) {
    if (!added) com.answers[u"Message.AddRelatedBodyPart"] = {Raise{kFail, u"no such file\r\n"}};
    CdoMailer mailer;
    EXPECT_EQ(mailer.Configure(server), std::vector<std::int32_t>(8, 0));
    EXPECT_EQ(com.TakeJournal().find("smtpusessl"), std::string::npos);
    EXPECT_EQ(mailer.Compose(HtmlMessage()), added);
    mailer.SetAuthMethod(kAuthNtlm);
    mailer.SetAuthMethod(kAuthNone);
    EXPECT_EQ(com.TakeJournal(),
              "BodyPart.Charset='utf-8'; Message.To='a@example.com'; Message.From=''; Message.ReplyTo=''; "
              "Message.Subject=''; Message.HTMLBody='<img src=\"cid:My Logo.png\">'; HTMLBodyPart.Charset='utf-8'; "
              "Message.AddRelatedBodyPart('C:\\My Logo.png', 'My Logo.png', 0); smtpauthenticate.Value=2; Fields.Update(); "
              "smtpauthenticate.Value=0; Fields.Update(); ");
  }
  EXPECT_TRUE(Logged(u"AddRelatedBodyPart failed: 0x80004005 no such file"));
}

TEST_F(ComMailTest, WhatCdoRaisesAndWhetherThePasswordWasSent) {
  struct {
    std::int32_t authMethod;
    std::int32_t code;
    bool inClear;
  } const cases[] = {{1, 0, true}, {1, kRejected, true}, {1, kNotConnected, false}, {0, 0, false}, {2, 0, false}};
  server.sslType = 0;
  for (const auto& each : cases) {
    server.authMethod = each.authMethod;
    const bool raises = each.code != 0;
    com.answers[u"Message.Send"] = {raises ? standin::Answer(Raise{each.code, u"The server said no.\r\n"})
                                           : standin::Answer(1)};
    CdoMailer mailer;
    mailer.Configure(server);
    EXPECT_EQ(mailer.Send(), !raises);
    const MailReport report = mailer.Report();
    EXPECT_EQ(report.failReason.ends_with(u"The server said no."), raises);
    EXPECT_EQ(report.lastErrorText, report.failReason);
    EXPECT_EQ(report.notes, std::vector<Text>(each.inClear ? 1 : 0, Text(kPasswordInClear)))
        << each.authMethod << " " << each.code;
  }
  server.sslType = 1;
  server.allowUntrusted = true;
  CdoMailer mailer;
  mailer.Configure(server);
  ASSERT_EQ(mailer.Report().notes.size(), 1u);
  EXPECT_NE(mailer.Report().notes[0].find(u"no effect on CDO.Message"), Text::npos);
}

TEST_F(ComMailTest, Zip) {
  com.answers[u"Zip.LastErrorText"] = {Text(u"disk full")};
  com.answers[u"Zip.AppendOneFileOrDir"] = {1, 0, Raise{kFail, u"broken"}};
  com.answers[u"Zip.WriteZipAndClose"] = {0, 1};
  ckZip zip(u"code");
  EXPECT_TRUE(zip.Create(u"C:\\a.zip"));
  EXPECT_TRUE(zip.AppendFile(u"C:\\größe.txt"));
  EXPECT_FALSE(zip.AppendFile(u"C:\\b.txt"));
  EXPECT_EQ(zip.LastErrorText(), u"disk full");
  EXPECT_FALSE(zip.AppendFile(u"C:\\c.txt"));
  EXPECT_EQ(zip.LastErrorText(), u"AppendOneFileOrDir failed: 0x80004005 broken");
  EXPECT_FALSE(zip.Write());
  EXPECT_EQ(zip.LastErrorText(), u"disk full");
  EXPECT_TRUE(zip.Write());
  EXPECT_EQ(com.TakeJournal(),
            "Zip.UnlockComponent('code'); Zip.NewZip('C:\\a.zip'); Zip.AppendOneFileOrDir('C:\\größe.txt', 0); "
            "Zip.AppendOneFileOrDir('C:\\b.txt', 0); Zip.AppendOneFileOrDir('C:\\c.txt', 0); Zip.WriteZipAndClose(); "
            "Zip.WriteZipAndClose(); ");
}

}  // namespace
}  // namespace ovs
