// Port: a question or a message to whoever sits in front of the machine.
#pragma once

#include <cstdint>

#include "base/Text.h"

namespace ovs::os {

class Prompt {
 public:
  virtual ~Prompt() = default;
  // Shows a message box and waits for its answer; `flags` and result are those of the platform's message box
  // (1 OK, 2 Cancel, 6 Yes, 7 No; 0 when it cannot be shown).
  virtual int Show(TextView text, TextView caption, std::uint32_t flags) = 0;
};

// The screen of the machine. A service has none that anybody sees; its boxes stand on its own window station.
Prompt& SystemPrompt();

}  // namespace ovs::os
