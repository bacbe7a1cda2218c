// Port to the user of the program, for questions and messages that come with a mail. Calls come on the thread that sends.
#pragma once

#include <cstdint>
#include <optional>

#include "base/Text.h"
#include "os/System.h"

namespace ovs {

class MailUser {
 public:
  virtual ~MailUser() = default;

  // Shows a message box and waits for the answer, see os::Prompt.
  virtual int Box(TextView text, TextView caption, std::uint32_t flags) = 0;
  // Shows a short notice, without waiting.
  virtual void StatusNotice(TextView text) = 0;

  // Windows of a desktop program; none, or false, in a program that has no such window.
  virtual std::optional<Text> InputBox(TextView title, TextView prompt, TextView defaultText) = 0;
  virtual bool EditMailSettings() = 0;
  virtual bool StartMailClient(TextView to, TextView subject, TextView body) = 0;
  virtual bool ViewLog(TextView caption, TextView text) = 0;
};

// The user of a program without windows of its own: boxes are the system's, notices go to the debug log. Windows of a
// desktop program are not available, which the debug log tells.
class PlainMailUser final : public MailUser {
 public:
  // `prompt` must outlive this object.
  explicit PlainMailUser(os::Prompt& prompt) : prompt_(prompt) {}

  int Box(TextView text, TextView caption, std::uint32_t flags) override { return prompt_.Show(text, caption, flags); }
  void StatusNotice(TextView text) override;
  std::optional<Text> InputBox(TextView title, TextView prompt, TextView defaultText) override;
  bool EditMailSettings() override;
  bool StartMailClient(TextView to, TextView subject, TextView body) override;
  bool ViewLog(TextView caption, TextView text) override;

 private:
  os::Prompt& prompt_;
};

}  // namespace ovs
