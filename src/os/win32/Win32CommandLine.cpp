#include <windows.h>

#include <algorithm>
#include <string>

#include "base/Encoding.h"
#include "base/Wipe.h"
#include "os/CommandLine.h"
#include "os/win32/Win32Path.h"
#include "os/win32/Win32Support.h"

namespace ovs::os {

namespace {

// A console gives its text itself: read as bytes, it loses what its code page lacks.
std::optional<Text> LineOfConsole(HANDLE console, DWORD mode) {
  std::wstring line(kLongestSecretLine, L'\0');
  const WipeAtEnd wiped(line);
  DWORD count = 0;
  SetConsoleMode(console, (mode | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) & ~DWORD{ENABLE_ECHO_INPUT});
  const bool read = ReadConsoleW(console, line.data(), static_cast<DWORD>(line.size()), &count, nullptr) != 0;
  SetConsoleMode(console, mode);
  if (!read || count == 0) return std::nullopt;
  line.resize(std::min<std::size_t>(line.find_first_of(L"\r\n"), count));
  return FromWide(line);
}

}  // namespace

Error FullPathOfArgument(std::string_view argument, Text& out) {
  std::wstring full;
  const Error error = win32::FullPath(FromUtf8(argument), full);
  if (error.Ok()) out = FromWide(full);
  return error;
}

std::optional<Text> ReadSecretLine() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(input, &mode) != 0) return LineOfConsole(input, mode);
  return SecretLineOf([input](char& byte) {
    DWORD count = 0;
    return ::ReadFile(input, &byte, 1, &count, nullptr) != 0 && count == 1;
  });
}

}  // namespace ovs::os
