// Texts of system error numbers, cached by number.
#pragma once

#include <cstdint>
#include <map>

#include "base/Text.h"
#include "os/System.h"

namespace ovs {

// Who asks: each has a cache of its own, so that a forced look-up of one does not change what the other shows.
enum class SystemMsgFlavour : std::uint8_t { Caller, DebugLog };

class SystemMessages {
 public:
  static constexpr TextView kFailure = u"FormatMessageW failure (lRet=0) Could not retrieve message from system!";

  void Attach(os::System* system) noexcept { system_ = system; }

  void Clear() noexcept {
    for (auto& cache : caches_) cache.clear();
  }

  // The system's text without NULs, trimmed; kFailure when it has none (asked again next time). `bracketed` gives
  // "[number=text]".
  Text Get(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed);

 private:
  Text LookUp(std::uint32_t number, std::map<std::uint32_t, Text>& cache);

  os::System* system_ = nullptr;
  std::map<std::uint32_t, Text> caches_[2];
};

}  // namespace ovs
