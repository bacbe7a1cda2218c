#include "mail/message/modEmailSvc.h"

#include <gtest/gtest.h>

#include "base/App_Strings.h"
#include "mail/message/StoredPassword.h"
#include "support/MailTest.h"

namespace ovs {
namespace {

constexpr TextView kNewKey = u"Software\\Quorral\\Orvanta";
constexpr TextView kOldKey = u"Software\\Brindle Works\\Orvanta";
constexpr TextView kTail = u"\r\n---\r\nThis message sent by ";
// "geheim99" in its stored form.
constexpr TextView kStored = u"75565C58525B5B0D0843";

class modEmailSvcTest : public MailTest {
 protected:
  modEmailSvcTest() {
    environment.SetWanAddress(u"203.0.113.5");
    system.environment[u"computername"] = u"ITSNAME";
    Settings(Complete());
  }
  // A complete file; `more` goes into its first section.
  static Text Complete(TextView more = {}) {
    return Text(u"[EmailConfig]\r\n")
        .append(more)
        .append(u"\r\nAdminName=Tess\r\nAdminEmail=tech@x\r\nSMTPServer=mail\r\nSMTPPort=587\r\nSMTPUserName=user\r\n")
        .append(u"SMTPPassword=")
        .append(kStored)
        .append(u"\r\nUseSSL=2\r\nSMTPAuth=1\r\n[EmailOptions]\r\nEmailAdminEvents=1\r\n[Branding]\r\nAppName=Orvanta\r\n")
        .append(u"SupportEmail= Help@x \r\n");
  }
  void Settings(TextView text) { Put(u"C:\\App\\Config\\Orvanta.ini", ToUtf8(text)); }
  void Reg(TextView key, TextView name, const RegValue& value) {
    EXPECT_TRUE(helper.RegWriteValue(os::RootKey::LocalMachine, key, name, value));
  }
  // The names of the engines' mails in short: "from|to".
  std::vector<Text> Routes() const {
    std::vector<Text> routes;
    for (const auto& mail : engines.mails) routes.push_back(mail.message.from + u"|" + mail.message.to);
    return routes;
  }
  modEmailSvc New() {
    return modEmailSvc({ini, helper, fileSystem, environment, engines, user, store,
                        [this](const MailOutcome& outcome) { outcomes.push_back(outcome); }});
  }

  App_Registry helper{registry};
  App_Common ini{files};
  std::vector<MailOutcome> outcomes;
};

TEST_F(modEmailSvcTest, WhoGetsTheAlert) {
  const Text client = u"\"Tess\" <tech@x>|client@x";
  const struct {
    TextView clientEvents, clientAddress, adminEvents;
    std::vector<Text> routes;
  } cases[] = {
      {u"1", u"client@x", u"0", {client}},
      {u"0", u"client@x", u"1", {u"\"ID7\" <client@x>|tech@x"}},
      {u"1", u"client@x", u"1", {client, u"\"ID7\" <client@x>|tech@x"}},
      {u"1", u"", u"1", {u"\"ID7\" <tech@x>|tech@x"}},
      {u"01", u"client@x", u"true", {}},
  };
  // Who has no say in this.
  Reg(kNewKey, u"EmailClientEvents", Text(u"1"));
  Reg(kNewKey, u"ClientEmail", Text(u"other@x"));
  Reg(kNewKey, u"ClientIdentifier", Text(u"ID1"));
  Reg(kOldKey, u"ClientIdentifier", Text(u"ID7"));
  for (const auto& each : cases) {
    Reg(kOldKey, u"EmailClientEvents", Text(each.clientEvents));
    Reg(kOldKey, u"ClientEmail", Text(each.clientAddress));
    Settings(App_Strings::ReplaceAll(Complete(), u"AdminEvents=1", u"AdminEvents=" + Text(each.adminEvents)));
    // A send that fails, in whatever way, does not stop the next.
    for (const bool broken : {false, true}) {
      engines.mails.clear();
      outcomes.clear();
      engines.throwOnSend = broken;
      EXPECT_EQ(New().SendEventsEmail(u"Event Alert!", u"text", {}), u"");
      EXPECT_EQ(Routes(), each.routes);
      ASSERT_EQ(outcomes.size(), each.routes.size());
      for (std::size_t i = 0; i < outcomes.size(); ++i) {
        EXPECT_TRUE(each.routes[i].ends_with(u"|" + outcomes[i].to));
        EXPECT_EQ(outcomes[i].sent, !broken);
        EXPECT_EQ(outcomes[i].reason, broken ? u"the component broke" : u"");
        EXPECT_EQ(outcomes[i].engine, u"fake engine");
      }
    }
  }
  engines.throwOnSend = false;
  engines.mails.clear();
  Reg(kOldKey, u"EmailClientEvents", 1u);
  New().SendEventsEmail(u"s", u"b", {});
  EXPECT_TRUE(Routes().empty()) << "a number is no text";
  Reg(kOldKey, u"EmailClientEvents", Text(u"1"));
  Settings(App_Strings::ReplaceAll(Complete(), u"AdminEmail=", u"AdminEmail=\r\nx="));
  New().SendEventsEmail(u"s", u"b", {});
  EXPECT_TRUE(Routes().empty());
  EXPECT_TRUE(Logged(u"Nothing can be mailed, [EmailConfig] lacks: AdminEmail"));
}

TEST_F(modEmailSvcTest, BothCopiesAreOfOneVersionOfTheFile) {
  Reg(kOldKey, u"EmailClientEvents", Text(u"1"));
  Reg(kOldKey, u"ClientEmail", Text(u"client@x"));
  engines.onSend = [this] {
    Settings(u"[EmailConfig]\r\nAdminEmail=new@x\r\nSMTPServer=new\r\nSMTPPort=25\r\n[Branding]\r\nAppName=New\r\n");
  };
  modEmailSvc service = New();
  service.SendEventsEmail(u"s", u"b", {});
  ASSERT_EQ(engines.mails.size(), 2u);
  for (const auto& mail : engines.mails) {
    EXPECT_EQ(mail.server.host, u"mail");
    EXPECT_TRUE(mail.message.body.starts_with(u"Orvanta Event Service"));
  }
  EXPECT_NE(engines.mails[1].message.body.find(u"Client Details"), Text::npos);
  service.SendEmail(u"a@x", {}, u"s", u"b", {});
  EXPECT_EQ(engines.mails.back().server.host, u"new") << "the next mail is of the file as it is then";
}

TEST_F(modEmailSvcTest, SubjectAndBodyOfBothKinds) {
  const Text product = u"Orvanta Event Service - Auto Generated Email\r\n\r\n";
  modEmailSvc service = New();
  EXPECT_TRUE(service.SendEmail(u"client@x", {}, u"Event Alert!", u"line\r\n", {}));
  const MailMessage& bare = engines.mails.back().message;
  EXPECT_EQ(bare.subject, u"Event Alert! - ");
  EXPECT_EQ(bare.body, product + u"line\r\n" + Text(kTail));
  EXPECT_EQ(bare.from + bare.replyTo, u"client@xclient@x") << "without a sender's text";
  EXPECT_FALSE(bare.isHtml);

  Reg(kOldKey, u"ClientIdentifier", Text(u"ID7"));
  Reg(kNewKey, u"ClientName", Text(u"Jo's PC"));
  Reg(kNewKey, u"ClientPhone", Text(u"555"));
  Reg(kNewKey, u"ClientEmail", Text(u"jo@x"));
  Reg(kOldKey, u"ClientName", Text(u"older"));
  Reg(kOldKey, u"EmailClientEvents", Text(u"1"));
  for (const TextView custom : {u"0", u"1"}) {
    Reg(kOldKey, u"EmailClientCustomApp", Text(custom));
    EXPECT_TRUE(service.SendEmail(u"tech@x", u"\"ID7\" <jo@x>", u"Disk Alert!", u"line", {}));
    const MailMessage& full = engines.mails.back().message;
    EXPECT_EQ(full.subject, u"Disk Alert! - ID7 (Jo's PC)");
    EXPECT_EQ(full.body, product +
                             u"-----Client Details-----\r\nID:  ID7\r\nName:  Jo's PC\r\nPhone:  555\r\nEmail:  jo@x\r\n"
                             u"Computer Name:  ITSNAME\r\nLAN IP:  192.0.2.7, 2001:db8::7\r\nWAN IP:  203.0.113.5\r\n"
                             u"vt/vtII Name:  \r\n\r\n" +
                             (custom == u"1" ? u"Email sent" : u"Email NOT sent") + u" to client follows:\r\n\r\nline" +
                             Text(kTail));
    EXPECT_EQ(full.replyTo, u"\"ID7\" <jo@x>");
  }
  EXPECT_TRUE(Logged(u"Sending email..."));

  const struct {
    TextView vtx, vtII, vt, shown;
  } reportNames[] = {{u"x", u"", u"", u""}, {u"x", u"II", u"t", u"II"}, {u"x", u"", u"t", u"t"}, {u"", u"II", u"", u"II"}};
  for (const auto& each : reportNames) {
    Reg(u"Software\\Quorral\\vtx", u"ClientNameForReports", Text(each.vtx));
    Reg(u"Software\\Brindle Works\\vtII", u"ClientNameForReports", Text(each.vtII));
    Reg(u"Software\\Brindle Works\\vt", u"ClientNameForReports", Text(each.vt));
    service.SendEmail(u"tech@x", u"a@x", u"s", u"b", {});
    EXPECT_NE(engines.mails.back().message.body.find(u"vt/vtII Name:  " + Text(each.shown) + u"\r\n\r\n"), Text::npos);
  }
}

TEST_F(modEmailSvcTest, EachOfTheClientsValuesHasASecondKey) {
  modEmailSvc service = New();
  const std::pair<TextView, std::function<Text()>> readers[] = {
      {u"ClientEmail", [&] { return service.GetClientEmail(); }},
      {u"ClientIdentifier", [&] { return service.GetClientIdentifier(); }},
      {u"ClientPhone", [&] { return service.GetClientPhone(); }},
      {u"ClientName", [&] { return service.GetClientName(); }},
      {u"EmailClientCustomApp", [&] { return Text(service.EmailClientCustomApp() ? u"1" : u""); }},
  };
  for (const auto& [name, read] : readers) {
    EXPECT_EQ(read(), u"") << ToUtf8(name);
    Reg(kOldKey, name, Text(u"1"));
    EXPECT_EQ(read(), u"1") << ToUtf8(name);
    Reg(kNewKey, name, Text(u""));
    EXPECT_EQ(read(), u"1") << ToUtf8(name);
    Reg(kOldKey, name, Text(u"01"));
    Reg(kNewKey, name, Text(u"1"));
    EXPECT_EQ(read(), u"1") << ToUtf8(name);
  }
}

TEST_F(modEmailSvcTest, WhoIsATechnicianAndWhatIsAttached) {
  for (const TextView folder : {u"C:\\Out", u"C:\\Out\\Sub"}) memory.CreateDir(folder).Ignore();
  for (const TextView file : {u"C:\\Out\\One.TXT", u"C:\\Out\\two", u"C:\\Out\\Sub\\three.txt"}) Put(file, "x");
  const std::vector<Text> both = {u"C:\\Out\\One.TXT", u"C:\\Out\\two"};
  const Text noSupport = App_Strings::ReplaceAll(Complete(), u"SupportEmail", u"x");
  const struct {
    TextView to, path;
    std::vector<Text> attached;
    bool isTechnician = true;
    bool withSupport = true;
  } cases[] = {
      {u" TECH@x ", u"C:\\Out", both},
      {u"  help@X", u"C:\\Out\\", both},
      {u"help@x", u"C:\\Out\\One.TXT", {u"C:\\Out\\One.TXT"}},
      {u"tech@x", u"C:\\Nowhere", {}},
      {u"tech@x", u"C:\\Out\\Sub\\none.txt", {}},
      {u"client@x", u"C:\\Out", {}, false},
      {u"client@x", u"C:\\Out\\One.TXT", {}, false},
      {u"help@x", u"C:\\Out\\One.TXT", {}, false, false},
      // Nothing set and nobody named are the same.
      {u"  ", u"C:\\Out", both, true, false},
  };
  modEmailSvc service = New();
  for (const auto& each : cases) {
    Settings(each.withSupport ? Complete() : noSupport);
    EXPECT_TRUE(service.SendEmail(each.to, u"a@x", u"s", u"b", each.path)) << ToUtf8(each.to);
    const MailMessage& message = engines.mails.back().message;
    EXPECT_EQ(message.attachments, each.attached) << ToUtf8(each.to);
    EXPECT_EQ(message.body.find(u"Client Details") != Text::npos, each.isTechnician) << ToUtf8(each.to);
  }
  std::vector<Text> names = {u"first"};
  service.ListFolderFiles(u"C:\\Out", u"*.txt", names);
  EXPECT_EQ(names, (std::vector<Text>{u"first", u"One.TXT"}));
}

TEST_F(modEmailSvcTest, SettingsThatReachTheEngine) {
  store.LoadString(
      u"Email.SMTP.SSLType=3\r\nEmail.SMTP.AuthMethod=0\r\nEmail.SMTP.AutoFix=0\r\nEmail.SMTP.Password=other1\r\n");
  struct Case {
    TextView lines;  // the first of a name counts
    std::int32_t sslType, authMethod, autoFix;
    TextView from = u"a@x";
  };
  for (const Case& each :
       {Case{u"", 2, 1, 1}, Case{u"UseSSL=7\r\nSMTPAuth=9", 3, 5, 1},
        Case{u"UseSSL=-1\r\nSMTPAuth=-1\r\nAutoFix=0", 3, 5, 0}, Case{u"UseSSL=\r\nSMTPAuth=", 3, 5, 1},
        Case{u"UseSSL=\" 4 \"\r\nSMTPAuth=+0", 4, 0, 1}, Case{u"SMTPUserName=R&D@x", 2, 1, 1, u"R&D@x"}}) {
    Settings(Complete(each.lines));
    EXPECT_TRUE(New().SendEmail(u"c@x", u"a@x", u"s", u"b", {})) << ToUtf8(each.lines);
    const auto& [bySystem, server, message, attempts] = engines.mails.back();
    EXPECT_EQ(server.host, u"mail");
    EXPECT_EQ(server.port, 587);
    EXPECT_EQ(TextView(server.password), u"geheim99");
    EXPECT_EQ(server.sslType, each.sslType) << ToUtf8(each.lines);
    EXPECT_EQ(server.authMethod, each.authMethod) << ToUtf8(each.lines);
    EXPECT_EQ(server.autoFix, each.autoFix) << ToUtf8(each.lines);
    EXPECT_EQ(message.from, each.from);
    EXPECT_EQ(message.replyTo, u"a@x");
  }
  Settings(Complete());
  EXPECT_TRUE(New().SendEmail(u"c@x", u"\"ID\" <a@x, b@x>", u"s", u"b", {}));
  EXPECT_EQ(engines.mails.back().message.from, u"\"ID\" <a@x>");
  EXPECT_EQ(engines.mails.back().message.replyTo, u"\"ID\" <a@x>");
  const modEmailSvc::Route route = New().RouteOfMails();
  EXPECT_EQ(route.engine, u"fake engine");
  EXPECT_EQ(route.plan, (SmtpPlan{true, StartTls::Required})) << "the engine's own, whatever the settings";
}

TEST_F(modEmailSvcTest, WhatStopsAMail) {
  const struct {
    TextView lines, entry;
    bool isConfigured = false;
  } cases[] = {
      {u"SMTPServer=", u"Nothing can be mailed, [EmailConfig] lacks: SMTPServer"},
      {u"SMTPPort=\r\nAdminEmail=", u"Nothing can be mailed, [EmailConfig] lacks: AdminEmail SMTPPort"},
      {u"AutoFix=on", u"[EmailConfig] AutoFix is no number"},
      {u"UseSSL=2.0", u"[EmailConfig] UseSSL is no number"},
      {u"SMTPAuth=99999999999", u"[EmailConfig] SMTPAuth is no number"},
      {u"SMTPPort=smtp", u"[EmailConfig] SMTPPort is no number", true},
      {u"SMTPPassword=geheim99", u"Cannot decode [EmailConfig] SMTPPassword: it does not consist of"},
      {u"SMTPPassword=75", u"Cannot decode [EmailConfig] SMTPPassword: it is too short"},
      {u"SMTPPassword=754B", u"The mail cannot be sent, a setting is missing: SmtpPassword", true},
  };
  for (const auto& each : cases) {
    Settings(Complete(each.lines));
    modEmailSvc service = New();
    log.clear();
    EXPECT_FALSE(service.SendEmail(u"c@x", u"a@x", u"s", u"b", {}));
    EXPECT_NE(log.find(each.entry), Text::npos) << ToUtf8(each.entry) << ToUtf8(log);
    EXPECT_EQ(log.find(each.entry), log.rfind(each.entry)) << "said once";
    EXPECT_EQ(outcomes.back().reason.find(each.entry), 0u) << ToUtf8(outcomes.back().reason);
    EXPECT_EQ(outcomes.back().engine, u"") << "no engine was asked";
    EXPECT_EQ(log.find(u"geheim"), Text::npos);
    EXPECT_EQ(service.GetEmailConfig(), each.isConfigured);
    Settings(Complete());
    EXPECT_TRUE(service.SendEmail(u"c@x", u"a@x", u"s", u"b", {})) << "mended";
  }
  // A file that cannot be used has no settings.
  for (const Text& content : {Text(u"[EmailConfig]\0AdminEmail=a", 26), Text()}) {
    Settings(content);
    EXPECT_FALSE(New().GetEmailConfig());
  }
  memory.Delete(u"C:\\App\\Config\\Orvanta.ini").Ignore();
  EXPECT_FALSE(New().GetEmailConfig());
}

TEST_F(modEmailSvcTest, WhatIsEmptiedKeepsItsValue) {
  modEmailSvc service = New();
  EXPECT_TRUE(service.GetEmailConfig());
  Settings(Complete(u"SMTPUserName=\r\nSMTPPassword=\r\nUseSSL=\r\nSMTPAuth=\r\nAutoFix="));
  EXPECT_TRUE(service.SendEmail(u"c@x", u"a@x", u"s", u"b", {}));
  const SmtpServer& server = engines.mails.back().server;
  EXPECT_EQ(server.username + Text(server.password), u"usergeheim99");
  EXPECT_EQ(server.sslType * 10 + server.authMethod, 21);
  // The technician is still known by the address of before, though nothing is sent.
  Settings(Complete(u"AdminEmail="));
  EXPECT_FALSE(service.SendEmail(u"tech@x", u"a@x", u"s", u"b", {}));
  EXPECT_EQ(engines.mails.size(), 1u);
}

TEST_F(modEmailSvcTest, NoPasswordShowsAnywhere) {
  DebugSwitches switches = debug.Switches();
  switches.procDump = true;
  debug.SetSwitches(switches);
  Reg(kOldKey, u"EmailClientEvents", Text(u"1"));
  Reg(kOldKey, u"ClientEmail", Text(u"client@x"));
  // Short ones cannot be masked in texts; the middle one is a plain password in the wrong place.
  for (const TextView plain : {u"geheim99", u"Q~7", u"\u00A7"}) {
    Text stored;
    ASSERT_TRUE(StoredPassword::ScrambleText(plain, StoredPassword::kKey, os::SystemCrypto(), stored).Ok());
    for (const Text& inFile : {stored, Text(plain), u"\"" + stored + u"\"", stored.substr(1)}) {
      Settings(Complete(u"SMTPPassword=" + inFile));
      log.clear();
      engines.throwOnSend = !engines.throwOnSend;
      New().SendEventsEmail(u"s", u"b", {});
      const Text all = log + debug.ProcDump(false);
      EXPECT_NE(all.find(u"GetEmailConfig"), Text::npos);
      EXPECT_EQ(all.find(plain), Text::npos) << ToUtf8(plain);
      EXPECT_EQ(all.find(stored.substr(1)), Text::npos) << ToUtf8(plain);
    }
  }
  // Nor where somebody else brings it up.
  Settings(Complete());
  EXPECT_TRUE(New().GetEmailConfig());
  log.clear();
  Debug::dLog(kNoProc, u"a geheim99 b " + Text(kStored) + u" c");
  EXPECT_NE(log.find(u"a *** b *** c"), Text::npos) << ToUtf8(log);
}

}  // namespace
}  // namespace ovs
