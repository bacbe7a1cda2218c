// Headers and addresses of a mail: no text may begin a further header, end the header early or leave the mail's rules.
#include <cstdint>
#include <cstdlib>

#include "Pieces.h"
#include "mail/engines/MailHeaders.h"

namespace {

using namespace ovs;

// Line ends only where a folded line goes on; no control characters; bytes above ASCII only where they may stand.
void CheckHeader(std::string_view header, bool mayBeUtf8) {
  for (std::size_t at = 0; at < header.size(); ++at) {
    const auto byte = static_cast<unsigned char>(header[at]);
    if (byte >= 0x80) {
      if (!mayBeUtf8) std::abort();
    } else if (header.substr(at, 2) == "\r\n") {
      if (at + 2 >= header.size() || (header[at + 2] != ' ' && header[at + 2] != '\t')) std::abort();
      ++at;
    } else if ((byte < 0x20 && byte != '\t') || byte == 0x7F) {
      std::abort();
    }
  }
}

void CheckAddresses(TextView text) {
  std::vector<MailAddress> usable;
  for (const MailAddress& each : SplitAddresses(text)) {
    if (!IsUsableAddress(each.address)) continue;
    if (each.address.find_first_of(u"<> \r\n\t,;") != Text::npos) std::abort();
    usable.push_back(each);
  }
  CheckHeader(MailHeaders::Addresses("To", usable), true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Pieces pieces(data, size);
  const Text value = DecodeFile(pieces.Next());
  const Text other = FromUtf8(pieces.Next());
  CheckHeader(MailHeaders::Unstructured("Subject", value), false);
  CheckHeader(MailHeaders::ContentType("text/plain", value), false);
  CheckHeader(MailHeaders::ContentDisposition("attachment", value), false);
  CheckHeader("X: " + MailHeaders::ContentId(value), false);
  CheckHeader(MailHeaders::MessageId(ToUtf8(other), value, other), true);
  CheckAddresses(value);
  CheckAddresses(other);
  static_cast<void>(ParseAddress(value));
  return 0;
}
