// Hash tables whose texts are found without regard to case, without a copy of the text asked for.
#pragma once

#include <cstdint>

#include "base/Fold.h"

namespace ovs {

struct FoldedHash {
  using is_transparent = void;
  [[nodiscard]] std::size_t operator()(TextView text) const {
    constexpr std::uint64_t kStart = 0xCBF29CE484222325;
    constexpr std::uint64_t kFactor = 0x100000001B3;
    std::uint64_t hash = kStart;
    for (const char16_t unit : text) hash = (hash ^ FoldUnit(unit)) * kFactor;
    return static_cast<std::size_t>(hash ^ (hash >> 32));
  }
};

struct FoldedEqual {
  using is_transparent = void;
  [[nodiscard]] bool operator()(TextView a, TextView b) const { return EqualsFolded(a, b); }
};

}  // namespace ovs
