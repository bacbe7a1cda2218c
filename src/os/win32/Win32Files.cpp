#include <windows.h>
#include <dbghelp.h>

#include <array>
#include <cstddef>
#include <string>

#include "os/Files.h"
#include "os/PendingError.h"
#include "os/win32/Win32Error.h"
#include "os/win32/Win32OpenFile.h"
#include "os/win32/Win32Path.h"
#include "os/win32/Win32Text.h"
#include "os/win32/Win32Ticks.h"

namespace ovs::os {

namespace {

using namespace ovs::win32;

constexpr std::size_t kPlainPathLimit = 248;

// Of WIN32_FILE_ATTRIBUTE_DATA and WIN32_FIND_DATAW, which name their fields alike.
template <typename Data>
FileInfo InfoOf(const Data& data) {
  FileInfo info;
  info.attributes = data.dwFileAttributes;
  info.size = info.IsDirectory() ? 0 : (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  info.created = TicksOf(data.ftCreationTime);
  info.accessed = TicksOf(data.ftLastAccessTime);
  info.modified = TicksOf(data.ftLastWriteTime);
  return info;
}

bool IsDots(std::wstring_view name) { return name == L"." || name == L".."; }

struct FindCloser {
  void operator()(void* search) const { FindClose(search); }
};

// The text for an ANSI call; false when the system's code page has no byte for some character of it.
bool ToAnsi(TextView text, std::string& out) {
  const std::wstring wide = ToWide(text);
  const bool isUtf8 = GetACP() == CP_UTF8;  // which takes neither of the other two arguments
  const DWORD flags = isUtf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
  BOOL lossy = FALSE;
  out.assign(wide.size() * 4 + 1, '\0');
  const int length = WideCharToMultiByte(CP_ACP, flags, wide.c_str(), -1, out.data(), static_cast<int>(out.size()), nullptr,
                                         isUtf8 ? nullptr : &lossy);
  if (length == 0) return FailLast();
  if (lossy) return Fail(SystemErrorNumber::kInvalidName);
  out.resize(static_cast<std::size_t>(length) - 1);
  return true;
}

// Calls a function that fills a buffer and yields the length, or the size it needs when that is more than it was given.
template <typename Call>
bool Fill(Text& out, Call call) {
  std::wstring buffer(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = call(buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) return FailLast();
    const bool fits = length < buffer.size();
    buffer.resize(length);
    if (!fits) continue;
    out = FromWide(buffer);
    return true;
  }
}

class Win32Files : public Files {
 public:
  bool Info(TextView path, FileInfo& out) override;
  std::unique_ptr<ReadFile> OpenRead(TextView path) override;
  std::unique_ptr<AppendFile> OpenAppend(TextView path) override;
  bool Write(TextView path, std::string_view bytes) override;
  bool Rename(TextView from, TextView to) override;
  bool Delete(TextView path) override;
  bool RemoveDir(TextView path) override;
  bool CreateDir(TextView path) override;
  bool MakeSureDirectoryPathExists(TextView path) override;
  bool List(TextView folder, std::vector<DirEntry>& out) override;
  bool LongPathName(TextView path, Text& out) override;
  bool Version(TextView path, FileVersion& out) override;
  bool FileSystemName(TextView root, Text& out) override;
  bool SetCurrentDir(TextView path) override;
  bool TempFolder(Text& out) override;
};

bool Win32Files::Info(TextView path, FileInfo& out) {
  const auto extended = ExtendedPath(path);
  if (!extended) return false;
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (!GetFileAttributesExW(extended->c_str(), GetFileExInfoStandard, &data)) return FailLast();
  out = InfoOf(data);
  return true;
}

std::unique_ptr<ReadFile> Win32Files::OpenRead(TextView path) {
  Handle file = OpenPlainFile(path, OpenMode::Read);
  return file ? MakeReadFile(std::move(file)) : nullptr;
}

std::unique_ptr<AppendFile> Win32Files::OpenAppend(TextView path) {
  Handle file = OpenPlainFile(path, OpenMode::Append);
  return file ? MakeAppendFile(std::move(file)) : nullptr;
}

bool Win32Files::Write(TextView path, std::string_view bytes) {
  const Handle file = OpenPlainFile(path, OpenMode::Replace);
  if (!file || !WriteAll(file, bytes)) return false;
  return FlushFileBuffers(file.Get()) != 0 || FailLast();
}

bool Win32Files::Rename(TextView from, TextView to) {
  const auto source = ExtendedPath(from);
  if (!source) return false;
  const auto target = ExtendedPath(to);
  if (!target) return false;
  return MoveFileExW(source->c_str(), target->c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0 ||
         FailLast();
}

bool Win32Files::Delete(TextView path) {
  const auto extended = ExtendedPath(path);
  return extended && (DeleteFileW(extended->c_str()) != 0 || FailLast());
}

bool Win32Files::RemoveDir(TextView path) {
  const auto extended = ExtendedPath(path);
  return extended && (RemoveDirectoryW(extended->c_str()) != 0 || FailLast());
}

bool Win32Files::CreateDir(TextView path) {
  const auto extended = ExtendedPath(path);
  return extended && (CreateDirectoryW(extended->c_str(), nullptr) != 0 || FailLast());
}

bool Win32Files::MakeSureDirectoryPathExists(TextView path) {
  if (path.size() >= kPlainPathLimit) return Fail(SystemErrorNumber::kNameTooLong);
  if (path.starts_with(u"\\\\?\\")) return Fail(SystemErrorNumber::kInvalidName);
  std::string ansi;
  if (!ToAnsi(path, ansi)) return false;
  return ::MakeSureDirectoryPathExists(ansi.c_str()) != 0 || FailLast();
}

// Entry by entry, for file systems that number no files.
bool ListByNames(std::wstring pattern, std::vector<DirEntry>& out) {
  pattern.append(pattern.ends_with(L'\\') ? L"*" : L"\\*");
  WIN32_FIND_DATAW data = {};
  void* const found = FindFirstFileW(pattern.c_str(), &data);
  if (found == INVALID_HANDLE_VALUE) {
    // An empty root has not even the entries "." and "..".
    const DWORD number = GetLastError();
    return number == ERROR_FILE_NOT_FOUND || Fail(number);
  }
  const std::unique_ptr<void, FindCloser> search(found);
  do {
    if (IsDots(data.cFileName)) continue;
    const FileInfo info = InfoOf(data);
    out.push_back({FromWide(data.cFileName), info, {.size = info.size, .modified = info.modified, .changed = info.created}});
  } while (FindNextFileW(search.get(), &data));
  const DWORD number = GetLastError();
  return number == ERROR_NO_MORE_FILES || Fail(number);
}

DirEntry EntryOf(const FILE_ID_BOTH_DIR_INFO& data) {
  DirEntry entry;
  entry.name = FromWide({data.FileName, data.FileNameLength / sizeof(wchar_t)});
  FileInfo& info = entry.info;
  info.attributes = data.FileAttributes;
  info.size = info.IsDirectory() ? 0 : static_cast<std::uint64_t>(data.EndOfFile.QuadPart);
  info.created = data.CreationTime.QuadPart;
  info.accessed = data.LastAccessTime.QuadPart;
  info.modified = data.LastWriteTime.QuadPart;
  entry.stamp = {.index = static_cast<std::uint64_t>(data.FileId.QuadPart),
                 .size = info.size,
                 .modified = info.modified,
                 .changed = data.ChangeTime.QuadPart};
  return entry;
}

void AppendEntries(const std::byte* at, std::vector<DirEntry>& out) {
  for (;;) {
    const auto& data = *reinterpret_cast<const FILE_ID_BOTH_DIR_INFO*>(at);
    DirEntry entry = EntryOf(data);
    if (entry.name != u"." && entry.name != u"..") out.push_back(std::move(entry));
    if (data.NextEntryOffset == 0) return;
    at += data.NextEntryOffset;
  }
}

// Many entries at once, with what identifies each. False with the number "not supported" when the file system cannot.
bool ListWithIdentity(const std::wstring& folder, std::vector<DirEntry>& out) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const Handle open(CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY, kShareAll, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!open) return Fail(SystemErrorNumber::kNotSupported);
  alignas(FILE_ID_BOTH_DIR_INFO) std::array<std::byte, std::size_t{64} * 1024> buffer;
  const std::size_t before = out.size();
  while (GetFileInformationByHandleEx(open.Get(), FileIdBothDirectoryInfo, buffer.data(), buffer.size())) {
    AppendEntries(buffer.data(), out);
  }
  const DWORD number = GetLastError();
  if (number == ERROR_NO_MORE_FILES) return true;
  return Fail(out.size() == before ? SystemErrorNumber::kNotSupported : number);
}

bool Win32Files::List(TextView folder, std::vector<DirEntry>& out) {
  const auto path = ExtendedPath(folder);
  if (!path) return false;
  if (ListWithIdentity(*path, out)) return true;
  if (PendingSystemError() != SystemErrorNumber::kNotSupported) return false;
  TakePendingSystemError();
  return ListByNames(*path, out);
}

bool Win32Files::LongPathName(TextView path, Text& out) {
  auto call = ExtendedPath(path);
  if (!call) return false;
  // The answer has the form of the question, and the caller asked by a plain path.
  if (const std::wstring plain = PlainPath(*call); plain.size() < MAX_PATH) call = plain;
  if (!Fill(out, [&](wchar_t* buffer, DWORD size) { return GetLongPathNameW(call->c_str(), buffer, size); })) return false;
  out = FromWide(PlainPath(ToWide(out)));
  return true;
}

bool Win32Files::Version(TextView path, FileVersion& out) {
  const auto extended = ExtendedPath(path);
  if (!extended) return false;
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(extended->c_str(), &ignored);
  if (size == 0) return FailLast();
  std::string data(size, '\0');
  if (!GetFileVersionInfoW(extended->c_str(), 0, size, data.data())) return FailLast();
  void* root = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(data.data(), L"\\", &root, &length) || length < sizeof(VS_FIXEDFILEINFO)) {
    return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND);
  }
  const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(root);
  out = {{HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS),
          LOWORD(fixed->dwFileVersionLS)}};
  return true;
}

bool Win32Files::FileSystemName(TextView root, Text& out) {
  const auto extended = ExtendedPath(root);
  if (!extended) return false;
  wchar_t name[MAX_PATH + 1] = {};
  if (!GetVolumeInformationW(extended->c_str(), nullptr, 0, nullptr, nullptr, nullptr, name, MAX_PATH + 1)) {
    return FailLast();
  }
  out = FromWide(name);
  return true;
}

bool Win32Files::SetCurrentDir(TextView path) {
  // The current folder keeps to the plain form.
  const auto extended = ExtendedPath(path);
  return extended && (SetCurrentDirectoryW(PlainPath(*extended).c_str()) != 0 || FailLast());
}

bool Win32Files::TempFolder(Text& out) {
  return Fill(out, [](wchar_t* buffer, DWORD size) { return GetTempPathW(size, buffer); });
}

}  // namespace

Files& SystemFiles() {
  static Win32Files files;
  return files;
}

}  // namespace ovs::os
