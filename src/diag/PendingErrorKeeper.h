// Keeps the pending system error of the traced code while the diagnostics use ports themselves.
#pragma once

#include <cstdint>

#include "os/PendingError.h"

namespace ovs {

class PendingErrorKeeper {
 public:
  PendingErrorKeeper() noexcept : number_(PendingSystemError()) {}
  ~PendingErrorKeeper() { SetPendingSystemError(number_); }
  PendingErrorKeeper(const PendingErrorKeeper&) = delete;
  PendingErrorKeeper& operator=(const PendingErrorKeeper&) = delete;

 private:
  std::uint32_t number_;
};

}  // namespace ovs
