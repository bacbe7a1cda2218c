#include "diag/SecretMask.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "base/Encoding.h"

namespace ovs {

namespace {

constexpr TextView kMask = u"***";
constexpr TextView kBase64Digits = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The complete digits of the bytes, without padding; `rest` tells whether a last incomplete digit is added.
Text Base64Digits(std::string_view bytes, bool rest) {
  Text digits;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char byte : bytes) {
    bits = (bits << 8) | static_cast<unsigned char>(byte);
    for (count += 8; count >= 6; count -= 6) digits += kBase64Digits[(bits >> (count - 6)) & 0x3F];
  }
  if (rest && count > 0) digits += kBase64Digits[(bits << (6 - count)) & 0x3F];
  return digits;
}

Text Base64(std::string_view bytes) {
  Text digits = Base64Digits(bytes, true);
  while (digits.size() % 4 != 0) digits += u'=';
  return digits;
}

// The digits that the bytes always give when `before` bytes (0 to 2) of an unknown text precede them in a group of three.
Text InnerBase64(const std::string& bytes, std::size_t before) {
  constexpr std::size_t kDigitsTouchedBefore[] = {0, 2, 3};
  const Text digits = Base64Digits(std::string(before, '\0') + bytes, false);
  return digits.size() > kDigitsTouchedBefore[before] ? digits.substr(kDigitsTouchedBefore[before]) : Text();
}

}  // namespace

void SecretMask::Add(TextView secret) {
  if (secret.size() < kShortest) return;
  AddPattern(Text(secret));
  const std::string bytes = ToUtf8(secret);
  AddPattern(Base64(bytes));
  for (std::size_t before = 0; before < 3; ++before) AddPattern(InnerBase64(bytes, before));
}

void SecretMask::AddPattern(Text pattern) {
  if (pattern.size() < kShortest || std::find(patterns_.begin(), patterns_.end(), pattern) != patterns_.end()) return;
  const auto shorter = [&](const Text& other) { return other.size() < pattern.size(); };
  patterns_.insert(std::find_if(patterns_.begin(), patterns_.end(), shorter), std::move(pattern));
}

bool SecretMask::Apply(Text& text) const {
  bool changed = false;
  for (const Text& pattern : patterns_) {
    for (std::size_t at = text.find(pattern); at != Text::npos; at = text.find(pattern, at + kMask.size())) {
      text.replace(at, pattern.size(), kMask);
      changed = true;
    }
  }
  return changed;
}

}  // namespace ovs
