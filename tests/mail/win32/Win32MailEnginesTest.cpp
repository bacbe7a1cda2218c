// Which component serves, and a mail all the way from the message object to it.
#include <gtest/gtest.h>

#include "ComStandIn.h"
#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "mail/engines/os/MailMachine.h"
#include "mail/engines/win32/CdoMailer.h"
#include "mail/engines/win32/ChilkatMailer.h"
#include "mail/engines/win32/ChilkatZip.h"
#include "mail/message/vtxEmail.h"
#include "os/Crypto.h"
#include "support/FakeClock.h"
#include "support/FakePrompt.h"
#include "support/PlatformTest.h"

namespace ovs {
namespace {

using Journal = std::vector<std::string>;
using standin::Raise;

constexpr auto kNotImplemented = static_cast<std::int32_t>(0x80004001);
constexpr TextView kBuiltIn = u"built-in engine";

class Win32MailEnginesTest : public PlatformTest {
 protected:
  void RegisterAll() {
    for (const TextView each :
         {ChilkatMailer::kProgId, ChilkatMailer::kEmailProgId, ChilkatZip::kProgId, CdoMailer::kProgId}) {
      com.Register(each);
    }
  }
  // True when the closed component made the archive.
  bool ZipIsChilkats() {
    com.TakeJournal();
    const std::unique_ptr<ZipArchive> zip = engines->NewZip(u"code");
    zip->Create(u"C:\\a.zip");
    TakePendingSystemError();
    return com.TakeJournal().size() == 2;
  }

  standin::ComStandIn com;
  fakes::FakeClock clock;
  std::unique_ptr<MailEngines> engines = SystemMailEngines({files, clock, system, os::SystemCrypto()});
};

TEST_F(Win32MailEnginesTest, NothingRegistered) {
  if (win32::AutomationObject::IsRegistered(ChilkatMailer::kProgId)) GTEST_SKIP() << "this machine has the real component";
  engines->Start();
  EXPECT_TRUE(LoggedIn(u"\r\n" + log, u"Mail engines: built-in engine; system message object ")) << ToUtf8(log);
  log.clear();
  EXPECT_EQ(engines->NewComponent(u"code")->Name(), kBuiltIn);
  EXPECT_FALSE(ZipIsChilkats());
  EXPECT_EQ(log, u"") << "what is not there needs no explanation";
}

TEST_F(Win32MailEnginesTest, AllRegistered) {
  RegisterAll();
  engines->Start();
  EXPECT_TRUE(Logged(u"Mail engines: Chilkat_9_5_0.MailMan; system message object CDO.Message; archives Chilkat_9_5_0.Zip"));
  EXPECT_EQ(engines->NewComponent(u"code")->Name(), ChilkatMailer::kProgId);
  EXPECT_EQ(engines->NewSystemMessage()->Name(), CdoMailer::kProgId);
  EXPECT_TRUE(ZipIsChilkats());
}

TEST_F(Win32MailEnginesTest, ComponentsThatCannotServeAreReportedOnce) {
  RegisterAll();
  com.answers[u"MailMan.UnlockComponent"] = com.answers[u"Zip.UnlockComponent"] = {0};
  com.answers[u"Message.Configuration"] = {Raise{kNotImplemented, u"not here"}};
  for (const bool first : {true, false}) {
    EXPECT_EQ(engines->NewComponent(u"code")->Name(), kBuiltIn);
    EXPECT_EQ(Logged(u"Chilkat_9_5_0.MailMan cannot serve, the built-in engine does: Chilkat_9_5_0.MailMan refused"), first);
    EXPECT_EQ(engines->NewSystemMessage()->Name(), kBuiltIn);
    EXPECT_EQ(Logged(u"CDO.Message cannot serve, the built-in engine does: Configuration failed: 0x80004001 not here"),
              first);
    EXPECT_FALSE(ZipIsChilkats());
    EXPECT_EQ(Logged(u"Chilkat_9_5_0.Zip cannot serve, the built-in engine does: Chilkat_9_5_0.Zip refused"), first);
  }
  com.answers.clear();
  EXPECT_EQ(engines->NewComponent(u"code")->Name(), ChilkatMailer::kProgId) << "a component may be mended";
  com.answers[u"MailMan.UnlockComponent"] = {0};
  EXPECT_EQ(engines->NewComponent(u"code")->Name(), kBuiltIn);
  EXPECT_TRUE(Logged(u"Chilkat_9_5_0.MailMan cannot serve")) << "and break again";
}

TEST_F(Win32MailEnginesTest, ComponentsThatCannotBeMade) {
  com.Register(ChilkatMailer::kProgId);  // but not its other class
  com.Register(CdoMailer::kProgId, true);
  EXPECT_EQ(engines->NewComponent(u"code")->Name(), kBuiltIn);
  EXPECT_TRUE(
      Logged(u"Chilkat_9_5_0.MailMan cannot serve, the built-in engine does: CreateObject Chilkat_9_5_0.Email failed"));
  EXPECT_EQ(engines->NewSystemMessage()->Name(), kBuiltIn);
  EXPECT_TRUE(Logged(u"CDO.Message cannot serve, the built-in engine does: CreateObject CDO.Message failed: 0x80040154"));
}

TEST_F(Win32MailEnginesTest, AMailThroughTheMessageObject) {
  RegisterAll();
  App_Env environment(system);
  environment.SetAutomaticMode(true);
  const ckCrypt_Config crypt{os::SystemCrypto()};
  Config_Class store{fileSystem, crypt, u"C:\\App\\"};
  store.LoadString(
      u"Email.SMTP.Host=mail\r\nEmail.SMTP.Port=25\r\nEmail.SMTP.Username=user\r\nEmail.SMTP.Password=geheim99\r\n"
      u"Email.From=pc@example.com\r\nEmail.To=a@example.com,b@example.com\r\nEmail.Chilkat.UnlockCode=code");
  fakes::FakePrompt prompt;
  PlainMailUser user(prompt);

  vtxEmail automatic({fileSystem, environment, *engines, user, &store});
  automatic.SmtpAuthMethod = 5;
  automatic.AddPriorityHeader = true;
  com.answers[u"MailMan.SendEmail"] = {0};
  com.answers[u"MailMan.SmtpFailReason"] = {Text(u"AuthFailure")};
  EXPECT_FALSE(automatic.SendEmail());
  EXPECT_EQ(automatic.LogSmtpFailReason(), u"AuthFailure");
  Journal journal = com.TakeJournal();
  ASSERT_GT(journal.size(), 5u);
  EXPECT_EQ(journal.front(), "MailMan.UnlockComponent('code')");
  EXPECT_EQ(Journal(journal.end() - 4, journal.end()),
            (Journal{"Email.AddHeaderField('X-Priority', '1')", "MailMan.SendEmail((object))",
                     "MailMan.SmtpAuthMethod='LOGIN'", "MailMan.SendEmail((object))"}));

  for (const Text field : {u"smtpserver", u"smtpserverport", u"smtpauthenticate", u"sendusername", u"sendpassword",
                           u"smtpconnectiontimeout", u"sendusing"}) {
    com.answers[field + u".Status"] = {0};
  }
  vtxEmail plain({fileSystem, environment, *engines, user, &store});
  EXPECT_TRUE(plain.SendEmail());
  journal = com.TakeJournal();
  ASSERT_FALSE(journal.empty());
  EXPECT_EQ(journal.front(), "smtpserver.Value='mail'");
  EXPECT_EQ(journal.back(), "Message.Send()");
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
