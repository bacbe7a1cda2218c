// Text compare: comparison and search without regard to case.
//
// Each UTF-16 code unit is mapped to its simple (one-to-one) upper case as the Unicode data has it. No locale takes part,
// lengths never change, and every build gives the same answers: "ß" equals only itself, both Greek small sigmas equal the
// capital, dotless "ı" equals "I" and "i", dotted "İ" equals only itself. Surrogates, so all characters beyond U+FFFF, are
// compared exactly. Positions are 0-based here; kTextNotFound stands for "absent".
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/Text.h"

namespace ovs {

namespace fold_table {
// Two stages: a page of 64 units, then what is added to the unit (modulo 2^16) to get its upper case.
inline constexpr std::size_t kPageUnits = 64;
extern const std::array<std::uint8_t, 0x10000 / kPageUnits> kPageOf;
extern const std::uint16_t kDeltas[][kPageUnits];
}  // namespace fold_table

[[nodiscard]] inline char16_t FoldUnit(char16_t unit) {
  if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
  const std::size_t page = fold_table::kPageOf[unit / fold_table::kPageUnits];
  return static_cast<char16_t>(unit + fold_table::kDeltas[page][unit % fold_table::kPageUnits]);
}

[[nodiscard]] Text Fold(TextView text);

// Replaces `out`; allocates only when its capacity is too small. `text` may not lie within `out`.
void FoldInto(TextView text, Text& out);

[[nodiscard]] bool EqualsFolded(TextView a, TextView b);

// Order of the folded code units: below 0, 0 or above 0.
[[nodiscard]] int CompareFolded(TextView a, TextView b);

// FNV-1a over the code units as they are, and over the folded ones, which is the same for texts that differ in case alone.
template <class UnitOf>
[[nodiscard]] inline std::uint64_t HashUnits(TextView text, UnitOf unitOf) {
  std::uint64_t hash = 0xCBF2'9CE4'8422'2325;
  for (const char16_t unit : text) hash = (hash ^ unitOf(unit)) * 0x100'0000'01B3;
  return hash;
}
[[nodiscard]] inline std::uint64_t HashText(TextView text) {
  return HashUnits(text, [](char16_t unit) { return unit; });
}
[[nodiscard]] inline std::uint64_t HashFolded(TextView text) { return HashUnits(text, FoldUnit); }

// The first occurrence at or behind `from`. An empty needle is found at `from`, unless that is behind the end.
// Allocates nothing.
[[nodiscard]] std::size_t FindFolded(TextView haystack, TextView needle, std::size_t from = 0);

[[nodiscard]] inline bool ContainsFolded(TextView haystack, TextView needle) {
  return FindFolded(haystack, needle) != kTextNotFound;
}

// The last occurrence. An empty needle is found at the end. Allocates nothing.
[[nodiscard]] std::size_t FindLastFolded(TextView haystack, TextView needle);

// Each code unit to the lower-case unit whose upper case it is; where several have the same upper case,
// the ordinary one: "Σ" gives "σ", "I" gives "i".
[[nodiscard]] Text LowerCase(TextView text);

}  // namespace ovs
