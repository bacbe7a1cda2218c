// Base64 (RFC 4648).
#pragma once

#include <string>
#include <string_view>

namespace ovs {

// The complete digits of the bytes, without padding; with `rest` a last incomplete digit too.
[[nodiscard]] std::string Base64Digits(std::string_view bytes, bool rest);

// With its padding.
[[nodiscard]] std::string Base64(std::string_view bytes);

}  // namespace ovs
