// Which component serves, and a mail all the way from the message object to it.
#include <gtest/gtest.h>

#include "ComStandIn.h"
#include "mail/engines/os/TlsFacts.h"
#include "mail/engines/win32/ComMail.h"
#include "mail/message/vtxEmail.h"
#include "support/MailTest.h"

namespace ovs {
namespace {

using standin::Raise;

constexpr auto kNotImplemented = static_cast<std::int32_t>(0x80004001);
constexpr TextView kBuiltIn = u"built-in engine";

class Win32MailEnginesTest : public MailTest {
 protected:
  // True when the closed component made the archive.
  bool ZipIsChilkats() {
    com.TakeJournal();
    const std::unique_ptr<ZipArchive> zip = machines->NewZip(u"code");
    zip->Create(u"C:\\a.zip");
    return com.TakeJournal().ends_with("Zip.NewZip('C:\\a.zip'); ");
  }

  const ClosedComponentOptions options{.unlockCode = u"code", .mailManDebugLog = {}, .emailDebugLog = {}};
  standin::ComStandIn com;
  std::unique_ptr<MailEngines> machines = SystemMailEngines(Machine());
};

TEST_F(Win32MailEnginesTest, NothingRegistered) {
  if (win32::AutomationObject::IsRegistered(ChilkatMailer::kProgId)) GTEST_SKIP() << "this machine has the real component";
  machines->Start();
  EXPECT_TRUE(LoggedIn(u"\r\n" + log, u"Mail engines: built-in engine; system message object ")) << ToUtf8(log);
  log.clear();
  EXPECT_EQ(machines->NewComponent(options)->Name(), kBuiltIn);
  EXPECT_FALSE(ZipIsChilkats());
  EXPECT_EQ(log, u"") << "what is not there needs no explanation";
}

TEST_F(Win32MailEnginesTest, AllRegistered) {
  com.RegisterMailComponents();
  machines->Start();
  EXPECT_TRUE(Logged(u"Mail engines: Chilkat_9_5_0.MailMan; system message object CDO.Message; archives Chilkat_9_5_0.Zip"));
  EXPECT_EQ(machines->NewComponent(options)->Name(), ChilkatMailer::kProgId);
  EXPECT_EQ(machines->NewSystemMessage()->Name(), CdoMailer::kProgId);
  EXPECT_TRUE(ZipIsChilkats());
}

TEST_F(Win32MailEnginesTest, ComponentsThatCannotServeAreReportedOnce) {
  com.RegisterMailComponents();
  com.answers[u"MailMan.UnlockComponent"] = com.answers[u"Zip.UnlockComponent"] = {0};
  com.answers[u"Message.Configuration"] = {Raise{kNotImplemented, u"not here"}};
  for (const bool first : {true, false}) {
    EXPECT_EQ(machines->NewComponent(options)->Name(), kBuiltIn);
    EXPECT_EQ(Logged(u"Chilkat_9_5_0.MailMan cannot serve, the built-in engine does: Chilkat_9_5_0.MailMan refused"), first);
    EXPECT_EQ(machines->NewSystemMessage()->Name(), kBuiltIn);
    EXPECT_EQ(Logged(u"CDO.Message cannot serve, the built-in engine does: Configuration failed: 0x80004001 not here"),
              first);
    EXPECT_FALSE(ZipIsChilkats());
    EXPECT_EQ(Logged(u"Chilkat_9_5_0.Zip cannot serve, the built-in engine does: Chilkat_9_5_0.Zip refused"), first);
  }
  com.answers.clear();
  EXPECT_EQ(machines->NewComponent(options)->Name(), ChilkatMailer::kProgId) << "a component may be mended";
  com.answers[u"MailMan.UnlockComponent"] = {0};
  EXPECT_EQ(machines->NewComponent(options)->Name(), kBuiltIn);
  EXPECT_TRUE(Logged(u"Chilkat_9_5_0.MailMan cannot serve")) << "and break again";
}

TEST_F(Win32MailEnginesTest, ComponentsThatCannotBeMade) {
  com.Register(ChilkatMailer::kProgId);    // but not its other class
  com.Register(CdoMailer::kProgId, true);  // has a name, but no server for this process
  EXPECT_EQ(machines->NewComponent(options)->Name(), kBuiltIn);
  EXPECT_TRUE(
      Logged(u"Chilkat_9_5_0.MailMan cannot serve, the built-in engine does: CreateObject Chilkat_9_5_0.Email failed"));
  EXPECT_EQ(machines->NewSystemMessage()->Name(), kBuiltIn);
  EXPECT_FALSE(Logged(u"CDO.Message"));
}

TEST_F(Win32MailEnginesTest, AMailThroughTheMessageObject) {
  com.RegisterMailComponents();
  store.LoadString(
      u"Email.SMTP.Host=mail\r\nEmail.SMTP.Port=25\r\nEmail.SMTP.Username=user\r\nEmail.SMTP.Password=geheim99\r\n"
      u"Email.From=pc@example.com\r\nEmail.To=a@example.com,b@example.com\r\nEmail.Chilkat.UnlockCode=code");

  vtxEmail automatic({fileSystem, environment, *machines, user, store});
  automatic.SmtpAuthMethod = 5;
  automatic.AddPriorityHeader = true;
  com.answers[u"MailMan.SendEmail"] = {0};
  com.answers[u"MailMan.SmtpFailReason"] = {Text(u"AuthFailure")};
  EXPECT_FALSE(automatic.SendEmail());
  EXPECT_EQ(automatic.LogSmtpFailReason(), u"AuthFailure");
  std::string journal = com.TakeJournal();
  EXPECT_TRUE(journal.starts_with("MailMan.UnlockComponent('code'); "));
  EXPECT_TRUE(
      journal.ends_with("Email.AddHeaderField('X-Priority', '1'); MailMan.SendEmail((object)); "
                        "MailMan.SmtpAuthMethod='LOGIN'; MailMan.SendEmail((object)); "));

  vtxEmail plain({fileSystem, environment, *machines, user, store});
  EXPECT_TRUE(plain.SendEmail());
  journal = com.TakeJournal();
  EXPECT_TRUE(journal.starts_with("smtpserver.Value='mail'; ") && journal.ends_with("Message.Send(); ")) << journal;
  EXPECT_NE(plain.LogFullText().find(u"cdoSMTPUseSSL.Status=0"), Text::npos);
  EXPECT_EQ(log.find(u"geheim99"), Text::npos);
}

TEST_F(Win32MailEnginesTest, TrustedRootsAreWholeCertificates) {
  const std::string pem = TrustedRoots();
  std::size_t begins = 0;
  for (std::size_t at = pem.find("-----BEGIN CERT"); at != std::string::npos; at = pem.find("-----BEGIN CERT", at + 1))
    ++begins;
  EXPECT_GT(begins, 0u);
  EXPECT_EQ(pem.find('\0'), std::string::npos);
  EXPECT_TRUE(pem.ends_with("-----END CERTIFICATE-----\r\n"))
      << pem.substr(pem.size() - std::min<std::size_t>(pem.size(), 60));
}

}  // namespace
}  // namespace ovs
