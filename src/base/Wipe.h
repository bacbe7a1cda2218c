// Overwriting of secrets that must not stay in memory.
#pragma once

#include <cstddef>
#include <string>
#include <type_traits>

#include "base/Text.h"

namespace ovs {

// Empties the text and overwrites all memory it holds, what was cut off it earlier included. Copies that it left behind
// when it grew are out of reach: reserve first.
template <class Char>
void Wipe(std::basic_string<Char>& text) noexcept {
  text.resize(text.capacity());
  volatile Char* const units = text.data();
  for (std::size_t i = 0; i < text.size(); ++i) units[i] = Char{};
  text.clear();
}

// Wipes a text when the scope ends.
template <class Char>
class WipeAtEnd {
 public:
  explicit WipeAtEnd(std::basic_string<Char>& text) noexcept : text_(text) {}
  ~WipeAtEnd() { Wipe(text_); }
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;

 private:
  std::basic_string<Char>& text_;
};

// A text that is wiped whenever it is given up: at its end, and before it takes another value.
class SecretText {
 public:
  SecretText() = default;
  // Of texts of any kind.
  template <class From>
  requires(std::is_convertible_v<const From&, TextView> && !std::is_same_v<From, SecretText>) SecretText(const From& text)
      : text_(TextView(text)) {}
  SecretText(const SecretText& other) = default;
  // Takes the other's text; what it had goes with the other.
  SecretText& operator=(SecretText other) noexcept {
    text_.swap(other.text_);
    return *this;
  }
  ~SecretText() { Wipe(text_); }

  operator TextView() const noexcept { return text_; }
  [[nodiscard]] bool empty() const noexcept { return text_.empty(); }

 private:
  Text text_;
};

}  // namespace ovs
