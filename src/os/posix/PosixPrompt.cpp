#include "os/Prompt.h"

namespace ovs::os {

namespace {

// Nobody sits in front of a development machine's tests: no box can be shown.
class PosixPrompt final : public Prompt {
 public:
  int Show(TextView /*text*/, TextView /*caption*/, std::uint32_t /*flags*/) override { return 0; }
};

}  // namespace

Prompt& SystemPrompt() {
  static PosixPrompt prompt;
  return prompt;
}

}  // namespace ovs::os
