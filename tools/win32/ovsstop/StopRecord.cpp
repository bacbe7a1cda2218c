#include "StopRecord.h"

#include <windows.h>

#include <cstdio>

namespace ovs::stopsvc {
namespace {

constexpr DWORD kEventId = 1;
constexpr wchar_t kSourceKey[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\OrvantaEventService";
constexpr wchar_t kMessageFileValue[] = L"EventMessageFile";
constexpr wchar_t kTypesValue[] = L"TypesSupported";
constexpr DWORD kTypes = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;

std::wstring ServiceProgram() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  path.resize(path.find_last_of(L'\\') + 1);
  return path + L"OrvantaEventService.exe";
}

// Looking first keeps this possible for whoever may read the key but not write it.
bool HasValue(const wchar_t* name) {
  return RegGetValueW(HKEY_LOCAL_MACHINE, kSourceKey, name, RRF_RT_ANY | RRF_NOEXPAND, nullptr, nullptr, nullptr) ==
         ERROR_SUCCESS;
}

std::uint32_t SetValue(const wchar_t* name, DWORD type, const void* data, std::size_t bytes) {
  HKEY key = nullptr;
  LSTATUS error = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSourceKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
  if (error != ERROR_SUCCESS) return static_cast<std::uint32_t>(error);
  error = RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(bytes));
  RegCloseKey(key);
  return static_cast<std::uint32_t>(error);
}

// The seven values as the notification delivers them; the time is UTC.
std::string FeedLine(const SYSTEMTIME& now) {
  std::string text;
  // The text is plain ASCII without quotes or backslashes, so nothing needs escaping.
  for (const wchar_t unit : std::wstring(kRecordText)) text += static_cast<char>(unit);
  char time[64];
  std::snprintf(time, sizeof time, "%04u%02u%02u%02u%02u%02u.%03u000-000", unsigned{now.wYear}, unsigned{now.wMonth},
                unsigned{now.wDay}, unsigned{now.wHour}, unsigned{now.wMinute}, unsigned{now.wSecond},
                unsigned{now.wMilliseconds});
  return R"({"EventType": 3, "Type": "Information", "EventCode": "1", "SourceName": "OrvantaEventService", )"
         R"("Message": ")" +
         text + R"(", "Logfile": "Application", "TimeGenerated": ")" + time + "\"}\n";
}

}  // namespace

std::uint32_t EnsureSource(bool& changed) {
  changed = false;
  if (!HasValue(kMessageFileValue)) {
    const std::wstring program = ServiceProgram();
    const std::size_t bytes = (program.size() + 1) * sizeof(wchar_t);
    if (const std::uint32_t error = SetValue(kMessageFileValue, REG_EXPAND_SZ, program.c_str(), bytes)) return error;
    changed = true;
  }
  if (!HasValue(kTypesValue)) {
    if (const std::uint32_t error = SetValue(kTypesValue, REG_DWORD, &kTypes, sizeof kTypes)) return error;
    changed = true;
  }
  return ERROR_SUCCESS;
}

std::uint32_t WriteRecord() {
  const HANDLE log = RegisterEventSourceW(nullptr, kSource);
  if (!log) return GetLastError();
  const wchar_t* text = kRecordText;
  const BOOL done = ReportEventW(log, EVENTLOG_INFORMATION_TYPE, 0, kEventId, nullptr, 1, 0, &text, nullptr);
  const std::uint32_t error = done ? ERROR_SUCCESS : GetLastError();
  DeregisterEventSource(log);
  return error;
}

// One write: whoever reads the feed meanwhile sees the whole line or nothing.
std::uint32_t AppendToFeed(const wchar_t* path) {
  const HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  SYSTEMTIME now;
  GetSystemTime(&now);
  const std::string line = FeedLine(now);
  DWORD written = 0;
  const BOOL done = WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  const std::uint32_t error = done ? ERROR_SUCCESS : GetLastError();
  CloseHandle(file);
  return error;
}

}  // namespace ovs::stopsvc
