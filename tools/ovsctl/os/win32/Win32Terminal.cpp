#include <windows.h>
#include <shellapi.h>

#include <atomic>
#include <memory>

#include "base/Encoding.h"
#include "os/win32/Win32Support.h"
#include "ovsctl/os/Terminal.h"

namespace ovs::os {

namespace {

// The console's code page from before, for whoever ends the program by Ctrl-C or closes its window. 0: none to be put back.
std::atomic<UINT> codePageBefore = 0;

// On a thread of its own; what the system does then is left to it.
BOOL WINAPI PutCodePageBack(DWORD /*control*/) {
  RestoreTerminal(codePageBefore);
  return FALSE;
}

HANDLE HandleOf(Stream stream) { return GetStdHandle(stream == Stream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE); }

}  // namespace

// The narrow arguments have lost what the code page lacks.
std::vector<std::string> ArgumentsOf(int /*argc*/, char** /*argv*/) {
  int count = 0;
  const std::unique_ptr<LPWSTR[], decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(ToUtf8(FromWide(wide[static_cast<std::size_t>(i)])));
  return arguments;
}

unsigned PrepareTerminal() {
  const unsigned before = GetConsoleOutputCP();
  if (before != 0) {
    codePageBefore = before;
    SetConsoleCtrlHandler(&PutCodePageBack, TRUE);
    SetConsoleOutputCP(CP_UTF8);
  }
  for (const Stream stream : {Stream::Output, Stream::Messages}) {
    DWORD mode = 0;
    // Without this the terminal would show escape sequences as they are; UnderstandsEscapes asks whether it was granted.
    if (GetConsoleMode(HandleOf(stream), &mode) != 0)
      SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  return before;
}

void RestoreTerminal(unsigned before) {
  if (before != 0) SetConsoleOutputCP(before);
}

// The runtime library puts a CR before each LF.
std::string_view PrintedCrLf() { return "\n"; }

bool IsTerminal(Stream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) != 0;
}

bool UnderstandsEscapes(Stream stream) {
  DWORD mode = 0;
  return GetConsoleMode(HandleOf(stream), &mode) != 0 && (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

int Columns(Stream stream) {
  constexpr int kUsual = 80;
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (GetConsoleScreenBufferInfo(HandleOf(stream), &info) == 0) return kUsual;
  const int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? columns : kUsual;
}

}  // namespace ovs::os
