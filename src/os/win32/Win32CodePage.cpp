#include <windows.h>

#include <string>

#include "base/Encoding.h"
#include "os/System.h"
#include "os/win32/Win32Support.h"

namespace ovs::os {

namespace {

using namespace ovs::win32;

constexpr UINT kWindows1252Number = 1252;

UINT codePage = kWindows1252Number;

Text Decode(std::string_view bytes) {
  const int size = static_cast<int>(bytes.size());
  if (size == 0) return {};
  std::wstring wide(bytes.size(), L'\0');
  const int length = MultiByteToWideChar(codePage, 0, bytes.data(), size, wide.data(), size);
  wide.resize(static_cast<std::size_t>(length));
  return FromWide(wide);
}

// The bytes of one character, none when the code page does not have it.
std::string BytesOf(std::wstring_view character) {
  char bytes[8];
  BOOL isMissing = FALSE;
  const int length = WideCharToMultiByte(codePage, WC_NO_BEST_FIT_CHARS, character.data(),
                                         static_cast<int>(character.size()), bytes, sizeof bytes, nullptr, &isMissing);
  return isMissing ? std::string() : std::string(bytes, static_cast<std::size_t>(length));
}

// What has no bytes is escaped as in Windows-1252, unit by unit.
std::string Encode(TextView text, bool& lossless) {
  lossless = true;
  std::string out;
  const std::wstring wide = ToWide(text);
  for (std::size_t i = 0; i < wide.size(); ++i) {
    if (std::string bytes = BytesOf({&wide[i], 1}); !bytes.empty()) {
      out += bytes;
      continue;
    }
    lossless = false;
    out += EscapedUnit(text[i]);
  }
  return out;
}

}  // namespace

bool UseAnsiCodePage(std::uint32_t number) noexcept {
  const UINT wanted = number == 0 ? GetACP() : number;
  if (!IsValidCodePage(wanted)) return false;
  const bool isOwn = wanted != kWindows1252Number && wanted != CP_UTF8;
  codePage = isOwn ? wanted : kWindows1252Number;
  SetAnsiCodePage(isOwn ? CodePage{Decode, Encode} : kWindows1252);
  return true;
}

}  // namespace ovs::os
