#include "mail/engines/win32/ComMail.h"

#include <algorithm>

namespace ovs {

Text BodyText(const MailMessage& message) {
  Text body = message.body;
  std::ranges::replace(body, kNul, kBlank);
  return body;
}

Text ErrorText(const RuntimeError& error) {
  const Text& text = error.Description();
  return text.substr(0, text.find_last_not_of(u" \r\n") + 1);
}

}  // namespace ovs
