#include "base/Fold.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace ovs {

namespace {

// The search is exact though most units are never folded: a block of the haystack is passed over only when it holds nothing
// but ASCII and in no place stands, side by side, a unit that folds to the needle's first and one that folds to its last.
// Among ASCII units only the two of AsciiForms fold to a given unit, so no occurrence can begin in such a block. Units
// beyond ASCII may fold to an ASCII letter (long s, dotless i), so a block that holds one is always looked at unit by unit.
//
// A multiple of every vector size in use, and small enough that a non-ASCII character costs little.
constexpr std::size_t kBlock = 32;

// Loops over a whole block without an early exit become vector code.
bool IsAsciiBlock(const char16_t* units) {
  unsigned bits = 0;
  for (std::size_t i = 0; i < kBlock; ++i) bits |= units[i];
  return bits < 0x80;
}

// One unsigned comparison stands for "from a to z": units in front of "a" wrap to large numbers.
void FoldAsciiBlock(const char16_t* units, char16_t* out) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto unit = static_cast<std::uint16_t>(units[i]);
    const auto fromA = static_cast<std::uint16_t>(unit - u'a');
    out[i] = static_cast<char16_t>(unit - (fromA < 26 ? 0x20 : 0));
  }
}

// The ASCII units that fold to one unit: itself and its small letter. For a folded unit beyond ASCII there is none; then
// both stand for that unit, which no block of ASCII holds.
struct AsciiForms {
  explicit AsciiForms(char16_t folded)
      : upper(folded), lower(folded >= u'A' && folded <= u'Z' ? static_cast<char16_t>(folded + 0x20) : folded) {}
  char16_t upper;
  char16_t lower;
};

constexpr std::uint16_t kBitsBeyondAscii = 0xFF80;

bool Same(char16_t a, char16_t b) { return FoldUnit(a) == FoldUnit(b); }

// False when in no place of the block the needle's first unit stands with its last unit where it belongs.
bool MayBeginIn(const char16_t* block, std::size_t lastOffset, AsciiForms first, AsciiForms last) {
  std::uint16_t hits = 0;
  std::uint16_t bits = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto a = static_cast<std::uint16_t>(block[i]);
    const auto b = static_cast<std::uint16_t>(block[i + lastOffset]);
    const auto isFirst = static_cast<std::uint16_t>((a == first.upper ? 1 : 0) | (a == first.lower ? 1 : 0));
    const auto isLast = static_cast<std::uint16_t>((b == last.upper ? 1 : 0) | (b == last.lower ? 1 : 0));
    hits = static_cast<std::uint16_t>(hits | (isFirst & isLast));
    bits = static_cast<std::uint16_t>(bits | a | b);
  }
  return hits != 0 || (bits & kBitsBeyondAscii) != 0;
}

bool BeginsAt(const char16_t* hay, TextView needle) {
  if (!Same(hay[0], needle.front()) || !Same(hay[needle.size() - 1], needle.back())) return false;
  for (std::size_t i = 1; i + 1 < needle.size(); ++i) {
    if (!Same(hay[i], needle[i])) return false;
  }
  return true;
}

}  // namespace

Text Fold(TextView text) {
  Text out;
  FoldInto(text, out);
  return out;
}

void FoldInto(TextView text, Text& out) {
  out.resize(text.size());
  std::size_t i = 0;
  for (; text.size() - i >= kBlock; i += kBlock) {
    if (IsAsciiBlock(text.data() + i)) {
      FoldAsciiBlock(text.data() + i, out.data() + i);
    } else {
      std::transform(text.data() + i, text.data() + i + kBlock, out.data() + i, FoldUnit);
    }
  }
  std::transform(text.data() + i, text.data() + text.size(), out.data() + i, FoldUnit);
}

bool EqualsFolded(TextView a, TextView b) { return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), Same); }

int CompareFolded(TextView a, TextView b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const char16_t unitA = FoldUnit(a[i]);
    const char16_t unitB = FoldUnit(b[i]);
    if (unitA != unitB) return unitA < unitB ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

std::size_t FindFolded(TextView haystack, TextView needle, std::size_t from) {
  if (from > haystack.size() || needle.size() > haystack.size() - from) return kTextNotFound;
  if (needle.empty()) return from;
  const std::size_t end = haystack.size() - needle.size() + 1;  // of the places where the needle can begin
  const std::size_t lastOffset = needle.size() - 1;
  const AsciiForms first(FoldUnit(needle.front()));
  const AsciiForms last(FoldUnit(needle.back()));
  while (from < end) {
    // All places of a whole block are in front of `end`, so the needle's last unit lies within the haystack for each of
    // them.
    const bool whole = end - from >= kBlock;
    const std::size_t stop = whole ? from + kBlock : end;
    if (whole && !MayBeginIn(haystack.data() + from, lastOffset, first, last)) {
      from = stop;
      continue;
    }
    for (; from < stop; ++from) {
      if (BeginsAt(haystack.data() + from, needle)) return from;
    }
  }
  return kTextNotFound;
}

std::size_t FindLastFolded(TextView haystack, TextView needle) {
  if (needle.size() > haystack.size()) return kTextNotFound;
  if (needle.empty()) return haystack.size();
  for (std::size_t end = haystack.size() - needle.size() + 1; end > 0; --end) {
    if (BeginsAt(haystack.data() + end - 1, needle)) return end - 1;
  }
  return kTextNotFound;
}

// --- Lower case ---

namespace {

constexpr std::size_t kUnits = 0x10000;

// Letters between capital and small: each has a capital and a small letter of its own.
constexpr char16_t kTitleCase[] = {0x1C5, 0x1C8, 0x1CB, 0x1F2};
// Small letters that share their capital with an ordinary one that comes later: micro sign, combining iota, final sigma;
// and those above.
constexpr char16_t kVariants[] = {0xB5, 0x345, 0x3C2, 0x1C5, 0x1C8, 0x1CB, 0x1F2};

std::vector<char16_t> MakeTable() {
  std::vector<char16_t> lower(kUnits);
  for (std::size_t unit = 0; unit < kUnits; ++unit) lower[unit] = static_cast<char16_t>(unit);
  for (std::size_t unit = 0; unit < kUnits; ++unit) {
    const char16_t small = static_cast<char16_t>(unit);
    const char16_t capital = FoldUnit(small);
    const bool isVariant = std::ranges::find(kVariants, small) != std::end(kVariants);
    if (capital != small && lower[capital] == capital && !isVariant) lower[capital] = small;
  }
  for (const char16_t unit : kTitleCase) lower[unit] = lower[FoldUnit(unit)];
  return lower;
}

}  // namespace

Text LowerCase(TextView text) {
  static const std::vector<char16_t> table = MakeTable();
  Text lower(text);
  for (char16_t& unit : lower) unit = table[unit];
  return lower;
}

}  // namespace ovs
