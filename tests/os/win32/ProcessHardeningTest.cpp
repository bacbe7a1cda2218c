#include "os/System.h"

#include <windows.h>
#include <gtest/gtest.h>

namespace ovs {
namespace {

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
  os::HardenProcess();
  EXPECT_FALSE(Loads(L"ovsplanted.dll"));
  EXPECT_TRUE(Loads(L"winmm.dll")) << "the system's own still load";
  EXPECT_TRUE(Loads((std::wstring(folder) + L"ovsplanted.dll").c_str())) << "as does what is named by its path";
  EXPECT_TRUE(DeleteFileW(L"ovsplanted.dll"));
}

}  // namespace
}  // namespace ovs
