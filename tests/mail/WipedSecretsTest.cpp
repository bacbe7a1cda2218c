// A password leaves no copy behind in memory that was given back: from the settings file to the built-in engine's attempt to
// log in, and through the encryption of settings.
#include <gtest/gtest.h>

#include "base/Wipe.h"
#include "mail/engines/CurlMailer.h"
#include "mail/message/StoredPassword.h"
#include "mail/message/modEmailSvc.h"
#include "support/AllocationCount.h"
#include "support/MailTest.h"

namespace ovs {
namespace {

constexpr const char* kPassword = "geheimes-kennwort-99";

class WipedSecretsTest : public MailTest {};

TEST_F(WipedSecretsTest, TheWayOfAMail) {
  Text stored;
  ASSERT_TRUE(StoredPassword::ScrambleText(FromUtf8(kPassword), StoredPassword::kKey, os::SystemCrypto(), stored).Ok());
  // Nobody listens there.
  Put(u"C:\\App\\Config\\Orvanta.ini",
      "[EmailConfig]\r\nAdminEmail=tech@x\r\nSMTPServer=127.0.0.1\r\nSMTPPort=1\r\n"
      "SMTPUserName=user\r\nSMTPPassword=" +
          ToUtf8(stored) + "\r\n");
  App_Registry helper(registry);
  App_Common ini(files);
  BuiltInEngines builtIn(Machine());
  builtIn.Start();
  const FreedMemoryWatch watch(kPassword);
  {
    modEmailSvc service({ini, helper, fileSystem, environment, builtIn, user, store});
    EXPECT_FALSE(service.SendEmail(u"tech@x", {}, u"subject", u"body", {}));
  }
  EXPECT_GT(FreedMemoryWatch::Searched(), 100);
  EXPECT_EQ(FreedMemoryWatch::Found(), 0);
}

TEST_F(WipedSecretsTest, EncryptionOfSettings) {
  const FreedMemoryWatch watch(kPassword);
  {
    Text plain = FromUtf8(kPassword);
    const WipeAtEnd wiped(plain);
    const Text stored = crypt.EncryptCfgValue(plain);
    Text back = crypt.DecryptCfgValue(stored);
    const WipeAtEnd backWiped(back);
    EXPECT_EQ(back, plain);
    Text scrambled;
    StoredPassword::ScrambleText(plain, StoredPassword::kKey, os::SystemCrypto(), scrambled).Ignore();
    Text again = StoredPassword::UnscrambleText(scrambled, StoredPassword::kKey).text;
    const WipeAtEnd againWiped(again);
    EXPECT_EQ(again, plain);
  }
  EXPECT_EQ(FreedMemoryWatch::Found(), 0);
  { const Text notWiped = FromUtf8(kPassword); }
  EXPECT_EQ(FreedMemoryWatch::Found(), 1) << "the watch itself";
}

}  // namespace
}  // namespace ovs
