#include <windows.h>

#include <algorithm>
#include <string>

#include "base/Encoding.h"
#include "os/Prompt.h"

namespace ovs::os {

namespace {

class Win32Prompt : public Prompt {
 public:
  int Show(TextView text, TextView caption, std::uint32_t flags) override {
    bool lossless = true;
    const std::string body = ToWindows1252(text, lossless);
    const std::string title = ToWindows1252(caption, lossless);
    return std::max(MessageBoxA(nullptr, body.c_str(), title.c_str(), flags), 0);
  }
};

}  // namespace

Prompt& SystemPrompt() {
  static Win32Prompt prompt;
  return prompt;
}

}  // namespace ovs::os
