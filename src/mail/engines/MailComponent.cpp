#include "mail/engines/MailComponent.h"

#include <array>
#include <span>

namespace ovs {

namespace {

TextView Entry(std::span<const TextView> table, std::int32_t code) {
  return code >= 0 && static_cast<std::size_t>(code) < table.size() ? table[static_cast<std::size_t>(code)] : TextView();
}

}  // namespace

TextView ckSmtpAuthMethodStr(std::int32_t code) {
  static constexpr std::array<TextView, 5> kMethods = {u"NONE", u"LOGIN", u"NTLM", u"PLAIN", u"CRAM-MD5"};
  return Entry(kMethods, code);
}

TextView ckSSLProtocolStr(std::int32_t code) {
  static constexpr std::array<TextView, 8> kProtocols = {
      u"TLS 1.0 or higher", u"TLS 1.1 or higher", u"TLS 1.2 or higher", u"TLS 1.2",
      u"TLS 1.1",           u"TLS 1.0",           u"SSL 3.0",           u"default"};
  return Entry(kProtocols, code);
}

}  // namespace ovs
