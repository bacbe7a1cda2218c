#include "diag/SystemMessages.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "os/PendingError.h"

namespace ovs {

namespace {
// More numbers than any run meets; the cache starts over rather than growing with hostile input.
constexpr std::size_t kMostCached = 4096;
}  // namespace

Text SystemMessages::Get(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed) {
  auto& cache = caches_[static_cast<std::size_t>(flavour)];
  const auto found = cache.find(number);
  const Text text = found != cache.end() && !forceLookup ? found->second : LookUp(number, cache);
  return bracketed ? u"[" + NumberText(number) + u"=" + text + u"]" : text;
}

Text SystemMessages::LookUp(std::uint32_t number, std::map<std::uint32_t, Text>& cache) {
  const std::uint32_t pending = PendingSystemError();
  std::optional<Text> text = system_ != nullptr ? system_->MessageText(number) : std::nullopt;
  // A failed look-up is no error of whoever asked.
  SetPendingSystemError(pending);
  if (!text) return Text(kFailure);
  const Text withoutNuls = App_Strings::RemoveNuls(*text);
  Text trimmed(App_Strings::TrimBlanks(withoutNuls));
  if (cache.size() >= kMostCached) cache.clear();
  cache[number] = trimmed;
  return trimmed;
}

}  // namespace ovs
