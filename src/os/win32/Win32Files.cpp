#include <windows.h>
#include <dbghelp.h>

#include <array>
#include <cstddef>
#include <string>

#include "os/Files.h"
#include "os/win32/Win32OpenFile.h"
#include "os/win32/Win32Path.h"
#include "os/win32/Win32Support.h"

namespace ovs::os {

namespace {

using namespace ovs::win32;

constexpr std::size_t kPlainPathLimit = 248;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Of WIN32_FILE_ATTRIBUTE_DATA and WIN32_FIND_DATAW, which name their fields alike.
template <typename Data>
FileInfo InfoOf(const Data& data, DWORD reparseTag) {
  FileInfo info;
  info.attributes = AttributesOf(data.dwFileAttributes, reparseTag);
  info.size = info.IsDirectory() ? 0 : (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  info.created = TicksOf(data.ftCreationTime);
  info.accessed = TicksOf(data.ftLastAccessTime);
  info.modified = TicksOf(data.ftLastWriteTime);
  return info;
}

// Of what the attributes call a reparse point; 0 when it cannot be asked.
DWORD ReparseTagOf(const wchar_t* path) {
  constexpr DWORD kItself = FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS;
  const Handle open(CreateFileW(path, FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING, kItself, nullptr));
  FILE_ATTRIBUTE_TAG_INFO info{};
  const bool isKnown = open && GetFileInformationByHandleEx(open.Get(), FileAttributeTagInfo, &info, sizeof info);
  return isKnown ? info.ReparseTag : 0;
}

bool IsDots(std::wstring_view name) { return name == L"." || name == L".."; }

struct FindCloser {
  void operator()(void* search) const { FindClose(search); }
};

// The text for an ANSI call; 123 when the system's code page has no byte for some character of it.
Error ToAnsi(TextView text, std::string& out) {
  const std::wstring wide = ToWide(text);
  const bool isUtf8 = GetACP() == CP_UTF8;  // which takes neither of the other two arguments
  const DWORD flags = isUtf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
  BOOL lossy = FALSE;
  out.assign(wide.size() * 4 + 1, '\0');
  const int length = WideCharToMultiByte(CP_ACP, flags, wide.c_str(), -1, out.data(), static_cast<int>(out.size()), nullptr,
                                         isUtf8 ? nullptr : &lossy);
  if (length == 0) return LastError();
  if (lossy) return SystemError::kInvalidName;
  out.resize(static_cast<std::size_t>(length) - 1);
  return kSuccess;
}

// Calls a function that fills a buffer and yields the length, or the size it needs when that is more than it was given.
template <typename Call>
Error Fill(Text& out, Call call) {
  std::wstring buffer(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = call(buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) return LastError();
    const bool fits = length < buffer.size();
    buffer.resize(length);
    if (!fits) continue;
    out = FromWide(buffer);
    return kSuccess;
  }
}

class Win32Files : public Files {
 public:
  Error Info(TextView path, FileInfo& out) override;
  Error OpenRead(TextView path, std::unique_ptr<ReadFile>& out) override;
  Error OpenAppend(TextView path, std::unique_ptr<AppendFile>& out) override;
  Error Write(TextView path, std::string_view bytes) override;
  Error Flush(TextView path) override;
  Error Rename(TextView from, TextView to) override;
  Error Delete(TextView path) override;
  Error RemoveDir(TextView path) override;
  Error CreateDir(TextView path) override;
  Error MakeSureDirectoryPathExists(TextView path) override;
  Error List(TextView folder, std::vector<DirEntry>& out) override;
  Error FolderIdentity(TextView folder, FileStamp& out) override;
  Error LongPathName(TextView path, Text& out) override;
  Error Version(TextView path, FileVersion& out) override;
  Error FileSystemName(TextView root, Text& out) override;
  Error SetCurrentDir(TextView path) override;
  Error TempFolder(Text& out) override;
};

// Carries out a call on the extended form of a path.
template <typename Call>
Error On(TextView path, Call call) {
  std::wstring extended;
  const Error error = ExtendedPath(path, extended);
  return error.Failed() ? error : Outcome(call(extended.c_str()) != 0);
}

Error Win32Files::Info(TextView path, FileInfo& out) {
  return On(path, [&](const wchar_t* name) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(name, GetFileExInfoStandard, &data)) return false;
    out = InfoOf(data, (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? ReparseTagOf(name) : 0);
    return true;
  });
}

Error Win32Files::OpenRead(TextView path, std::unique_ptr<ReadFile>& out) {
  Handle file;
  const Error error = OpenPlainFile(path, OpenMode::Read, file);
  out = file ? MakeReadFile(std::move(file)) : nullptr;
  return error;
}

Error Win32Files::OpenAppend(TextView path, std::unique_ptr<AppendFile>& out) {
  Handle file;
  const Error error = OpenPlainFile(path, OpenMode::Append, file);
  out = file ? MakeAppendFile(std::move(file)) : nullptr;
  return error;
}

Error Win32Files::Write(TextView path, std::string_view bytes) {
  Handle file;
  if (const Error error = OpenPlainFile(path, OpenMode::Replace, file); error.Failed()) return error;
  if (const Error error = WriteAll(file, bytes); error.Failed()) return error;
  return Outcome(FlushFileBuffers(file.Get()) != 0);
}

Error Win32Files::Flush(TextView path) {
  Handle file;
  if (const Error error = OpenPlainFile(path, OpenMode::Flush, file); error.Failed()) return error;
  return Outcome(FlushFileBuffers(file.Get()) != 0);
}

Error Win32Files::Rename(TextView from, TextView to) {
  constexpr DWORD kHow = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  std::wstring source;
  if (const Error error = ExtendedPath(from, source); error.Failed()) return error;
  return On(to, [&](const wchar_t* name) { return MoveFileExW(source.c_str(), name, kHow); });
}

Error Win32Files::Delete(TextView path) { return On(path, DeleteFileW); }

Error Win32Files::RemoveDir(TextView path) { return On(path, RemoveDirectoryW); }

Error Win32Files::CreateDir(TextView path) {
  return On(path, [](const wchar_t* name) { return CreateDirectoryW(name, nullptr); });
}

Error Win32Files::MakeSureDirectoryPathExists(TextView path) {
  if (path.size() >= kPlainPathLimit) return SystemError::kNameTooLong;
  if (path.starts_with(u"\\\\?\\")) return SystemError::kInvalidName;
  std::string ansi;
  if (const Error error = ToAnsi(path, ansi); error.Failed()) return error;
  return Outcome(::MakeSureDirectoryPathExists(ansi.c_str()) != 0);
}

// Entry by entry, for file systems that number no files.
Error ListByNames(std::wstring pattern, std::vector<DirEntry>& out) {
  pattern.append(pattern.ends_with(L'\\') ? L"*" : L"\\*");
  WIN32_FIND_DATAW data = {};
  void* const found = FindFirstFileW(pattern.c_str(), &data);
  if (found == INVALID_HANDLE_VALUE) {
    // An empty root has not even the entries "." and "..".
    const Error error = LastError();
    return error == SystemError::kFileNotFound ? kSuccess : error;
  }
  const std::unique_ptr<void, FindCloser> search(found);
  do {
    if (IsDots(data.cFileName)) continue;
    const FileInfo info = InfoOf(data, data.dwReserved0);  // which holds the tag of a reparse point
    out.push_back({FromWide(data.cFileName), info, {.size = info.size, .modified = info.modified, .changed = info.created}});
  } while (FindNextFileW(search.get(), &data));
  const Error error = LastError();
  return error.Number() == ERROR_NO_MORE_FILES ? kSuccess : error;
}

DirEntry EntryOf(const FILE_ID_BOTH_DIR_INFO& data) {
  DirEntry entry;
  entry.name = FromWide({data.FileName, data.FileNameLength / sizeof(wchar_t)});
  FileInfo& info = entry.info;
  // Of a reparse point the size of the extended attributes is its tag.
  info.attributes = AttributesOf(data.FileAttributes, data.EaSize);
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

Handle OpenFolder(const std::wstring& folder, DWORD access) {
  return Handle(CreateFileW(folder.c_str(), access, kShareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// Many entries at once, with what identifies each. 50 when the file system cannot; nothing is added then.
Error ListWithIdentity(const std::wstring& folder, std::vector<DirEntry>& out) {
  const Handle open = OpenFolder(folder, FILE_LIST_DIRECTORY);
  if (!open) return SystemError::kNotSupported;
  alignas(FILE_ID_BOTH_DIR_INFO) std::array<std::byte, std::size_t{64} * 1024> buffer;
  const std::size_t before = out.size();
  while (GetFileInformationByHandleEx(open.Get(), FileIdBothDirectoryInfo, buffer.data(), buffer.size())) {
    AppendEntries(buffer.data(), out);
  }
  const Error error = LastError();
  if (error.Number() == ERROR_NO_MORE_FILES) return kSuccess;
  return out.size() == before ? SystemError::kNotSupported : error;
}

Error Win32Files::List(TextView folder, std::vector<DirEntry>& out) {
  std::wstring path;
  if (const Error error = ExtendedPath(folder, path); error.Failed()) return error;
  const Error error = ListWithIdentity(path, out);
  return error == SystemError::kNotSupported ? ListByNames(path, out) : error;
}

Error Win32Files::FolderIdentity(TextView folder, FileStamp& out) {
  std::wstring path;
  if (const Error error = ExtendedPath(folder, path); error.Failed()) return error;
  const Handle open = OpenFolder(path, FILE_READ_ATTRIBUTES);
  BY_HANDLE_FILE_INFORMATION data = {};
  if (!open || !GetFileInformationByHandle(open.Get(), &data)) return LastError();
  if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return SystemError::kNotADirectory;
  out = {.volume = data.dwVolumeSerialNumber,
         .index = (static_cast<std::uint64_t>(data.nFileIndexHigh) << 32) | data.nFileIndexLow};
  return kSuccess;
}

Error Win32Files::LongPathName(TextView path, Text& out) {
  std::wstring call;
  if (const Error error = ExtendedPath(path, call); error.Failed()) return error;
  // The answer has the form of the question, and the caller asked by a plain path.
  if (const std::wstring plain = PlainPath(call); plain.size() < MAX_PATH) call = plain;
  const Error error = Fill(out, [&](wchar_t* buffer, DWORD size) { return GetLongPathNameW(call.c_str(), buffer, size); });
  if (error.Ok()) out = FromWide(PlainPath(ToWide(out)));
  return error;
}

Error Win32Files::Version(TextView path, FileVersion& out) {
  std::wstring extended;
  if (const Error error = ExtendedPath(path, extended); error.Failed()) return error;
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(extended.c_str(), &ignored);
  if (size == 0) return LastError();
  std::string data(size, '\0');
  if (!GetFileVersionInfoW(extended.c_str(), 0, size, data.data())) return LastError();
  void* root = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(data.data(), L"\\", &root, &length) || length < sizeof(VS_FIXEDFILEINFO)) {
    return Error(ERROR_RESOURCE_TYPE_NOT_FOUND);
  }
  const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(root);
  out = {{HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS),
          LOWORD(fixed->dwFileVersionLS)}};
  return kSuccess;
}

Error Win32Files::FileSystemName(TextView root, Text& out) {
  wchar_t name[MAX_PATH + 1] = {};
  const Error error = On(root, [&](const wchar_t* volume) {
    return GetVolumeInformationW(volume, nullptr, 0, nullptr, nullptr, nullptr, name, MAX_PATH + 1);
  });
  if (error.Ok()) out = FromWide(name);
  return error;
}

Error Win32Files::SetCurrentDir(TextView path) {
  // The current folder keeps to the plain form.
  return On(path, [](const wchar_t* name) { return SetCurrentDirectoryW(PlainPath(name).c_str()); });
}

Error Win32Files::TempFolder(Text& out) {
  return Fill(out, [](wchar_t* buffer, DWORD size) { return GetTempPathW(size, buffer); });
}

}  // namespace

Files& SystemFiles() {
  static Win32Files files;
  return files;
}

}  // namespace ovs::os
