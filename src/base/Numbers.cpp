#include "base/Numbers.h"

#include <algorithm>

namespace ovs {

namespace {

constexpr std::uint64_t kMaxUnsigned = std::numeric_limits<std::uint64_t>::max();

// Digits only, at least one, none above `max`.
std::optional<std::uint64_t> ParseDigits(TextView digits, std::uint64_t max) {
  if (digits.empty()) return std::nullopt;
  std::uint64_t value = 0;
  for (const char16_t unit : digits) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    const std::uint64_t digit = static_cast<std::uint64_t>(unit - u'0');
    if (value > (kMaxUnsigned - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  if (value > max) return std::nullopt;
  return value;
}

template <typename Number>
std::optional<Number> ParseSigned(TextView text) {
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  // A negative number may be one larger than the largest.
  const std::uint64_t max = static_cast<std::uint64_t>(std::numeric_limits<Number>::max()) + (negative ? 1u : 0u);
  const std::optional<std::uint64_t> value = ParseDigits(text, max);
  if (!value) return std::nullopt;
  return static_cast<Number>(negative ? 0 - *value : *value);
}

Text DigitsOf(std::uint64_t value, unsigned base, int minDigits) {
  constexpr TextView kDigits = u"0123456789ABCDEF";
  Text reversed;
  do {
    reversed.push_back(kDigits[value % base]);
    value /= base;
  } while (value != 0);
  const std::size_t wanted = minDigits > 0 ? static_cast<std::size_t>(minDigits) : 0;
  if (reversed.size() < wanted) reversed.append(wanted - reversed.size(), u'0');
  std::ranges::reverse(reversed);
  return reversed;
}

}  // namespace

std::optional<std::int32_t> ParseInt32(TextView text) { return ParseSigned<std::int32_t>(text); }

std::optional<std::int64_t> ParseInt64(TextView text) { return ParseSigned<std::int64_t>(text); }

std::optional<std::uint64_t> ParseUnsigned(TextView text, std::uint64_t max) {
  if (text.starts_with(u'+')) text.remove_prefix(1);
  return ParseDigits(text, max);
}

Text NumberText(std::int64_t value) { return PaddedNumberText(value, 1); }

Text PaddedNumberText(std::int64_t value, int width) {
  const std::uint64_t bits = static_cast<std::uint64_t>(value);
  Text digits = DigitsOf(value < 0 ? 0 - bits : bits, 10, width);
  return value < 0 ? u"-" + digits : digits;
}

Text HexText(std::uint32_t value, int minDigits) { return DigitsOf(value, 16, minDigits); }

}  // namespace ovs
