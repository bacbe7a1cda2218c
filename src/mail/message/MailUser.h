// Whoever sits in front of the program, as far as a mail has something to ask or to show.
#pragma once

#include <cstdint>
#include <optional>

#include "base/Text.h"
#include "os/Prompt.h"

namespace ovs {

class MailUser {
 public:
  virtual ~MailUser() = default;

  // A message box, see os::Prompt.
  virtual int Box(TextView text, TextView caption, std::uint32_t flags) = 0;
  // A short notice that waits for no answer.
  virtual void StatusNotice(TextView text) = 0;

  // What only a desktop program has; none, or false, where it is not available.
  virtual std::optional<Text> InputBox(TextView title, TextView prompt, TextView defaultText) = 0;
  virtual bool EditMailSettings() = 0;
  virtual bool StartMailClient(TextView to, TextView subject, TextView body) = 0;
  virtual bool ViewLog(TextView caption, TextView text) = 0;
};

// A program without a window of its own: boxes of the system, notices in the debug log; what only a desktop program has is
// not available, and the debug log says so.
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
