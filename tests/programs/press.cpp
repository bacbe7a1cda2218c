// press TITLE BUTTON_ID [SECONDS [STATION]]: waits for a dialog box of that title, prints the texts in it, presses the
// button of that control ID and waits for the box to go. STATION names a window station to look on; under Wine the
// windows of services are on "__wineservice_winstation".
// Exit codes: 0 pressed, 1 no such box in time, 2 it stayed open, 3 usage or no such station.
#include <windows.h>

#include <string>

#include "Console.h"

namespace {

using namespace ovs::tools;

constexpr DWORD kLookEvery = 20;
constexpr UINT kAnswerWithin = 1000;

class Deadline {
 public:
  explicit Deadline(unsigned long seconds) : end_(GetTickCount64() + seconds * 1000ULL) {}
  bool Passed() const { return GetTickCount64() > end_; }

 private:
  ULONGLONG end_;
};

// The station has no other window than this program's, so moving to it is safe before any window exists here.
bool MoveToStation(const wchar_t* name) {
  const HWINSTA station = OpenWindowStationW(name, FALSE, MAXIMUM_ALLOWED);
  if (!station || !SetProcessWindowStation(station)) return false;
  const HDESK desktop = OpenDesktopW(L"Default", 0, FALSE, MAXIMUM_ALLOWED);
  return desktop && SetThreadDesktop(desktop);
}

// "#32770" is the class of every dialog box, message boxes included.
HWND FindBox(const wchar_t* title, const Deadline& deadline) {
  while (!deadline.Passed()) {
    if (const HWND box = FindWindowW(L"#32770", title); box && IsWindowVisible(box)) return box;
    Sleep(kLookEvery);
  }
  return nullptr;
}

BOOL CALLBACK PrintChild(HWND child, LPARAM) {
  wchar_t kind[64] = L"";
  wchar_t text[4096] = L"";
  GetClassNameW(child, kind, static_cast<int>(std::size(kind)));
  DWORD_PTR length = 0;
  SendMessageTimeoutW(child, WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, kAnswerWithin,
                      &length);
  Say("  " + Utf8(kind) + " id " + std::to_string(GetDlgCtrlID(child)) + ": \"" + Utf8(text) + "\"");
  return TRUE;
}

bool PressAndWait(HWND box, unsigned long button, const Deadline& deadline) {
  const HWND control = GetDlgItem(box, static_cast<int>(button));
  PostMessageW(box, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), reinterpret_cast<LPARAM>(control));
  while (IsWindow(box)) {
    if (deadline.Passed()) return false;
    Sleep(kLookEvery);
  }
  return true;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  unsigned long button = 0;
  unsigned long seconds = 10;
  if (argc < 3 || argc > 5 || !ToNumber(argv[2], button) || (argc > 3 && !ToNumber(argv[3], seconds))) {
    Say("usage: press TITLE BUTTON_ID [SECONDS [STATION]]");
    return 3;
  }
  if (argc > 4 && !MoveToStation(argv[4])) {
    Say("no such window station");
    return 3;
  }
  const Deadline deadline(seconds);
  const HWND box = FindBox(argv[1], deadline);
  if (!box) {
    Say("no such box");
    return 1;
  }
  Say("box \"" + Utf8(argv[1]) + "\"");
  EnumChildWindows(box, PrintChild, 0);
  const bool gone = PressAndWait(box, button, deadline);
  Say(gone ? "pressed" : "still open");
  return gone ? 0 : 2;
}
