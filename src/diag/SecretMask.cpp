#include "diag/SecretMask.h"

#include <algorithm>
#include <string>

#include "base/Base64.h"
#include "base/Encoding.h"

namespace ovs {

namespace {

constexpr TextView kMask = u"***";
// The digits that the bytes always give when `before` bytes (0 to 2) of an unknown text precede them in a group of three.
Text InnerBase64(const std::string& bytes, std::size_t before) {
  constexpr std::size_t kDigitsTouchedBefore[] = {0, 2, 3};
  const Text digits = FromUtf8(Base64Digits(std::string(before, '\0') + bytes, false));
  return digits.size() > kDigitsTouchedBefore[before] ? digits.substr(kDigitsTouchedBefore[before]) : Text();
}

}  // namespace

void SecretMask::Add(TextView secret) {
  if (secret.size() < kShortest) return;
  AddPattern(Text(secret));
  const std::string bytes = ToUtf8(secret);
  AddPattern(FromUtf8(Base64(bytes)));
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
