#include <windows.h>

#include <string>
#include <vector>

#include "os/Files.h"
#include "os/win32/Win32OpenFile.h"
#include "os/win32/Win32Path.h"
#include "os/win32/Win32Support.h"

namespace ovs::os {

namespace {

// The access rights of the file.
Error RightsOf(const std::wstring& path, std::vector<char>& out) {
  DWORD size = 0;
  GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  out.resize(size);
  const bool known = size != 0 && GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, out.data(), size, &size) != 0;
  return win32::Outcome(known);
}

// A new file with those bytes, closed again. The rights are there from the first moment.
Error WriteFileBeside(const std::wstring& path, std::vector<char>& rights, std::string_view bytes) {
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, rights.empty() ? nullptr : rights.data(), FALSE};
  const Handle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, &attributes, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return win32::LastError();
  const Error error = win32::WriteAll(file, bytes);
  return error.Failed() ? error : win32::Outcome(FlushFileBuffers(file.Get()) != 0);
}

// A program that has the target open at this moment, as the service when it reads it, keeps it from being replaced.
Error MoveOver(const std::wstring& from, const std::wstring& target) {
  constexpr int kTries = 40;
  constexpr DWORD kPause = 25;
  for (int i = 1;; ++i) {
    if (MoveFileExW(from.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return kSuccess;
    const Error error = win32::LastError();
    const bool isInUse = error == SystemError::kAccessDenied || error == SystemError::kSharingViolation;
    if (!isInUse || i == kTries) return error;
    Sleep(kPause);
  }
}

}  // namespace

Error ReplaceFileSafely(TextView path, std::string_view bytes) {
  std::wstring target;
  if (const Error error = win32::ExtendedPath(path, target); error.Failed()) return error;
  std::vector<char> rights;
  if (GetFileAttributesW(target.c_str()) != INVALID_FILE_ATTRIBUTES) {
    // A file that may not be written stays, although its folder would let it be replaced.
    Handle mayBeWritten;
    if (const Error error = win32::OpenPlainFile(path, win32::OpenMode::Append, mayBeWritten); error.Failed()) return error;
    if (const Error error = RightsOf(target, rights); error.Failed()) return error;
  }
  const std::wstring beside = target + L"." + std::to_wstring(GetCurrentProcessId()) + L".new";
  Error error = WriteFileBeside(beside, rights, bytes);
  if (error.Ok()) error = MoveOver(beside, target);
  if (error.Failed()) DeleteFileW(beside.c_str());
  return error;
}

}  // namespace ovs::os
