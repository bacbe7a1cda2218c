#include "os/CommandLine.h"

#include <string>

#include "base/Encoding.h"
#include "base/Wipe.h"

namespace ovs::os {

std::optional<Text> SecretLineOf(const std::function<bool(char&)>& next) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::string line;
  const WipeAtEnd wiped(line);
  line.reserve(kLongestSecretLine);
  char byte = 0;
  bool any = false;
  while (line.size() < kLongestSecretLine && next(byte)) {
    any = true;
    if (byte == '\n') break;
    line += byte;
  }
  if (!any) return std::nullopt;
  if (line.ends_with('\r')) line.pop_back();
  return FromUtf8(std::string_view(line).substr(line.starts_with(kMark) ? kMark.size() : 0));
}

}  // namespace ovs::os
