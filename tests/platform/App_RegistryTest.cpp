#include "platform/App_Registry.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "diag/PendingError.h"
#include "os/MemoryRegistry.h"

namespace ovs {
namespace {

constexpr os::RootKey kMachine = os::RootKey::LocalMachine;

// Answers every Open with a code; remembers what was asked for.
class RefusingRegistry final : public MemoryRegistry {
 public:
  os::Error Open(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) override {
    lastKey = key;
    lastAccess = access;
    return error.Failed() ? error : MemoryRegistry::Open(root, key, access, out);
  }
  os::Error Create(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) override {
    lastAccess = access;
    return MemoryRegistry::Create(root, key, access, out);
  }
  os::Error error;
  Text lastKey;
  std::uint32_t lastAccess = 0;
};

class RegistryTest : public ::testing::Test {
 protected:
  RegistryTest() : scoped_(debug) {
    DebugSwitches switches = debug.Switches();
    switches.verbose = true;
    debug.SetSwitches(switches);
    debug.SetEntryListener([this](TextView entry, EventType /*type*/) { log.append(entry); });
  }
  bool Logged(TextView text) const { return log.find(text) != Text::npos; }

  App_Debug debug;
  ScopedDiagnostics scoped_;
  Text log;
  RefusingRegistry registry;
  App_Registry helper{registry};
};

TEST_F(RegistryTest, RegKeyExistByResult) {
  struct {
    std::uint32_t code;
    bool exists;
    TextView entry;
  } const cases[] = {{2, false, u"Registry key does not exist!"},
                     {3, false, u"Registry key does not exist!"},
                     {5, true, u"Access Denied; Returning True!"},
                     {87, true, u"WARNING:  Registry key may or may not exist!"},
                     {1015, true, u"Unknown Return Value."}};
  for (const auto& each : cases) {
    log.clear();
    registry.error = os::Error(each.code);
    EXPECT_EQ(helper.RegKeyExist(kMachine, u"SYSTEM\\x"), each.exists) << each.code;
    EXPECT_TRUE(Logged(each.entry)) << each.code << ToUtf8(log);
    EXPECT_TRUE(Logged(RegResultText(each.code))) << each.code;
    EXPECT_EQ(PendingSystemError(), 0u);
  }
}

TEST(App_Registry, NamesOfRootsAndResults) {
  constexpr TextView kRoots[] = {u"HKEY_CLASSES_ROOT",     u"HKEY_CURRENT_USER",   u"HKEY_LOCAL_MACHINE", u"HKEY_USERS",
                                 u"HKEY_PERFORMANCE_DATA", u"HKEY_CURRENT_CONFIG", u"HKEY_DYN_DATA",      u""};
  for (std::uint32_t i = 0; i < std::size(kRoots); ++i) EXPECT_EQ(RootKeyLongName(os::RootKey{0x80000000 + i}), kRoots[i]);
  const std::pair<std::uint32_t, TextView> results[] = {{0, u"API Success!"},
                                                        {1, u"Incorrect function."},
                                                        {2, u"The system cannot find the file specified. (key)"},
                                                        {3, u"The system cannot find the path specified."},
                                                        {4, u"The system cannot open the file. (ERROR_TOO_MANY_OPEN_FILES)"},
                                                        {5, u"Access is denied."},
                                                        {6, u"The handle is invalid."},
                                                        {7, u"The storage control blocks were destroyed."},
                                                        {8, u"Not enough storage is available to process this command."},
                                                        {14, u"Not enough storage is available to complete this operation."},
                                                        {87, u"The parameter is incorrect."},
                                                        {234, u"More data is available."},
                                                        {259, u"No more data is available."},
                                                        {1009, u"The configuration registry database is corrupt."},
                                                        {1010, u"The configuration registry key is invalid."},
                                                        {1011, u"The configuration registry key could not be opened."},
                                                        {1012, u"The configuration registry key could not be read."},
                                                        {1013, u"The configuration registry key could not be written."},
                                                        {1015, u"Unknown Return Value."}};
  for (const auto& [code, text] : results) EXPECT_EQ(RegResultText(code), text) << code;
}

TEST_F(RegistryTest, ViewAdjustment) {
  struct {
    TextView key;
    bool guest;
    TextView adjusted;
    std::uint32_t added;
  } const cases[] = {{u"SOFTWARE\\Orvanta", false, u"SOFTWARE\\Orvanta", 0x100},

                     {u"SOFTWAREX\\Orvanta", false, u"SOFTWAREX\\Orvanta", 0},

                     {u"SOFTWARE\\wow6432node\\Orvanta", false, u"SOFTWARE\\Orvanta", 0x200},
                     {u"SOFTWARE\\WOW6432Node\\Orvanta", true, u"SOFTWARE\\WOW6432Node\\Orvanta", 0},
                     {u"SOFTWARE\\WOW6432Node", false, u"SOFTWARE\\WOW6432Node", 0}};
  for (const auto& each : cases) {
    Text key(each.key);
    std::uint32_t access = os::RegAccess::kRead;
    EXPECT_TRUE(helper.AddRegFlagWOW64(kMachine, key, access, each.guest));
    EXPECT_EQ(key, each.adjusted) << ToUtf8(each.key);
    EXPECT_EQ(access, os::RegAccess::kRead | each.added) << ToUtf8(each.key);
  }
  EXPECT_TRUE(Logged(u"Removed 'WOW6432Node\\' from non-offline/guest registry key string..."));
  Text empty;
  std::uint32_t access = 0;
  EXPECT_FALSE(helper.AddRegFlagWOW64(kMachine, empty, access));
  EXPECT_TRUE(Logged(u"Aborting; Passed empty string!"));
  helper.RegKeyExist(kMachine, u"SOFTWARE\\x");
  EXPECT_EQ(registry.lastAccess, os::RegAccess::kRead | os::RegAccess::kView64);
  helper.RegKeyExist(kMachine, u"SOFTWARE\\x", true);
  EXPECT_EQ(registry.lastAccess, os::RegAccess::kRead);
}

TEST_F(RegistryTest, ValuesComeBackAsWritten) {
  const RegValue values[] = {Text(u"größer 日本"), Text(), std::vector<Text>{u"one", u"two"}, std::vector<Text>{},
                             std::uint32_t{0xFFEEDDCC}};
  for (const RegValue& value : values) {
    ASSERT_TRUE(helper.RegWriteValue(kMachine, u"SOFTWARE\\Orvanta\\New", u"name", value));
    EXPECT_EQ(registry.lastAccess & os::RegAccess::kView64, os::RegAccess::kView64);
    EXPECT_EQ(helper.RegReadValue(kMachine, u"SOFTWARE\\Orvanta\\New", u"NAME"), value) << value.index();
  }
  // Four bytes are two characters; a number has all four of its own.
  ASSERT_TRUE(helper.RegWriteValue(kMachine, u"SYSTEM\\x", u"name", Text(u"abc"), 4, os::RegType::kString));
  EXPECT_EQ(helper.RegReadString(kMachine, u"SYSTEM\\x", u"name"), u"ab");
  EXPECT_FALSE(helper.RegWriteValue(kMachine, u"SYSTEM\\x", u"name", Text(u"abc"), 8, os::RegType::kDword));
  debug.SetSwitches({.procDump = true});
  helper.RegWriteValue(kMachine, u"SYSTEM\\x", u"name", Text(u"abc"));
  EXPECT_NE(debug.ProcDump(false).find(u"<sep>vRegData=abc<sep>lDataLen=8<sep>"), Text::npos);
}

TEST_F(RegistryTest, WhatCannotBeWrittenIsRefused) {
  EXPECT_FALSE(helper.RegWriteValue(kMachine, u"SYSTEM\\x", u"n", std::string("bytes")));
  EXPECT_TRUE(Logged(u"REG_BINARY not supported in this function."));
  EXPECT_FALSE(helper.RegWriteValue(kMachine, u"SYSTEM\\x", u"n", RegExpandString(u"%x%")));
  EXPECT_FALSE(helper.RegWriteValue(kMachine, u"SYSTEM\\x", u"n", std::vector<Text>{u"a", u"", u"b"}));
  EXPECT_FALSE(helper.RegWriteValue(kMachine, u"", u"n", Text(u"x")));
  EXPECT_FALSE(helper.RegKeyExist(kMachine, u"SYSTEM\\x"));
}

TEST_F(RegistryTest, StoredFormsThatOtherProgramsLeave) {
  std::unique_ptr<os::RegistryKey> key;
  ASSERT_EQ(registry.Create(kMachine, u"SYSTEM\\x", os::RegAccess::kWrite | os::RegAccess::kRead, key), os::kSuccess);
  using namespace std::string_view_literals;
  const auto read = [&](TextView name) { return helper.RegReadValue(kMachine, u"SYSTEM\\x", name); };
  struct {
    TextView name;
    std::uint32_t type;
    std::string_view stored;
    RegValue value;
  } const cases[] = {{u"unterminated", os::RegType::kString, "a\0b\0"sv, Text(u"ab")},
                     {u"rubbish behind", os::RegType::kString, "a\0\0\0z\0"sv, Text(u"a")},
                     {u"odd", os::RegType::kString, "a\0b"sv, Text(u"a")},
                     {u"expand", os::RegType::kExpandString, "%\0x\0%\0\0\0"sv, RegExpandString(u"%x%")},
                     {u"list", os::RegType::kMultiString, "a\0\0\0b\0"sv, std::vector<Text>{u"a", u"b"}},
                     {u"binary", os::RegType::kBinary, "\x01\0\x02"sv, std::string("\x01\0\x02"sv)},
                     {u"short number", os::RegType::kDword, "\x01\0"sv, RegValue()}};
  for (const auto& each : cases) {
    ASSERT_TRUE(key->SetData(each.name, each.type, each.stored).Ok());
    EXPECT_EQ(read(each.name), each.value) << ToUtf8(each.name);
  }
  EXPECT_EQ(read(u"missing"), RegValue());
  EXPECT_TRUE(Logged(u"RegQueryValueExW REG_SZ (Length)"));
  EXPECT_EQ(helper.RegReadString(kMachine, u"SYSTEM\\x", u"expand"), u"%x%");
  EXPECT_EQ(helper.RegReadString(kMachine, u"SYSTEM\\x", u"binary"), u"");
  ASSERT_TRUE(key->SetData(u"large", os::RegType::kMultiString, std::string((1u << 20) + 2, 'x')).Ok());
  EXPECT_EQ(read(u"large"), RegValue());
  EXPECT_TRUE(Logged(u"RegQueryValueExW REG_MULTI_SZ (Length) 234 More data is available."));
}

}  // namespace
}  // namespace ovs
