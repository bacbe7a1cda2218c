#include "base/Base64.h"

#include <cstdint>

namespace ovs {

namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string Base64Digits(std::string_view bytes, bool rest) {
  std::string digits;
  digits.reserve((bytes.size() + 2) / 3 * 4);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char byte : bytes) {
    bits = (bits << 8) | static_cast<unsigned char>(byte);
    for (count += 8; count >= 6; count -= 6) digits += kDigits[(bits >> (count - 6)) & 0x3F];
  }
  if (rest && count > 0) digits += kDigits[(bits << (6 - count)) & 0x3F];
  return digits;
}

std::string Base64(std::string_view bytes) {
  std::string digits = Base64Digits(bytes, true);
  while (digits.size() % 4 != 0) digits += '=';
  return digits;
}

}  // namespace ovs
