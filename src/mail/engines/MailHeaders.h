// Mail addresses as people write them: alone, or behind a name, as in "Jane Doe" <jane@example.com>; and the header of a
// mail (RFC 5322, 2045, 2047, 2231). Pure text work.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/DateTime.h"
#include "base/Text.h"

namespace ovs {

struct MailAddress {
  Text name;  // may be empty
  Text address;

  bool operator==(const MailAddress&) const = default;
};

// Of a text that ends in "<...>" the last pair of angle brackets holds the address, and the name precedes it, without the
// double quotes around it; of any other text all is address. Outer blanks are removed everywhere.
[[nodiscard]] MailAddress ParseAddress(TextView text);

// The one mailbox that a sender can be: of a text with several addresses, behind one name or each behind its own, what
// stands for the first. A text with one address is left as it is.
[[nodiscard]] Text FirstMailbox(TextView text);

// The pieces between commas, each parsed; blank ones are left out. A comma always divides, also within quotes.
[[nodiscard]] std::vector<MailAddress> SplitAddresses(TextView text);

// True when an SMTP command and a header can carry the address as it is: 1 to 254 characters, none of them a blank, a
// control character, a lone surrogate or one of <>()[]\,;:" (a domain in brackets is none that this program can use).
[[nodiscard]] bool IsUsableAddress(TextView address);

// Header lines. Bytes that come out are ASCII, but for the UTF-8 of addresses that are not; lines are folded at 76 bytes
// where they can be. No value can begin a further line: control characters become blanks.
namespace MailHeaders {

// "Name: value" with words of RFC 2047 where the value is not ASCII. `name` is ASCII.
[[nodiscard]] std::string Unstructured(std::string_view name, TextView value);

// "Name: mailbox, mailbox"; empty for no addresses.
[[nodiscard]] std::string Addresses(std::string_view name, const std::vector<MailAddress>& addresses);

// "Date: Wed, 25 Nov 2026 08:15:00 +0000".
[[nodiscard]] std::string Date(const DateTime& utc);

// "Message-ID: <random@domain>" with the domain of the address, or the host's name when the address has none.
[[nodiscard]] std::string MessageId(std::string_view randomBytes, TextView address, TextView hostName);

// "Content-Type: type; name=..." and "Content-Disposition: disposition; filename=..." of a file. A name that is not plain
// ASCII is written in the form of RFC 2231.
[[nodiscard]] std::string ContentType(std::string_view type, TextView fileName);
[[nodiscard]] std::string ContentDisposition(std::string_view disposition, TextView fileName);

// The identity under which HTML refers to a file of its mail, "cid:" in front: the percent-encoded name and a domain.
[[nodiscard]] std::string ContentId(TextView fileName);

// Control characters (line ends and NUL among them) as blanks.
[[nodiscard]] Text OneLine(TextView text);

}  // namespace MailHeaders

}  // namespace ovs
