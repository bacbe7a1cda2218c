// The text type of the whole program: UTF-16 code units, on every platform.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ovs {

using Text = std::u16string;
using TextView = std::u16string_view;

inline constexpr std::size_t kTextNotFound = TextView::npos;

inline constexpr char16_t kNul = u'\0';
inline constexpr char16_t kBlank = u' ';
inline constexpr TextView kCrLf = u"\r\n";

// The unit U+FFFD stands for whatever could not be decoded.
inline constexpr char16_t kReplacementUnit = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace ovs
