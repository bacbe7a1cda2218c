// Replaces registered secrets by "***" wherever diagnostics show a text. Not locked: its owner lets one thread in at a time.
#pragma once

#include <vector>

#include "base/Text.h"

namespace ovs {

class SecretMask {
 public:
  static constexpr std::size_t kShortest = 4;  // characters

  SecretMask() = default;
  ~SecretMask();  // wipes them
  SecretMask(const SecretMask&) = delete;
  SecretMask& operator=(const SecretMask&) = delete;

  // Registers a secret of at least kShortest characters; shorter ones would blank out ordinary words. Its Base64 form
  // (of its UTF-8 bytes, alone or inside a longer encoded text) is masked as well.
  void Add(TextView secret);

  // True when the text was changed.
  bool Apply(Text& text) const;
  [[nodiscard]] Text Masked(TextView text) const;

 private:
  [[nodiscard]] bool Knows(TextView pattern) const;
  void AddPattern(Text pattern);

  std::vector<Text> patterns_;  // longest first
};

}  // namespace ovs
