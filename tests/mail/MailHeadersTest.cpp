#include "mail/engines/MailHeaders.h"

#include <gtest/gtest.h>

#include <string>

#include "base/Encoding.h"

namespace ovs {
namespace {

void ExpectWellFormed(const std::string& header) {
  for (std::size_t start = 0; start <= header.size();) {
    const std::size_t end = std::min(header.find("\r\n", start), header.size());
    const std::string line = header.substr(start, end - start);
    EXPECT_LE(line.size(), 76u) << header;
    EXPECT_NE(line.find_first_not_of(' '), std::string::npos) << "a line of blanks ends the header for some: " << header;
    EXPECT_TRUE(start == 0 || line.front() == ' ') << header;
    start = end + 2;
  }
  for (const char byte : header) EXPECT_TRUE((byte >= 0x20 && byte < 0x7F) || byte == '\r' || byte == '\n') << header;
}

TEST(MailHeadersTest, SubjectsAreFoldedOrEncodedAndNeverBreakOut) {
  struct Case {
    Text value;
    std::string expected;  // empty: only well-formedness counts
  };
  const Case cases[] = {
      {u"Event Alert! - ", "Subject: Event Alert! - "},
      {u"a  b", "Subject: a  b"},
      {Text(u"x\0\r\n.\r\n\r\nDATA", 14), {}},
      {Text(u"x\r\nBcc: evil@example.com"), "Subject: x  Bcc: evil@example.com"},
      {u"line\u2028separator\u0085next", {}},
      {u"=?UTF-8?B?QUJD?=", "Subject: =?UTF-8?B?PT9VVEYtOD9CP1FVSkQ/PQ==?="},
      {u"Grüße", "Subject: =?UTF-8?B?R3LDvMOfZQ==?="},
      {Text(2000, u'x'), {}},
      {Text(500, u' '), {}},
      {u"word " + Text(300, u' ') + u" end  ", {}},
      {Text(300, u'\u8B66'), {}},
      {u"\U0001F600\U0001F600 " + Text(80, u'y') + u" \U0001F600", {}},
  };
  for (const Case& test : cases) {
    const std::string header = MailHeaders::Unstructured("Subject", test.value);
    ExpectWellFormed(header);
    EXPECT_TRUE(test.expected.empty() || header == test.expected) << header;
  }
}

TEST(MailAddressTest, OnlyWhatACommandCanCarryIsUsable) {
  for (const TextView good : {u"a@b", u"user&name", u"müller@example.com", u"a+b=c@x-y.example"}) {
    EXPECT_TRUE(IsUsableAddress(good)) << ToUtf8(good);
  }
  const Text bad[] = {u"",      u"a b@c",          u"a@b>\r\nRCPT TO:<c@d", u"<a@b>",      u"a@b\r",
                      u"a@b,c", Text(u"a\0@b", 4), Text(255, u'a'),         u"a\u00A0b@c", Text(u"a@b") + u'\xD800'};
  for (const Text& address : bad) EXPECT_FALSE(IsUsableAddress(address)) << ToUtf8(address);
}

TEST(MailAddressTest, ASenderIsTheFirstOfSeveral) {
  const std::pair<TextView, TextView> cases[] = {
      {u"a@x", u"a@x"},
      {u"user&name", u"user&name"},
      {u"a@x , b@x", u"a@x"},
      {u"\"ID 7\" <a@x, b@x>", u"\"ID 7\" <a@x>"},
      {u"\"Doe, Jane @ PC\" <a@x , b@x>", u"\"Doe, Jane @ PC\" <a@x>"},
      {u" \"A\"<a@x>, \"B\" <b@x>", u"\"A\"<a@x>"},
      {u"\"Doe, \"JD\" Jane\" <a@x>", u"\"Doe, \"JD\" Jane\" <a@x>"},
      {u"Doe, Jane <a@x>", u"Doe, Jane <a@x>"},
      {u"a@x, \"B\" <b@x>", u"a@x"},
      {u"\"a@x, b@x", u"\"a@x"},
      {u"", u""},
  };
  for (const auto& [text, first] : cases) EXPECT_EQ(FirstMailbox(text), first) << ToUtf8(text);
}

TEST(MailHeadersTest, DateIdentityAndFileNames) {
  EXPECT_EQ(MailHeaders::Date({2026, 11, 25, 8, 5, 9, 0}), "Date: Wed, 25 Nov 2026 08:05:09 +0000");
  EXPECT_EQ(MailHeaders::Date({2000, 2, 29, 23, 59, 59, 0}), "Date: Tue, 29 Feb 2000 23:59:59 +0000");
  EXPECT_EQ(MailHeaders::MessageId("\x01\xFF", u"a@example.com", u"PC"), "Message-ID: <01FF@example.com>");
  EXPECT_EQ(MailHeaders::MessageId("\x01", u"user&name", u"PC-1"), "Message-ID: <01@PC-1>");
  EXPECT_EQ(MailHeaders::MessageId("\x01", u"a@b>\r\nX: y", u"p c"), "Message-ID: <01@localhost>");
  EXPECT_EQ(MailHeaders::ContentDisposition("attachment", u"a \"b\".txt"),
            "Content-Disposition: attachment; filename=\"a \\\"b\\\".txt\"");
  EXPECT_EQ(MailHeaders::ContentDisposition("attachment", u"größe.bin"),
            "Content-Disposition: attachment; filename*=UTF-8''gr%C3%B6%C3%9Fe.bin");
  const std::string longName = MailHeaders::ContentType("application/zip", Text(60, u'ä') + u".zip");
  ExpectWellFormed(longName);
  EXPECT_NE(longName.find("name*7*="), std::string::npos) << longName;
}

}  // namespace
}  // namespace ovs
