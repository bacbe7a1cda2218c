// STAND-IN for tests.
#include "Feed.h"

#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <cstdio>

#include "StandinNames.h"

namespace ovs::standin {
namespace {

constexpr std::size_t kChunk = 64 * 1024;
// Change notifications are quick but no guarantee, so the file is looked at anyway after this time.
constexpr DWORD kLookAnyway = 50;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE Valid(HANDLE handle) { return handle == INVALID_HANDLE_VALUE ? nullptr : handle; }

std::wstring FolderOf(const std::wstring& path) {
  const std::size_t slash = path.find_last_of(L"\\/");
  return slash == std::wstring::npos ? L"." : path.substr(0, slash + 1);
}

HANDLE WatchFolder(const std::wstring& folder) {
  constexpr DWORD kWhat = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE;
  return Valid(FindFirstChangeNotificationW(folder.c_str(), FALSE, kWhat));
}

// Outside an apartment there is nobody to serve: a plain wait will do.
bool Signalled(HANDLE handle, DWORD milliseconds) {
  DWORD index = 0;
  const HRESULT result = CoWaitForMultipleHandles(0, milliseconds, 1, &handle, &index);
  if (result == S_OK) return true;
  if (result == RPC_S_CALLPENDING) return false;
  return WaitForSingleObject(handle, milliseconds) == WAIT_OBJECT_0;
}

std::wstring Environment(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(value.empty() ? 0 : GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

}  // namespace

void HandleCloser::operator()(void* handle) const noexcept { CloseHandle(handle); }
void ChangeCloser::operator()(void* handle) const noexcept { FindCloseChangeNotification(handle); }

// The folder is watched before the first look at the file, so that no change falls between the two.
Feed::Feed(std::wstring path) : path_(std::move(path)), change_(WatchFolder(FolderOf(path_))) {}

bool Feed::TryRead(std::string& line) {
  for (;;) {
    const std::size_t end = buffer_.find('\n', scanned_);
    if (end != std::string::npos) {
      line.assign(buffer_, taken_, end - taken_);
      taken_ = scanned_ = end + 1;
      return true;
    }
    scanned_ = buffer_.size();
    if (!Fill()) return false;
  }
}

bool Feed::Fill() {
  if (!file_) {
    file_.reset(Valid(CreateFileW(path_.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr)));
    if (!file_) return false;
  }
  buffer_.erase(0, taken_);
  scanned_ -= taken_;
  taken_ = 0;
  const std::size_t before = buffer_.size();
  buffer_.resize(before + kChunk);
  DWORD got = 0;
  if (!ReadFile(file_.get(), buffer_.data() + before, static_cast<DWORD>(kChunk), &got, nullptr)) got = 0;
  buffer_.resize(before + got);
  return got > 0;
}

void Feed::WaitForChange(std::uint32_t milliseconds) {
  const DWORD limit = std::min<DWORD>(milliseconds, kLookAnyway);
  if (!change_) change_.reset(WatchFolder(FolderOf(path_)));
  // Without a folder there is nothing to watch: the running thread's own handle never becomes signalled.
  const HANDLE awaited = change_ ? change_.get() : GetCurrentThread();
  if (Signalled(awaited, limit)) FindNextChangeNotification(awaited);
}

ProgressFile::ProgressFile(const std::wstring& feed)
    : file_(Valid(CreateFileW((feed + L".count").c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr))) {}

void ProgressFile::Write(const Progress& progress) {
  if (!file_) return;
  char text[128];
  const int length =
      std::snprintf(text, sizeof text, "delivered %llu skipped %llu failed %llu calls %llu\n",
                    static_cast<unsigned long long>(progress.delivered), static_cast<unsigned long long>(progress.skipped),
                    static_cast<unsigned long long>(progress.failed), static_cast<unsigned long long>(progress.calls));
  OVERLAPPED start{};
  DWORD written = 0;
  WriteFile(file_.get(), text, static_cast<DWORD>(length), &written, &start);
}

std::wstring ConfiguredFeed() {
  if (std::wstring path = Environment(kFeedVariable); !path.empty()) return path;
  wchar_t path[32768];
  DWORD bytes = sizeof path;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kSettingsKey, kFeedValue, RRF_RT_REG_SZ, nullptr, path, &bytes) != ERROR_SUCCESS)
    return {};
  return path;
}

bool SwitchIsOn(const wchar_t* value) {
  DWORD number = 0;
  DWORD bytes = sizeof number;
  return RegGetValueW(HKEY_LOCAL_MACHINE, kSettingsKey, value, RRF_RT_REG_DWORD, nullptr, &number, &bytes) ==
             ERROR_SUCCESS &&
         number != 0;
}

}  // namespace ovs::standin
