#include "os/DeviceName.h"

#include <algorithm>

#include "base/Fold.h"

namespace ovs {

namespace {

constexpr TextView kNames[] = {u"CON", u"PRN", u"AUX", u"NUL", u"CONIN$", u"CONOUT$"};
constexpr TextView kNumberedNames[] = {u"COM", u"LPT"};
// Ports 1 to 3 answer to the raised digits too.
constexpr TextView kPortDigits = u"123456789\u00B9\u00B2\u00B3";
constexpr std::size_t kNumberedSize = 4;

}  // namespace

bool IsDeviceName(TextView name) {
  const auto equals = [](TextView device, TextView given) { return EqualsFolded(device, given); };
  if (std::ranges::any_of(kNames, [&](TextView device) { return equals(device, name); })) return true;
  if (name.size() != kNumberedSize || kPortDigits.find(name.back()) == TextView::npos) return false;
  return std::ranges::any_of(kNumberedNames, [&](TextView device) { return equals(device, name.substr(0, 3)); });
}

}  // namespace ovs
