// Texts of the small Windows helper programs: UTF-8 out whatever the console's code page is.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <string>
#include <string_view>

namespace ovs::tools {

inline void AppendUtf8(std::string& out, std::uint32_t point) {
  if (point < 0x80) {
    out += static_cast<char>(point);
    return;
  }
  const int tails = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
  constexpr unsigned kLeads[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLeads[tails] | (point >> (6 * tails)));
  for (int i = tails - 1; i >= 0; --i) out += static_cast<char>(0x80 | ((point >> (6 * i)) & 0x3F));
}

// Lone surrogates become U+FFFD.
inline std::string Utf8(std::wstring_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::uint32_t unit = text[i];
    if (unit < 0xD800 || unit > 0xDFFF) {
      AppendUtf8(out, unit);
    } else if (unit < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (static_cast<std::uint32_t>(text[++i]) - 0xDC00));
    } else {
      AppendUtf8(out, 0xFFFD);
    }
  }
  return out;
}

// Whole text or nothing.
inline bool ToNumber(const wchar_t* text, unsigned long& out) {
  wchar_t* end = nullptr;
  out = std::wcstoul(text, &end, 10);
  return *text >= L'0' && *text <= L'9' && *end == L'\0';
}

// Prints a line at once: whoever reads it may be waiting for it.
inline void Say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

}  // namespace ovs::tools
