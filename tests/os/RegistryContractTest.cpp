// What base/os/Registry.h promises, asked of the machine's registry and of the one in memory.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "os/MemoryRegistry.h"
#include "os/System.h"

namespace ovs {
namespace {

using namespace std::string_view_literals;

constexpr os::RootKey kUser = os::RootKey::CurrentUser;
constexpr std::uint32_t kAll = os::RegAccess::kRead | os::RegAccess::kWrite;

class RegistryContract : public ::testing::TestWithParam<bool> {
 protected:
  void TearDown() override { registry.DeleteKey(kUser, base, kAll).Ignore(); }

  std::unique_ptr<os::RegistryKey> Make(TextView key, std::uint32_t access = kAll) {
    std::unique_ptr<os::RegistryKey> out;
    EXPECT_EQ(registry.Create(kUser, key, access, out), os::kSuccess) << ToUtf8(key);
    return out;
  }
  os::Error Open(TextView key) {
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
  for (const auto& each : values)
    ASSERT_EQ(key->SetData(each.name, each.type, each.data), os::kSuccess) << ToUtf8(each.name);
  for (const auto& each : values) {
    std::uint32_t type = 99;
    std::uint32_t length = 99;
    std::string data = "old";
    EXPECT_EQ(key->QueryLength(each.name, type, length), os::kSuccess) << ToUtf8(each.name);
    EXPECT_EQ(length, each.data.size()) << ToUtf8(each.name);
    EXPECT_EQ(key->QueryData(each.name, length, type, data), os::kSuccess) << ToUtf8(each.name);
    EXPECT_EQ(type, each.type);
    EXPECT_EQ(data, each.data) << ToUtf8(each.name);
  }
  EXPECT_EQ(key->SetData(u"GRÖßE 日本", os::RegType::kDword, "\1\0\0\0"sv), os::kSuccess);
  std::uint32_t type = 0;
  std::string data;
  EXPECT_EQ(key->QueryData(u"größe 日本", 100, type, data), os::kSuccess);
  EXPECT_EQ(data, "\1\0\0\0"sv);
}

TEST_P(RegistryContract, FailuresTellTheirNumber) {
  auto key = Make(base + u"\\Sub");
  ASSERT_TRUE(key);
  const auto reader = Make(base + u"\\Sub", os::RegAccess::kRead);
  ASSERT_EQ(key->SetData(u"v", os::RegType::kBinary, "12345"), os::kSuccess);
  std::uint32_t type = 0;
  std::uint32_t length = 0;
  std::string data;
  const auto expect = [](os::Error error, std::uint32_t expected, const char* call) {
    EXPECT_EQ(error.Number(), expected) << call;
  };
  expect(key->QueryLength(u"missing", type, length), 2, "QueryLength");
  expect(key->QueryData(u"missing", 10, type, data), 2, "QueryData");
  expect(key->QueryData(u"v", 4, type, data), 234, "QueryData limit");
  expect(key->DeleteValue(u"missing"), 2, "DeleteValue");
  expect(reader->SetData(u"v", os::RegType::kBinary, ""), 5, "SetData without the right");
  expect(Open(base + u"\\missing"), 2, "Open");
  expect(Open(base + u"\\missing\\below"), 2, "Open below");
  expect(registry.DeleteKey(kUser, base + u"\\missing", kAll), 2, "DeleteKey");
  expect(registry.DeleteKey(kUser, base, kAll), 5, "DeleteKey with subkeys");
  expect(key->DeleteValue(u"V"), 0, "DeleteValue");
  expect(Open(base + u"\\SUB\\"), 0, "Open in another case");
  expect(registry.DeleteKey(kUser, base + u"\\sub", kAll), 0, "DeleteKey");
  expect(key->QueryLength(u"v", type, length), 1018, "QueryLength of a deleted key");
}

TEST(MemoryRegistryTest, KeysOutliveTheRegistry) {
  auto registry = std::make_unique<MemoryRegistry>();
  std::unique_ptr<os::RegistryKey> key;
  ASSERT_EQ(registry->Create(os::RootKey::LocalMachine, u"a\\b", kAll, key), os::kSuccess);
  EXPECT_EQ(registry->Open(static_cast<os::RootKey>(0x80000007), u"a", kAll, key), SystemError::kInvalidHandle);
  ASSERT_EQ(registry->Create(os::RootKey::LocalMachine, u"A\\B", kAll, key), os::kSuccess);
  registry.reset();
  EXPECT_EQ(key->SetData(u"v", os::RegType::kBinary, "x"), os::kSuccess);
}

}  // namespace
}  // namespace ovs
