// What both mail components behind COM share.
#pragma once

#include <cstddef>

#include "base/RuntimeError.h"
#include "base/Text.h"
#include "mail/engines/MailComponent.h"

namespace ovs {

inline constexpr std::size_t kStatusFields = 8;  // that Configure tells of
inline constexpr TextView kPasswordInClear = u"The password was sent over a connection without TLS.";
inline constexpr TextView kNotVerified = u"Certificate and host name of the mail server were not verified.";

// The body as a component can take it: a NUL would end it.
[[nodiscard]] Text BodyText(const MailMessage& message);

// What a component said when it raised an error; components end it in a line break.
[[nodiscard]] Text ErrorText(const RuntimeError& error);

}  // namespace ovs
