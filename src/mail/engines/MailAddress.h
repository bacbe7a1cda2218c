// Mail addresses as people write them: alone, or behind a name, as in "Jane Doe" <jane@example.com>.
#pragma once

#include <vector>

#include "base/Text.h"

namespace ovs {

struct MailAddress {
  Text name;  // may be empty
  Text address;

  bool operator==(const MailAddress&) const = default;
};

// Of a text that ends in "<...>" the address is what stands in the last pair of angle brackets and the name what precedes
// it, without the double quotes around it; of any other text all is address. Outer blanks are removed everywhere.
[[nodiscard]] MailAddress ParseAddress(TextView text);

// The pieces between commas, each parsed; blank ones are left out. A comma always divides, also within quotes.
[[nodiscard]] std::vector<MailAddress> SplitAddresses(TextView text);

// True when an SMTP command and a header can carry the address as it is: 1 to 254 characters, none of them a blank, a
// control character, a lone surrogate or one of <>()[]\,;:" (a domain in brackets is none that this program can use).
[[nodiscard]] bool IsUsableAddress(TextView address);

}  // namespace ovs
