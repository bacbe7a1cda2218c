// A screen that remembers its message boxes and answers them at once.
#pragma once

#include <vector>

#include "os/Prompt.h"

namespace ovs::fakes {

class FakePrompt final : public os::Prompt {
 public:
  struct Box {
    Text text;
    Text caption;
    std::uint32_t flags;
  };

  int Show(TextView text, TextView caption, std::uint32_t flags) override {
    shown.push_back({Text(text), Text(caption), flags});
    return answer;
  }

  std::vector<Box> shown;
  int answer = 1;
};

}  // namespace ovs::fakes
