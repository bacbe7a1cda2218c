// Encrypted values, and the cipher below them. Cipher texts come from "openssl enc -aes-256-cbc".
#include "config/ckCrypt_Config.h"

#include <algorithm>
#include <array>

#include "support/PlatformTest.h"

namespace ovs {
namespace {

const Text kSecret = u"<ev~>066D6E0F02F4E04F6ABE0CAC2E2BE767";  // "secret"
const Text kOld = u"~{6D312C2C7A1B515440003454";                // "old secret"

std::string Bytes(std::string_view hex) {
  std::string bytes;
  for (; !hex.empty(); hex.remove_prefix(2)) bytes += static_cast<char>(std::stoi(std::string(hex.substr(0, 2)), {}, 16));
  return bytes;
}

struct CipherTest : ::testing::Test {
  // The failure of decrypting; success when it leaves anything.
  os::Error Refusal(const std::string& cipher) {
    std::string out = "old";
    const os::Error error = crypto.Decrypt(key, iv, cipher, out);
    return out.empty() ? error : os::kSuccess;
  }
  os::Crypto& crypto = os::SystemCrypto();
  std::string key = Bytes("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F");
  std::string iv = Bytes("F0E1D2C3B4A5968778695A4B3C2D1E0F");
};

TEST_F(CipherTest, KnownCipherTexts) {
  const std::pair<std::size_t, const char*> cases[] = {
      {0, "2d04fcdaef98cf1775a33c133e5d4e30"},  {1, "2abbecdb732530bc471962970ccad666"},
      {15, "1ac32fd7457e53b5e0d63bc85635cafb"}, {16, "ef64fd28a2c835849b6a28d4a58ed6951923b15807a69ebc6c5df2f8d0993055"},
      {17, "26f644c49255a4ce257fa9c365fd67df"}, {1000, "ba2c34cdf0666bafd21b03d4550e7a74"}};
  for (const auto& [size, tail] : cases) {
    std::string plain;
    while (plain.size() < size) plain += static_cast<char>((plain.size() * 7 + 3) & 255);
    std::string text = plain;
    ASSERT_TRUE(crypto.Encrypt(key, iv, text, text).Ok()) << size;  // the output may be the input
    EXPECT_EQ(text.size(), size / 16 * 16 + 16);
    EXPECT_TRUE(text.ends_with(Bytes(tail))) << size;
    ASSERT_TRUE(crypto.Decrypt(key, iv, text, text).Ok()) << size;
    EXPECT_EQ(text, plain);
  }
  std::string random(4096, '\0');
  ASSERT_TRUE(crypto.RandomBytes(random).Ok() && crypto.RandomBytes({}).Ok());
  std::ranges::sort(random);
  EXPECT_EQ(std::ranges::unique(random).begin() - random.begin(), 256);
}

TEST_F(CipherTest, EveryPadByteCounts) {
  // What they hold: "A" * 15 and 00, "A" * 15 and 11, "A" * 13 and 02 03 03, "A" and 10 * 15, 0F and 10 * 15.
  for (const char* hex : {"8cdbe4c9b09ddfd0ca771f84cf34e836", "58bf62ba9ddb963339f73325fb645696",
                          "5e58974025aca7ea81c7b11c96e1321b", "474f762db849447c78c4b623ad3087c3",
                          "97f5a1a5b0aca0fc220151310456a07d", "", "00", "97f5a1a5b0aca0fc220151310456a07d97"})
    EXPECT_EQ(Refusal(Bytes(hex)), SystemError::kInvalidData) << hex;
  key.swap(iv);
  EXPECT_EQ(Refusal(key), SystemError::kInvalidParameter);
}

struct CkCryptConfigTest : PlatformTest {
  CkCryptConfigTest() { debug.SetSwitches({}); }
  Text Plain(TextView value) { return crypt.ConvertEncryptedValue(value, false); }
  Text Encrypted(TextView value) { return crypt.ConvertEncryptedValue(value, true); }

  ckCrypt_Config crypt{os::SystemCrypto()};
};

TEST_F(CkCryptConfigTest, KnownValues) {
  const std::pair<Text, Text> cases[] = {
      {u"", u"D4992A50BDCE6ABA6FBF6CC23F8FF3CA"},
      {u"secret", kSecret.substr(5)},
      {u"Sixteen letters!", u"0F0E0931BDF6F867BE81C54C8BA07841DFD8EC6E4E3F533522FB4D9870C8F3E8"},
      {u"Gr\u00FC\u00DFe \u20AC \U0001F511", u"03CA3BDA5B9810231E61B0E15C4140780238DCAFEFC03A7F6EC626FCE266659B"}};
  for (const auto& [plain, hex] : cases) {
    EXPECT_EQ(crypt.EncryptCfgValue(plain), hex);
    EXPECT_EQ(crypt.DecryptCfgValue(hex), plain);
  }
  EXPECT_EQ(Plain(u"<ev~>066d6e0f02f4e04F6ABE0CAC2E2BE767"), u"secret");
  EXPECT_EQ(Plain(Encrypted(Text(1, char16_t{0xD800}))), u"\uFFFD");
  // The older form; its first and last characters do not count.
  EXPECT_EQ(Plain(u"~{6da2222D28480607123F250310231338711C540F3672603F331A5F5B5B0628834D"),
            u"\u00FCber 20 Zeichen lang, wirklich\u00E9");
  EXPECT_EQ(crypt.TryDecrypt(u"~{6D60"), Text());
}

TEST_F(CkCryptConfigTest, Markers) {
  using Case = std::array<Text, 3>;  // value, its marker, what decrypting gives
  for (const auto& [value, marker, plain] :
       {Case{u"", u"", u""}, Case{u"<ev~>", u"", u"<ev~>"}, Case{u"~{", u"", u"~{"}, Case{u"<EV~>66", u"", u"<EV~>66"},
        Case{u" <ev~>66", u"", u" <ev~>66"}, Case{kSecret, u"<ev~>", u"secret"}, Case{kOld, u"~{", u"old secret"}}) {
    Text found = u"?";
    int length = -1;
    EXPECT_EQ(ckCrypt_Config::IsEncryptedValue_KVP(value, found, length), !marker.empty()) << ToUtf8(value);
    EXPECT_EQ(found, marker);
    EXPECT_EQ(length, static_cast<int>(marker.size()));
    EXPECT_EQ(Plain(value), plain) << ToUtf8(value);
    const bool stays = value.empty() || value.starts_with(u"<ev~>");
    EXPECT_EQ(Encrypted(value) == value, stays) << ToUtf8(value);
    EXPECT_EQ(Plain(Encrypted(value)), stays ? plain : value);
  }
  // A marker of the caller's choice counts alone.
  const auto convert = [&](TextView value, bool encrypt) { return crypt.ConvertEncryptedValue(value, encrypt, u"#!", 2); };
  const Text own = u"#!" + kSecret.substr(5);
  EXPECT_EQ(convert(u"secret", true) + convert(own, true) + convert(own, false), own + own + u"secret");
  for (const Text& stays : {kSecret, Text(u"#!"), Text(u"secret")}) EXPECT_EQ(convert(stays, false), stays);
  EXPECT_EQ(crypt.ConvertEncryptedValue(kOld, false, u"~{", 2), u"old secret");
}

TEST_F(CkCryptConfigTest, DamagedValuesAreEmptyAndTold) {
  for (const Text& value :
       {kSecret.substr(0, 36), kSecret.substr(0, 35), Text(u"<ev~>6 6D"), Text(u"<ev~>\uFF16\uFF16"),
        Text(u"<ev~>9BDE6EDA197158CB72F2502A1139A9E3") /* 61 62 FF */, Text(u"~{6D3"), Text(u"~{6D"), Text(u"~{6Dxx31")}) {
    EXPECT_EQ(crypt.TryDecrypt(value), std::nullopt) << ToUtf8(value);
    EXPECT_EQ(Plain(value), u"");
  }
  // One bit of a value's only block: found, but for the odd one whose padding happens to be right.
  int found = 0;
  for (std::size_t bit = 0; bit < 128; ++bit) {
    Text value = kSecret;
    const TextView digits = u"0123456789ABCDEF";
    value[5 + bit / 4] = digits[digits.find(value[5 + bit / 4]) ^ (1u << bit % 4)];
    const auto plain = crypt.TryDecrypt(value);
    EXPECT_NE(plain, u"secret");
    if (!plain) ++found;
  }
  EXPECT_GE(found, 120);
  EXPECT_EQ(log, u"");  // whose value it is, and how often to say so, is the caller's business
}

TEST_F(CkCryptConfigTest, NoSecretInTraces) {
  debug.SetSwitches({.verbose = true, .procDump = true});
  for (const Text& value : {Encrypted(u"Pa55word"), Text(u"Pa55word")}) EXPECT_EQ(Plain(value), u"Pa55word");
  EXPECT_EQ(crypt.DecryptCfgValue(u"Pa55word") + Plain(kOld), u"old secret");
  const Text all = log + debug.ProcDump(false);
  EXPECT_NE(all.find(u"DecryptCfgValue"), Text::npos);
  for (const TextView secret : {u"Pa55word", u"old secret"}) EXPECT_EQ(all.find(secret), Text::npos) << ToUtf8(all);
}

TEST_F(CkCryptConfigTest, AFailingCipherLosesNothing) {
  struct : os::Crypto {
    os::Error RandomBytes(std::span<char>) override { return SystemError::kGeneralFailure; }
    os::Error Transform(Direction, std::string_view, std::string_view, std::span<char>) override {
      return SystemError::kGeneralFailure;
    }
  } broken;
  const ckCrypt_Config failing(broken);
  EXPECT_EQ(failing.ConvertEncryptedValue(u"secret", true), u"secret");
  EXPECT_EQ(failing.TryDecrypt(kSecret), std::nullopt);
  EXPECT_NE(log.find(u"ckCrypt_Config.EncryptCfgValue"), Text::npos);
  EXPECT_NE(log.find(u"ckCrypt_Config.DecryptCfgValue"), Text::npos);
}

}  // namespace
}  // namespace ovs
