// What base/os/Registry.h promises, asked of the machine's registry and of the one in memory; and the reading of exports.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "os/MemoryRegistry.h"
#include "os/PendingError.h"
#include "os/RegExport.h"
#include "os/System.h"

namespace ovs {
namespace {

using namespace std::string_view_literals;

constexpr os::RootKey kUser = os::RootKey::CurrentUser;
constexpr std::uint32_t kAll = os::RegAccess::kRead | os::RegAccess::kWrite;

class RegistryContract : public ::testing::TestWithParam<bool> {
 protected:
  void TearDown() override { registry.DeleteKey(kUser, base, kAll); }

  std::unique_ptr<os::RegistryKey> Make(TextView key, std::uint32_t access = kAll) {
    std::unique_ptr<os::RegistryKey> out;
    EXPECT_EQ(registry.Create(kUser, key, access, out), 0u) << ToUtf8(key);
    return out;
  }
  std::uint32_t OpenCode(TextView key) {
    std::unique_ptr<os::RegistryKey> out;
    return registry.Open(kUser, key, os::RegAccess::kRead, out);
  }

  MemoryRegistry memory;
  os::Registry& registry = GetParam() ? os::SystemRegistry() : memory;
  const Text base = u"Software\\OvsTest" + NumberText(os::ThisSystem().ProcessId());
};

INSTANTIATE_TEST_SUITE_P(All, RegistryContract, ::testing::Bool(),
                         [](const auto& each) { return std::string(each.param ? "System" : "Memory"); });

TEST_P(RegistryContract, ValuesAreStoredAsGiven) {
  const auto key = Make(base);
  ASSERT_TRUE(key);
  struct {
    TextView name;
    std::uint32_t type;
    std::string_view data;
  } const values[] = {
      {u"Größe 日本", os::RegType::kString, "a\0b\0\0\0"sv},  {u"unterminated", os::RegType::kString, "a\0b\0"sv},
      {u"odd", os::RegType::kExpandString, "%\0x\0%"sv},      {u"list", os::RegType::kMultiString, "a\0\0\0b\0\0\0\0\0"sv},
      {u"bytes", os::RegType::kBinary, "\x01\0\xFF"sv},       {u"none", os::RegType::kBinary, ""sv},
      {u"number", os::RegType::kDword, "\xDD\xCC\xEE\xFF"sv}, {u"", os::RegType::kString, "d\0\0\0"sv}};
  for (const auto& each : values) ASSERT_EQ(key->SetData(each.name, each.type, each.data), 0u) << ToUtf8(each.name);
  for (const auto& each : values) {
    std::uint32_t type = 99;
    std::uint32_t length = 99;
    std::string data = "old";
    EXPECT_EQ(key->QueryLength(each.name, type, length), 0u) << ToUtf8(each.name);
    EXPECT_EQ(length, each.data.size()) << ToUtf8(each.name);
    EXPECT_EQ(key->QueryData(each.name, length, type, data), 0u) << ToUtf8(each.name);
    EXPECT_EQ(type, each.type);
    EXPECT_EQ(data, each.data) << ToUtf8(each.name);
  }
  EXPECT_EQ(key->SetData(u"GRÖßE 日本", os::RegType::kDword, "\1\0\0\0"sv), 0u);
  std::uint32_t type = 0;
  std::string data;
  EXPECT_EQ(key->QueryData(u"größe 日本", 100, type, data), 0u);
  EXPECT_EQ(data, "\1\0\0\0"sv);
}

TEST_P(RegistryContract, FailuresAreCodesAndStayPending) {
  auto key = Make(base + u"\\Sub");
  ASSERT_TRUE(key);
  const auto reader = Make(base + u"\\Sub", os::RegAccess::kRead);
  ASSERT_EQ(key->SetData(u"v", os::RegType::kBinary, "12345"), 0u);
  std::uint32_t type = 0;
  std::uint32_t length = 0;
  std::string data;
  const auto expect = [](std::uint32_t code, std::uint32_t expected, const char* call) {
    EXPECT_EQ(code, expected) << call;
    EXPECT_EQ(TakePendingSystemError(), expected) << call;
  };
  SetPendingSystemError(0);
  expect(key->QueryLength(u"missing", type, length), 2, "QueryLength");
  expect(key->QueryData(u"missing", 10, type, data), 2, "QueryData");
  expect(key->QueryData(u"v", 4, type, data), 234, "QueryData limit");
  expect(key->DeleteValue(u"missing"), 2, "DeleteValue");
  expect(reader->SetData(u"v", os::RegType::kBinary, ""), 5, "SetData without the right");
  expect(OpenCode(base + u"\\missing"), 2, "Open");
  expect(OpenCode(base + u"\\missing\\below"), 2, "Open below");
  expect(registry.DeleteKey(kUser, base + u"\\missing", kAll), 2, "DeleteKey");
  expect(registry.DeleteKey(kUser, base, kAll), 5, "DeleteKey with subkeys");
  expect(key->DeleteValue(u"V"), 0, "DeleteValue");
  expect(OpenCode(base + u"\\SUB\\"), 0, "Open in another case");
  expect(registry.DeleteKey(kUser, base + u"\\sub", kAll), 0, "DeleteKey");
  expect(key->QueryLength(u"v", type, length), 1018, "QueryLength of a deleted key");
}

TEST(MemoryRegistryTest, KeysOutliveTheRegistry) {
  auto registry = std::make_unique<MemoryRegistry>();
  std::unique_ptr<os::RegistryKey> key;
  ASSERT_EQ(registry->Create(os::RootKey::LocalMachine, u"a\\b", kAll, key), 0u);
  EXPECT_EQ(registry->Open(static_cast<os::RootKey>(0x80000007), u"a", kAll, key), 6u);
  ASSERT_EQ(registry->Create(os::RootKey::LocalMachine, u"A\\B", kAll, key), 0u);
  registry.reset();
  EXPECT_EQ(key->SetData(u"v", os::RegType::kBinary, "x"), 0u);
}

constexpr TextView kExport =
    u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n; a comment\r\n"
    u"[HKEY_LOCAL_MACHINE\\SOFTWARE\\A [x]] ; behind\r\n"
    u"@=\"default\"\r\n"
    u"\"quo\\\"ted\\\\\" = \"C:\\\\a\r\nsecond; line\" ; behind\r\n"
    u"\"n\"=dword:0000fFee\r\n"
    u"\"h\"=hex:01,\\\r\n  02,a, \\ ; going on\r\n ff\r\n"
    u"\"e\"=hex(2):41,00,00,00\r\n\"empty\"=hex:\r\n\"gone\"=-\r\n"
    u"[-HKEY_CURRENT_USER\\Old]\r\n"
    u"[hkey_users]\n\"last\"=\"no line end\"";

// One line an entry: action, root, key, name, type, data with its zero bytes left out.
std::string Entries(TextView text, bool& good) {
  std::string out;
  good = ParseRegExport(text, [&](const RegExportEntry& entry) {
    out += "ADSX"[static_cast<int>(entry.action)] + std::to_string(static_cast<std::uint32_t>(entry.root) & 0xF) + " " +
           ToUtf8(entry.key) + "|" + ToUtf8(entry.name) + "|" + std::to_string(entry.type) + "|";
    for (const char c : entry.data) {
      if (c != 0) out += c;
    }
    out += "|" + std::to_string(entry.data.size()) + "\n";
  });
  return out;
}

TEST(RegExport, EntriesInTheirOrder) {
  bool good = false;
  EXPECT_EQ(Entries(kExport, good),
            "A2 SOFTWARE\\A [x]||0||0\n"
            "S2 SOFTWARE\\A [x]||1|default|16\n"
            "S2 SOFTWARE\\A [x]|quo\"ted\\|1|C:\\a\r\nsecond; line|38\n"
            "S2 SOFTWARE\\A [x]|n|4|\xEE\xFF|4\n"
            "S2 SOFTWARE\\A [x]|h|3|\x01\x02\x0A\xFF|4\n"
            "S2 SOFTWARE\\A [x]|e|2|A|4\n"
            "S2 SOFTWARE\\A [x]|empty|3||0\n"
            "X2 SOFTWARE\\A [x]|gone|0||0\n"
            "D1 Old||0||0\n"
            "A3 ||0||0\n"
            "S3 |last|1|no line end|24\n");
  EXPECT_TRUE(good);
}

// Separated by "~".
constexpr TextView kBadLines =
    u"\"b\"~\"b\"=~b=\"x\"~\"b\"=\"open~\"b\"=\"\\q\"~\"b\"=\"x\" y~\"b\"=dword:~\"b\"=dword:123456789~"
    u"\"b\"=dword:1g~\"b\"=hex:100~\"b\"=hex:1,,2~\"b\"=hex:1,\\\r\n 2,~\"b\"=hex:zz,\\\r\n \"c\"=dword:1~"
    u"\"b\"=hex(:1~\"b\"=hex(123456789):1~@~\\~\"b\"=--~[HKEY_USERS\\x~[HKEY_NONE\\x]\r\n\"b\"=dword:1~"
    u"[-HKEY_USERS]\r\n\"b\"=dword:1~[]~[-]";

TEST(RegExport, WhatCannotBeReadIsLeftOutAlone) {
  for (const TextView text : {u"", u"\r\n", u"REGEDIT4\r\n[HKEY_USERS\\a]\r\n", u"[HKEY_USERS\\a]\r\n"}) {
    bool good = true;
    EXPECT_EQ(Entries(text, good), "");
    EXPECT_FALSE(good) << ToUtf8(text);
  }
  for (std::size_t start = 0; start < kBadLines.size();) {
    const TextView bad = kBadLines.substr(start, kBadLines.find(u'~', start) - start);
    start += bad.size() + 1;
    Text text = u"Windows Registry Editor Version 5.00\r\n[HKEY_USERS\\k]\r\n";
    text.append(bad).append(u"\r\n[HKEY_USERS\\l]\r\n\"n\"=dword:7\r\n");
    bool good = true;
    EXPECT_EQ(Entries(text, good), "A3 k||0||0\nA3 l||0||0\nS3 l|n|4|\x07|4\n") << ToUtf8(bad);
    EXPECT_FALSE(good) << ToUtf8(bad);
    for (std::size_t i = 0; i < text.size(); ++i) Entries(TextView(text).substr(0, i), good);
  }
}

TEST(RegExport, IntoARegistry) {
  MemoryRegistry registry;
  std::unique_ptr<os::RegistryKey> old;
  ASSERT_EQ(registry.Create(kUser, u"OLD\\below", kAll, old), 0u);
  ASSERT_EQ(registry.Create(os::RootKey::LocalMachine, u"software\\a [X]", kAll, old), 0u);
  ASSERT_EQ(old->SetData(u"GONE", os::RegType::kBinary, "x"), 0u);
  SetPendingSystemError(0);
  EXPECT_TRUE(registry.LoadRegExport(kExport));
  EXPECT_TRUE(registry.LoadRegExport(kExport));
  EXPECT_EQ(PendingSystemError(), 0u);
  std::uint32_t type = 0;
  std::string data;
  EXPECT_EQ(old->QueryData(u"gone", 9, type, data), 2u);
  EXPECT_EQ(old->QueryData(u"N", 9, type, data), 0u);
  EXPECT_EQ(data, "\xEE\xFF\0\0"sv);
  EXPECT_EQ(registry.Open(kUser, u"Old", kAll, old), 2u);
  EXPECT_FALSE(registry.LoadRegExport(u"nothing"));
}

}  // namespace
}  // namespace ovs
