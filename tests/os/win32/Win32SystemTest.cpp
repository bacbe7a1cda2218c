// What of the ports is the system's own.
#include <windows.h>
#include <gtest/gtest.h>

#include "os/Files.h"
#include "os/System.h"
#include "os/win32/Win32Support.h"

namespace ovs {
namespace {

TEST(Win32System, TheDataFolderIsTheMachinesWhateverTheEnvironmentSays) {
  const Text folder = os::ThisSystem().ProgramDataFolder();
  ASSERT_TRUE(SetEnvironmentVariableW(L"ProgramData", L"C:\\elsewhere"));
  EXPECT_EQ(os::ThisSystem().ProgramDataFolder(), folder);
  os::FileInfo info;
  EXPECT_TRUE(os::SystemFiles().Info(folder, info).Ok() && info.IsDirectory());
}

// A box on a window station that nobody sees would wait for ever.
TEST(Win32System, WhereNobodySeesABoxNoneIsShown) {
  const HWINSTA station = CreateWindowStationW(nullptr, 0, WINSTA_ALL_ACCESS, nullptr);
  ASSERT_TRUE(station != nullptr && SetProcessWindowStation(station));
  EXPECT_EQ(os::SystemPrompt().Show(u"text", u"caption", 0), 0);
}

TEST(Win32System, AReparsePointIsALinkWhenItsTagSaysSo) {
  struct {
    std::uint32_t tag;
    bool isLink;
  } const cases[] = {{0xA000000C, true},   // symbolic link
                     {0xA0000003, true},   // junction, mount point
                     {0xA000001D, true},   // link of the Linux subsystem
                     {0, true},            // not told
                     {0x80000013, false},  // deduplicated
                     {0x80000008, false},  // packed into an image
                     {0x9000001A, false},  // in the cloud
                     {0x8000001B, false}};
  for (const auto& each : cases) {
    EXPECT_EQ(win32::AttributesOf(0x421, each.tag), each.isLink ? 0x421u : 0x21u) << std::hex << each.tag;
  }
}

bool Loads(const wchar_t* name) {
  const HMODULE library = LoadLibraryW(name);
  if (library) FreeLibrary(library);
  return library != nullptr;
}

// A library of the system under another name, laid where a careless program would take it from.
TEST(ProcessHardeningTest, ALibraryOfTheCurrentFolderIsNotLoaded) {
  wchar_t folder[MAX_PATH];
  wchar_t system[MAX_PATH];
  ASSERT_NE(GetTempPathW(MAX_PATH, folder), 0u);
  ASSERT_NE(GetSystemDirectoryW(system, MAX_PATH), 0u);
  ASSERT_TRUE(SetCurrentDirectoryW(folder));
  ASSERT_TRUE(CopyFileW((std::wstring(system) + L"\\version.dll").c_str(), L"ovsplanted.dll", FALSE));
  EXPECT_TRUE(Loads(L"ovsplanted.dll")) << "the test shows nothing: error " << GetLastError();
  SetErrorMode(0);
  os::HardenProcess();
  EXPECT_NE(GetErrorMode() & SEM_FAILCRITICALERRORS, 0u) << "a drive without a medium would ask for it";
  EXPECT_FALSE(Loads(L"ovsplanted.dll"));
  EXPECT_TRUE(Loads(L"winmm.dll")) << "the system's own still load";
  EXPECT_TRUE(Loads((std::wstring(folder) + L"ovsplanted.dll").c_str())) << "as does what is named by its path";
  EXPECT_TRUE(DeleteFileW(L"ovsplanted.dll"));
}

}  // namespace
}  // namespace ovs
