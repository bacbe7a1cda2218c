// A screen, and a user before it, that remember everything shown and answer at once.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "mail/message/MailUser.h"
#include "os/System.h"

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

// A user who answers every box with the same button and notes everything shown.
class FakeMailUser final : public MailUser {
 public:
  int Box(TextView text, TextView caption, std::uint32_t flags) override {
    shown.push_back(Text(caption) + u"|" + Text(text));
    boxes.push_back(flags);
    return answer;
  }
  void StatusNotice(TextView text) override { shown.push_back(u"notice|" + Text(text)); }
  std::optional<Text> InputBox(TextView title, TextView prompt, TextView initial) override {
    shown.push_back(Text(title) + u"|" + Text(prompt) + u"|" + Text(initial));
    return input;
  }
  bool EditMailSettings() override { return edit && edit(); }
  bool StartMailClient(TextView to, TextView /*subject*/, TextView /*body*/) override {
    shown.push_back(u"client|" + Text(to));
    return true;
  }
  bool ViewLog(TextView caption, TextView text) override {
    shown.push_back(u"log|" + Text(caption) + u"|" + Text(text));
    return true;
  }

  int answer = 1;
  std::optional<Text> input;
  std::function<bool()> edit;
  std::vector<Text> shown;
  std::vector<std::uint32_t> boxes;  // the flags of each
};

}  // namespace ovs::fakes
