#include "events/LiveRecords.h"

#include "base/Encoding.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

std::int64_t SecondsOf(char unit) {
  switch (unit) {
    case 's':
      return 1;
    case 'm':
      return 60;
    case 'h':
      return 3600;
    case 'd':
      return 86'400;
    case 'w':
      return 604'800;
    default:
      return 0;
  }
}

}  // namespace

std::optional<std::int64_t> DurationSeconds(std::string_view text) {
  constexpr std::int64_t kMost = std::int64_t{100} * 366 * 86'400;
  if (text.size() < 2 || text.front() == '+') return std::nullopt;
  const std::int64_t unit = SecondsOf(text.back());
  text.remove_suffix(1);
  const auto number = ParseUnsigned(FromUtf8(text), kMost);
  if (unit == 0 || !number || *number == 0 || static_cast<std::int64_t>(*number) > kMost / unit) return std::nullopt;
  return static_cast<std::int64_t>(*number) * unit;
}

}  // namespace ovs
