#include "diag/SecretMask.h"

#include <algorithm>
#include <string>

#include "base/Encoding.h"
#include "base/Wipe.h"

namespace ovs {

namespace {

constexpr TextView kMask = u"***";

// A Base64 digit holds 6 bits, so a text that does not begin a group of three bytes shares its first digit with an unknown
// neighbour, and its last one likewise. Between them the digits depend on the secret alone: three patterns, one for each
// place in the group, find it inside any longer text.
//
// The digits that the bytes always give when `before` bytes (0 to 2) of an unknown text precede them in a group of three.
Text InnerBase64(std::string_view bytes, std::size_t before) {
  constexpr std::size_t kDigitsTouchedBefore[] = {0, 2, 3};
  std::string group;
  group.reserve(before + bytes.size());
  group.append(before, '\0').append(bytes);
  const WipeAtEnd groupWiped(group);
  std::string digits = Base64Digits(group, false);
  const WipeAtEnd digitsWiped(digits);
  return FromUtf8(std::string_view(digits).substr(std::min(digits.size(), kDigitsTouchedBefore[before])));
}

Text WholeBase64(std::string_view bytes) {
  std::string digits = Base64(bytes);
  const WipeAtEnd wiped(digits);
  return FromUtf8(digits);
}

}  // namespace

SecretMask::~SecretMask() {
  for (Text& pattern : patterns_) Wipe(pattern);
}

bool SecretMask::Knows(TextView pattern) const { return std::ranges::find(patterns_, pattern) != patterns_.end(); }

void SecretMask::Add(TextView secret) {
  if (secret.size() < kShortest || Knows(secret)) return;
  AddPattern(Text(secret));
  std::string bytes = ToUtf8(secret);
  const WipeAtEnd wiped(bytes);
  AddPattern(WholeBase64(bytes));
  for (std::size_t before = 0; before < 3; ++before) AddPattern(InnerBase64(bytes, before));
}

void SecretMask::AddPattern(Text pattern) {
  const WipeAtEnd wiped(pattern);
  if (pattern.size() < kShortest || Knows(pattern)) return;
  const auto shorter = [&](const Text& other) { return other.size() < pattern.size(); };
  patterns_.insert(std::ranges::find_if(patterns_, shorter), std::move(pattern));
}

// Longest first: a secret that contains another must not leave its rest behind.
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

Text SecretMask::Masked(TextView text) const {
  Text masked(text);
  Apply(masked);
  return masked;
}

}  // namespace ovs
