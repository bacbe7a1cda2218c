#include "mail/message/StoredPassword.h"

#include <charconv>
#include <string>
#include <system_error>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "base/Wipe.h"

namespace ovs::StoredPassword {

namespace {

constexpr std::size_t kEnds = 2;

// The byte of each pair of digits; false for anything that is no digit, or an odd number of them.
bool FromHex(TextView hex, std::string& bytes) {
  std::string digits = ToUtf8(hex);
  const WipeAtEnd wiped(digits);
  bytes.reserve(digits.size() / 2);
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    unsigned char byte = 0;
    const char* const pair = digits.data() + i;
    const auto [end, error] = std::from_chars(pair, pair + 2, byte, 16);
    if (error != std::errc() || end != pair + 2) return false;
    bytes += static_cast<char>(byte);
  }
  return digits.size() % 2 == 0;
}

// Its own inverse.
void Combine(std::string& bytes, TextView key) {
  bool lossless = true;
  const std::string keyBytes = ToWindows1252(key, lossless);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(bytes[i] ^ keyBytes[i % keyBytes.size()]);
}

char Printable(char random) {
  constexpr unsigned kCount = 0x7E - 0x21 + 1;
  return static_cast<char>(0x21 + static_cast<unsigned char>(random) % kCount);
}

}  // namespace

Unscrambled UnscrambleText(TextView stored, TextView key) {
  if (stored.empty()) return {};
  std::string bytes;
  const WipeAtEnd wiped(bytes);
  if (!FromHex(stored, bytes)) return {{}, u"it does not consist of pairs of hexadecimal digits"};
  if (bytes.size() < kEnds) return {{}, u"it is too short"};
  Combine(bytes, key);
  return {FromWindows1252(std::string_view(bytes).substr(1, bytes.size() - kEnds)), {}};
}

os::Error ScrambleText(TextView text, TextView key, os::Crypto& crypto, Text& stored) {
  char ends[kEnds];
  stored.clear();
  if (!IsWindows1252(text)) return SystemError::kInvalidData;
  if (const os::Error error = crypto.RandomBytes(ends); error.Failed()) return error;
  bool lossless = true;
  std::string plain = ToWindows1252(text, lossless);
  const WipeAtEnd plainWiped(plain);
  std::string bytes;
  const WipeAtEnd wiped(bytes);
  bytes.reserve(plain.size() + kEnds);
  bytes.append(1, Printable(ends[0])).append(plain).append(1, Printable(ends[1]));
  Combine(bytes, key);
  for (const char byte : bytes) stored += HexText(static_cast<unsigned char>(byte), 2);
  return os::kSuccess;
}

}  // namespace ovs::StoredPassword
