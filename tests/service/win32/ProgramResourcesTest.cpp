// The resources inside the shipped program file.
#include <windows.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "base/Version.h"
#include "os/Files.h"
#include "os/win32/Win32Support.h"

namespace ovs {
namespace {

struct LibraryCloser {
  void operator()(HMODULE library) const noexcept { FreeLibrary(library); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryCloser>;

// The program lies beside the tests.
std::wstring ProgramFile() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.rfind(L'\\') + 1) + L"OrvantaEventService.exe";
}

Library Load() {
  return Library(LoadLibraryExW(ProgramFile().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
}

TEST(ProgramResources, ARecordIsRenderedAsTheVeryTextThatWasWritten) {
  const Library program = Load();
  ASSERT_TRUE(program);
  std::wstring text = L"Größe 100 %, \"orvanta - stopping event service...\"";
  DWORD_PTR inserts[] = {reinterpret_cast<DWORD_PTR>(text.data())};
  wchar_t rendered[200] = L"";
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, program.get(), 1, 0,
                                      rendered, 200, reinterpret_cast<va_list*>(inserts));
  EXPECT_EQ(std::wstring(rendered, length), text);
}

TEST(ProgramResources, VersionIsTheSources) {
  os::FileVersion version;
  ASSERT_TRUE(os::SystemFiles().Version(FromWide(ProgramFile()), version).Ok());
  const std::string text =
      std::to_string(version.part[0]) + "." + std::to_string(version.part[1]) + "." + std::to_string(version.part[2]);
  EXPECT_EQ(text, kVersionUtf8);
}

TEST(ProgramResources, ManifestKnowsLongPathsAndAsksForNoRights) {
  const Library program = Load();
  ASSERT_TRUE(program);
  const HRSRC found = FindResourceW(program.get(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24));
  ASSERT_NE(found, nullptr);
  const auto* const bytes = static_cast<const char*>(LockResource(LoadResource(program.get(), found)));
  const std::string manifest(bytes, SizeofResource(program.get(), found));
  for (const char* part : {"longPathAware>true", "level=\"asInvoker\"", "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"}) {
    EXPECT_NE(manifest.find(part), std::string::npos) << part;
  }
}

}  // namespace
}  // namespace ovs
