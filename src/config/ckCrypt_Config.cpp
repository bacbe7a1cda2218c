#include "config/ckCrypt_Config.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>

#include "base/Encoding.h"
#include "base/Wipe.h"
#include "diag/Proc.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"ckCrypt_Config";
constexpr TextView kMarker = u"<ev~>";
constexpr TextView kOldMarker = u"~{";
constexpr TextView kInvalidDataError = u"13";  // what the cipher records for bytes that are none of its own
constexpr unsigned kFirstAddend = 3;
constexpr unsigned kAddends = 7;

bool IsMarked(TextView value, TextView marker) { return value.size() > marker.size() && value.starts_with(marker); }

// The marker that a value bears, "" for a plain one.
TextView MarkerOf(TextView value) {
  if (IsMarked(value, kMarker)) return kMarker;
  return IsMarked(value, kOldMarker) ? kOldMarker : TextView();
}

// Each code is short of its character by an addend that goes round. It comes out of a volatile, or the compiler would do
// the sum and the program file would hold the text.
Text Spell(std::span<const std::uint8_t> codes) {
  const volatile unsigned first = kFirstAddend;
  Text text;
  text.reserve(codes.size());
  for (std::size_t i = 0; i < codes.size(); ++i) text += static_cast<char16_t>(codes[i] + first + i % kAddends);
  return text;
}

Text ToHex(std::string_view bytes) {
  constexpr TextView kDigits = u"0123456789ABCDEF";
  Text hex;
  hex.reserve(bytes.size() * 2);
  for (const char each : bytes) {
    const auto byte = static_cast<unsigned char>(each);
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 0xF];
  }
  return hex;
}

int DigitOf(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
  return -1;
}

bool FromHex(TextView hex, std::string& bytes) {
  bytes.clear();
  bytes.reserve(hex.size() / 2);
  if (hex.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int high = DigitOf(hex[i]);
    const int low = DigitOf(hex[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

// Bytes of a key for as long as they are needed.
class KeyBytes {
 public:
  explicit KeyBytes(Text hex) {
    const WipeAtEnd wiped(hex);
    FromHex(hex, bytes_);
  }
  [[nodiscard]] std::string_view Get() const { return bytes_; }

 private:
  std::string bytes_;
  WipeAtEnd<char> wiped_{bytes_};
};

}  // namespace

Text ckCrypt_Config::KeyHex() {
  static constexpr std::uint8_t kCodes[] = {65, 62, 51, 63, 59, 48, 46, 65, 52, 50, 62, 49, 44, 41, 66, 63,
                                            48, 51, 62, 41, 48, 49, 45, 63, 46, 58, 59, 45, 64, 62, 50, 45,
                                            46, 49, 57, 53, 48, 63, 63, 43, 57, 56, 52, 49, 44, 49, 50, 43,
                                            48, 63, 51, 44, 62, 47, 62, 41, 45, 50, 49, 48, 46, 62, 58, 66};
  return Spell(kCodes);
}

Text ckCrypt_Config::IvHex() {
  static constexpr std::uint8_t kCodes[] = {52, 45, 44, 64, 48, 62, 47, 50, 52, 43, 59, 44, 48, 46, 46, 62,
                                            45, 49, 49, 45, 47, 63, 47, 49, 50, 63, 59, 39, 47, 62, 61, 42};
  return Spell(kCodes);
}

Text ckCrypt_Config::OldKey() {
  static constexpr std::uint8_t kCodes[] = {78, 90, 59,  66, 83,  96, 43, 52,  46, 96,
                                            58, 99, 107, 66, 115, 82, 76, 106, 46, 89};
  return Spell(kCodes);
}

bool ckCrypt_Config::IsEncryptedValue_KVP(TextView sValue, Text& sMarker, int& lMarkerLen) noexcept {
  Proc proc(kModule, u"IsEncryptedValue_KVP", ProcKind::Function);
  const std::size_t lValueLen = sValue.size();
  proc.ByVal(u"lValueLen", lValueLen);
  proc.ReturnedByRef(u"sMarker", sMarker);
  proc.ReturnedByRef(u"lMarkerLen", lMarkerLen);
  return proc.Run(false, [&] {
    lMarkerLen = 0;
    sMarker = MarkerOf(sValue);
    lMarkerLen = static_cast<int>(sMarker.size());
    return lMarkerLen > 0;
  });
}

Text ckCrypt_Config::ConvertEncryptedValue(TextView sValue, bool bEncrypt, TextView sMarker, int lMarkerLen) const noexcept {
  Proc proc(kModule, u"ConvertEncryptedValue", ProcKind::Function);
  const std::size_t lValueLen = sValue.size();
  Text converted;
  proc.ByVal(u"lValueLen", lValueLen);
  proc.ByVal(u"bEncrypt", bEncrypt);
  proc.ByVal(u"sMarker", sMarker);
  proc.ByVal(u"lMarkerLen", lMarkerLen);
  proc.Run([&] {
    const bool isMarkerGiven = lMarkerLen > 0 && !sMarker.empty();
    if (bEncrypt) {
      converted = Encrypted(sValue, isMarkerGiven ? sMarker : kMarker);
    } else if (!isMarkerGiven) {
      converted = TryDecrypt(sValue).value_or(Text());
    } else {
      converted = Decrypted(sValue, sMarker, static_cast<std::size_t>(lMarkerLen)).value_or(Text());
    }
  });
  return converted;
}

Text ckCrypt_Config::Encrypted(TextView value, TextView marker) const {
  Text result(value);
  if (value.empty() || value.starts_with(marker)) return result;
  const Text hex = EncryptCfgValue(value);
  if (!hex.empty()) result.assign(marker).append(hex);
  return result;
}

std::optional<Text> ckCrypt_Config::Decrypted(TextView value, TextView marker, std::size_t markerLength) const {
  const bool isOld = marker == kOldMarker;
  const std::size_t skipped = isOld ? marker.size() : markerLength;
  if (!IsMarked(value, marker) || value.size() <= skipped) return Text(value);
  return isOld ? DecodeOld(value.substr(skipped)) : Decipher(value.substr(skipped));
}

std::optional<Text> ckCrypt_Config::TryDecrypt(TextView value) const noexcept {
  Proc proc(kModule, u"TryDecrypt", ProcKind::Function);
  const std::size_t lValueLen = value.size();
  std::optional<Text> plain;
  proc.ByVal(u"lValueLen", lValueLen);
  proc.Run([&] {
    const TextView marker = MarkerOf(value);
    plain = marker.empty() ? Text(value) : Decrypted(value, marker, marker.size());
  });
  return plain;
}

Text ckCrypt_Config::EncryptCfgValue(TextView sPlain) const noexcept {
  Proc proc(kModule, u"EncryptCfgValue", ProcKind::Function);
  const std::size_t lPlainLen = sPlain.size();
  Text hex;
  proc.ByVal(u"lPlainLen", lPlainLen);
  proc.Run([&] {
    std::string plain = ToUtf8(sPlain);
    const WipeAtEnd wiped(plain);
    std::string cipher;
    const os::Error error = crypto_.Encrypt(KeyBytes(KeyHex()).Get(), KeyBytes(IvHex()).Get(), plain, cipher);
    if (error.Ok()) {
      hex = ToHex(cipher);
    } else {
      proc.Fail(error).Log(u"The value cannot be encrypted!", EventType::ApiError);
    }
  });
  return hex;
}

Text ckCrypt_Config::DecryptCfgValue(TextView sHex) const noexcept {
  std::optional<Text> plain = Decipher(sHex);
  return plain ? *std::move(plain) : Text();
}

std::optional<Text> ckCrypt_Config::Decipher(TextView sHex) const noexcept {
  Proc proc(kModule, u"DecryptCfgValue", ProcKind::Function);
  const std::size_t lHexLen = sHex.size();
  std::optional<Text> text;
  proc.ByVal(u"lHexLen", lHexLen);
  proc.Run([&] {
    std::string cipher;
    std::string plain;
    const WipeAtEnd wiped(plain);
    if (!FromHex(sHex, cipher)) {
      proc.Log(u"The value is not hexadecimal text!", EventType::Verbose);
      return;
    }
    const os::Error error = crypto_.Decrypt(KeyBytes(KeyHex()).Get(), KeyBytes(IvHex()).Get(), cipher, plain);
    if (error.Failed()) {
      // Damaged values are an ordinary note: the caller reports them.
      proc.Fail(error).Log(u"The value cannot be decrypted!", EventType::ApiError, {}, {}, kInvalidDataError);
    } else if (!IsValidUtf8(plain)) {
      proc.Log(u"The decrypted value is not text!", EventType::Verbose);
    } else {
      text = FromUtf8(plain);
    }
  });
  return text;
}

std::optional<Text> ckCrypt_Config::DecodeOld(TextView body) noexcept {
  Proc proc(kModule, u"DecodeOld", ProcKind::Function);
  const std::size_t lBodyLen = body.size();
  std::optional<Text> text;
  proc.ByVal(u"lBodyLen", lBodyLen);
  proc.Run([&] {
    std::string bytes;
    // The first and the last character were put around the value.
    if (!FromHex(body, bytes) || bytes.size() < 2) {
      proc.Log(u"The value is not hexadecimal text of two characters or more!", EventType::Verbose);
      return;
    }
    Text key = OldKey();
    const WipeAtEnd wiped(key);
    Text plain;
    plain.reserve(bytes.size() - 2);
    for (std::size_t i = 1; i + 1 < bytes.size(); ++i) {
      plain += static_cast<char16_t>(key[i % key.size()] ^ static_cast<unsigned char>(bytes[i]));
    }
    text = std::move(plain);
  });
  return text;
}

}  // namespace ovs
