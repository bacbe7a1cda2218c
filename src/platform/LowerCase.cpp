#include "platform/LowerCase.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "base/Fold.h"

namespace ovs {

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
