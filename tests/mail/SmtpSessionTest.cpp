#include "mail/engines/SmtpSession.h"

#include <gtest/gtest.h>

#include "base/Encoding.h"
#include "mail/engines/SmtpServer.h"

namespace ovs {
namespace {

// Lines that begin with a digit or "?" are replies, "?" standing for nothing.
void Play(SmtpSession& session, std::initializer_list<const char*> lines) {
  for (std::string line : lines) {
    const bool isReply = line[0] == '?' || (line[0] >= '0' && line[0] <= '9');
    if (line[0] == '?') line.erase(0, 1);
    line += "\r\n";
    if (isReply) {
      session.Reply(line);
    } else {
      session.Command(line);
    }
  }
}

TEST(SmtpSessionTest, NoAuthExchangeIsKept) {
  SmtpSession session;
  session.Begin(false);
  Play(session, {"220 hello", "EHLO pc", "250-AUTH LOGIN PLAIN", "250 OK", "AUTH LOGIN", "334 VXNlcm5hbWU6",
                 "c2VjcmV0VXNlcg==", "334 UGFzc3dvcmQ6", "c2VjcmV0UGFzcw==", "?echo c2VjcmV0UGFzcw==", "535-no", "535 c2Vj",
                 "auth plain c2VjcmV0", "235 ok", "MAIL FROM:<a@b>", "250 ok"});
  EXPECT_EQ(session.Transcript(),
            u"< 220 hello\r\n> EHLO pc\r\n< 250-AUTH LOGIN PLAIN\r\n< 250 OK\r\n> AUTH LOGIN\r\n< 334 ***\r\n> ***\r\n< 334 "
            u"***\r\n> ***\r\n< ***\r\n< 535-no\r\n< 535 c2Vj\r\n> auth plain ***\r\n< 235 ok\r\n> MAIL FROM:<a@b>\r\n< 250 "
            u"ok\r\n");
  EXPECT_TRUE(session.PasswordInClear());
  // Lines that libcurl does not take for the end of a reply, each of which it waits past, and lines that it does.
  for (const std::string_view odd : {"250_odd\r\n", "250\n", "250", "2501\r\n", "250-more\r\n", "535_\r\n", "034 \r\n"}) {
    SmtpSession waiting;
    waiting.Begin(false);
    Play(waiting, {"AUTH LOGIN"});
    waiting.Reply(odd);
    Play(waiting, {"334 VXNlcm5hbWU6", "c2VjcmV0VXNlcg=="});
    waiting.Reply(odd);
    Play(waiting, {"334 UGFzc3dvcmQ6", "c2VjcmV0UGFzcw=="});
    EXPECT_EQ(waiting.Transcript().find(u"c2Vjc"), Text::npos) << odd;
    EXPECT_EQ(waiting.Exchanges().size(), 2u) << odd;
    EXPECT_TRUE(waiting.PasswordInClear()) << odd;
  }
  for (const std::string_view end : {"535 no\r\n", "535\r\n", "535x\n", "535 \n"}) {
    SmtpSession over;
    over.Begin(false);
    Play(over, {"AUTH PLAIN c2VjcmV0"});
    over.Reply(end);
    Play(over, {"NOOP"});
    EXPECT_TRUE(over.Transcript().ends_with(u"> NOOP\r\n")) << end;
    EXPECT_TRUE(over.LastReplyIsError()) << end;
  }
}

TEST(SmtpSessionTest, APasswordIsInClearOnlyWhenItWasSentWithoutTls) {
  struct Case {
    bool implicitTls;
    std::vector<const char*> lines;
    bool inClear;
  };
  const Case cases[] = {
      {false, {"AUTH PLAIN", "334 ", "AGEAYg=="}, true},
      {false, {"AUTH PLAIN AGEAYg=="}, true},
      {true, {"AUTH PLAIN AGEAYg=="}, false},
      {false, {"AUTH LOGIN", "334 ", "dXNlcg==", "535 no such user"}, false},
      {false, {"AUTH LOGIN", "334 ", "dXNlcg==", "334 ", "cGFzcw=="}, true},
      {false, {"AUTH CRAM-MD5", "334 PDE+", "dXNlciBkaWdlc3Q="}, false},
      {false, {"STARTTLS", "220 go", "AUTH PLAIN AGEAYg=="}, false},
      {false, {"STARTTLS", "454 not now", "AUTH PLAIN AGEAYg=="}, true},
  };
  for (const Case& test : cases) {
    SmtpSession session;
    session.Begin(test.implicitTls);
    for (const char* line : test.lines) Play(session, {line});
    EXPECT_EQ(session.PasswordInClear(), test.inClear) << test.lines[0] << test.lines.back();
  }
}

TEST(SmtpSessionTest, RefusedRecipientsAreNamedAndHostileRepliesBounded) {
  SmtpSession session;
  session.Begin(false);
  Play(session, {"RCPT TO:<a@x>", "250 ok", "RCPT TO:<b@x>", "550-no", "550 such\x01user\t\xC2\x9B\xC2\xA7", "RCPT TO:<c@x>",
                 "452 later"});
  ASSERT_EQ(session.RefusedRecipients().size(), 2u);
  EXPECT_EQ(session.RefusedRecipients()[0].address, u"<b@x>");
  EXPECT_EQ(session.RefusedRecipients()[0].reply, u"550 such?user??\u00A7");
  EXPECT_EQ(session.RefusedRecipients()[1].address, u"<c@x>");
  EXPECT_TRUE(session.LastReplyIsError());
  for (int i = 0; i < 1000; ++i) session.Reply(std::string(100'000, 'x') + "\r\n");
  EXPECT_LT(session.Transcript().size(), 70'000u);
}

TEST(SmtpSessionTest, ForeignSessionLogsAreMasked) {
  EXPECT_EQ(MaskSession(u"250-AUTH LOGIN PLAIN\r\nAUTH LOGIN\r\n334 VXNl\r\nYWJj\r\n235 ok\r\nDATA"),
            u"250-AUTH LOGIN PLAIN\r\nAUTH LOGIN\r\n334 ***\r\n***\r\n235 ok\r\nDATA");
  EXPECT_EQ(MaskSession(u"  SmtpCmdSent: AUTH PLAIN YWJj\n  SmtpCmdResp: 535 no\n  Elapsed: 5"),
            u"  SmtpCmdSent: AUTH PLAIN ***\n  SmtpCmdResp: 535 no\n  Elapsed: 5");
  EXPECT_EQ(MaskSession(u""), u"");
}

TEST(SmtpServerTest, TheDomainIsPartOfAnNtlmLoginAlone) {
  SmtpServer server;
  server.loginDomain = u"CORP";
  EXPECT_EQ(LoginName(server), u"") << "no name, no login";
  server.username = u"jane";
  for (std::int32_t method = kAuthNone; method <= kAuthAutomatic; ++method) {
    server.authMethod = method;
    EXPECT_EQ(LoginName(server), method == kAuthNone ? u"" : method == kAuthNtlm ? u"CORP\\jane" : u"jane") << method;
  }
}

TEST(SmtpPlanTest, SslTypePortAndAutoFix) {
  constexpr SmtpPlan kClear{};
  constexpr SmtpPlan kImplicit{true, StartTls::Never};
  constexpr SmtpPlan kRequired{false, StartTls::Required};
  constexpr SmtpPlan kOffered{false, StartTls::WhenOffered};
  struct Case {
    std::int32_t type, port, autoFix;
    bool password;
    SmtpPlan plan;
  };
  constexpr Case kCases[] = {
      {0, 25, 0, true, kClear},      {0, 465, 0, true, kClear},      {1, 25, 0, true, kImplicit},
      {2, 465, 0, true, kRequired},  {3, 25, 0, true, kOffered},     {4, 465, 0, true, kImplicit},
      {4, 25, 0, true, kRequired},   {0, 25, 1, false, kClear},      {0, 25, 1, true, kOffered},
      {0, 2525, 1, true, kOffered},  {0, 465, 1, false, kImplicit},  {0, 587, 1, false, kRequired},
      {1, 25, 1, false, kRequired},  {1, 2525, 1, false, kImplicit}, {1, 587, 1, true, kRequired},
      {2, 465, 1, true, kImplicit},  {3, 587, 1, true, kRequired},   {7, 25, 0, true, kRequired},
      {-1, 465, 0, true, kImplicit},
  };
  for (const Case& test : kCases) {
    EXPECT_EQ(PlanConnection(test.type, test.port, test.autoFix, test.password), test.plan)
        << test.type << " " << test.port << " " << test.autoFix;
  }
}

}  // namespace
}  // namespace ovs
