// Overwriting of what must not stay in memory.
#pragma once

#include <cstddef>
#include <string>

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

}  // namespace ovs
