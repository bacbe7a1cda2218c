// An input that stands for several texts: they follow each other, divided by a line of four "~".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/Encoding.h"

namespace ovs::fuzz {

class Pieces {
 public:
  Pieces(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  // The next piece; empty when none is left.
  std::string_view Next() {
    constexpr std::string_view kBorder = "\n~~~~\n";
    const std::size_t border = rest_.find(kBorder);
    const std::string_view piece = rest_.substr(0, border);
    rest_ = border == std::string_view::npos ? std::string_view() : rest_.substr(border + kBorder.size());
    return piece;
  }
  [[nodiscard]] bool IsAtEnd() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

}  // namespace ovs::fuzz
