#include <windows.h>

#include <string>
#include <vector>

#include "os/PendingError.h"
#include "os/ReplaceFile.h"
#include "os/win32/Win32Error.h"
#include "os/win32/Win32OpenFile.h"
#include "os/win32/Win32Path.h"

namespace ovs::os {

namespace {

// The access rights of the file; empty when the system does not tell.
std::vector<char> RightsOf(const std::wstring& path) {
  DWORD size = 0;
  GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<char> rights(size);
  if (size == 0 || !GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, rights.data(), size, &size)) rights.clear();
  return rights;
}

// None when it fails, the number recorded. The rights are there from the first moment.
Handle MakeFile(const std::wstring& path, std::vector<char>& rights) {
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, rights.empty() ? nullptr : rights.data(), FALSE};
  Handle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, &attributes, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) win32::FailLast();
  return file;
}

// A new file with those bytes, closed again.
bool WriteFileBeside(const std::wstring& path, std::vector<char>& rights, std::string_view bytes) {
  const Handle file = MakeFile(path, rights);
  if (!file) return false;
  return win32::WriteAll(file, bytes) && (FlushFileBuffers(file.Get()) != 0 || win32::FailLast());
}

// A program that has the target open at this moment, as the service when it reads it, keeps it from being replaced.
bool MoveOver(const std::wstring& from, const std::wstring& target) {
  constexpr int kTries = 40;
  constexpr DWORD kPause = 25;
  for (int i = 1; i <= kTries; ++i) {
    if (MoveFileExW(from.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return true;
    const bool isInUse = GetLastError() == ERROR_ACCESS_DENIED || GetLastError() == ERROR_SHARING_VIOLATION;
    if (!isInUse || i == kTries) return win32::FailLast();
    Sleep(kPause);
  }
  return false;
}

}  // namespace

bool ReplaceFileSafely(TextView path, std::string_view bytes) {
  const auto target = win32::ExtendedPath(path);
  if (!target) return false;
  std::vector<char> rights;
  if (GetFileAttributesW(target->c_str()) != INVALID_FILE_ATTRIBUTES) {
    // A file that may not be written stays, although its folder would let it be replaced.
    if (!win32::OpenPlainFile(path, win32::OpenMode::Append)) return false;
    rights = RightsOf(*target);
    if (rights.empty()) return win32::FailLast();
  }
  const std::wstring beside = *target + L"." + std::to_wstring(GetCurrentProcessId()) + L".new";
  const bool replaced = WriteFileBeside(beside, rights, bytes) && MoveOver(beside, *target);
  if (!replaced) DeleteFileW(beside.c_str());
  return replaced;
}

}  // namespace ovs::os
