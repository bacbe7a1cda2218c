#include "mail/engines/MailAddress.h"

#include <algorithm>

#include "base/App_Strings.h"

namespace ovs {

namespace {

constexpr std::size_t kLongestAddress = 254;

TextView WithoutQuotes(TextView text) {
  text = App_Strings::TrimBlanks(text);
  if (text.starts_with(u'"')) text.remove_prefix(1);
  if (text.ends_with(u'"')) text.remove_suffix(1);
  return App_Strings::TrimBlanks(text);
}

bool IsForbidden(char16_t unit) {
  constexpr TextView kSpecial = u"<>()[]\\,;:\"";
  return unit <= kBlank || unit == 0x7F || (unit >= 0x80 && unit <= 0xA0) || unit == 0x2028 || unit == 0x2029 ||
         kSpecial.find(unit) != TextView::npos;
}

bool HasLoneSurrogate(TextView text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsLowSurrogate(text[i])) return true;
    if (!IsHighSurrogate(text[i])) continue;
    if (i + 1 == text.size() || !IsLowSurrogate(text[i + 1])) return true;
    ++i;
  }
  return false;
}

}  // namespace

MailAddress ParseAddress(TextView text) {
  text = App_Strings::TrimBlanks(text);
  const std::size_t open = text.rfind(u'<');
  if (open == TextView::npos || !text.ends_with(u'>')) return {{}, Text(text)};
  const TextView address = App_Strings::TrimBlanks(text.substr(open + 1, text.size() - open - 2));
  return {Text(WithoutQuotes(text.substr(0, open))), Text(address)};
}

std::vector<MailAddress> SplitAddresses(TextView text) {
  std::vector<MailAddress> addresses;
  for (const TextView piece : App_Strings::SplitViews(text, u",")) {
    if (!App_Strings::TrimBlanks(piece).empty()) addresses.push_back(ParseAddress(piece));
  }
  return addresses;
}

bool IsUsableAddress(TextView address) {
  return !address.empty() && address.size() <= kLongestAddress && std::ranges::none_of(address, IsForbidden) &&
         !HasLoneSurrogate(address);
}

}  // namespace ovs
