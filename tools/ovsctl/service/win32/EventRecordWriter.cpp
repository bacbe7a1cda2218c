#include "ovsctl/service/win32/EventRecordWriter.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "base/Encoding.h"
#include "os/Files.h"
#include "os/win32/Win32Text.h"
#include "ovsctl/service/win32/ServiceControl.h"

namespace ovs::win32 {

namespace {

constexpr DWORD kEventId = 1;
constexpr wchar_t kSource[] = L"OrvantaEventService";
constexpr wchar_t kSourceKey[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\OrvantaEventService";
constexpr wchar_t kMessageFileValue[] = L"EventMessageFile";
constexpr wchar_t kTypesValue[] = L"TypesSupported";
constexpr DWORD kTypes = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;

bool Result(LSTATUS error) { return error == ERROR_SUCCESS || Fail(os::Error(static_cast<std::uint32_t>(error))); }

// Looking first keeps this possible for whoever may read the key but not write it.
bool HasValue(const wchar_t* name) {
  return RegGetValueW(HKEY_LOCAL_MACHINE, kSourceKey, name, RRF_RT_ANY | RRF_NOEXPAND, nullptr, nullptr, nullptr) ==
         ERROR_SUCCESS;
}

bool SetValue(const wchar_t* name, DWORD type, const void* data, std::size_t bytes) {
  HKEY key = nullptr;
  LSTATUS error = RegCreateKeyExW(HKEY_LOCAL_MACHINE, kSourceKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr);
  if (error != ERROR_SUCCESS) return Result(error);
  error = RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(bytes));
  RegCloseKey(key);
  return Result(error);
}

// As the notification delivers it: UTC, microseconds.
std::string TimeNow() {
  SYSTEMTIME now;
  GetSystemTime(&now);
  char time[64];
  std::snprintf(time, sizeof time, "%04u%02u%02u%02u%02u%02u.%03u000-000", unsigned{now.wYear}, unsigned{now.wMonth},
                unsigned{now.wDay}, unsigned{now.wHour}, unsigned{now.wMinute}, unsigned{now.wSecond},
                unsigned{now.wMilliseconds});
  return time;
}

}  // namespace

bool EnsureEventSource(TextView serviceProgram, bool renew) {
  if (renew || !HasValue(kMessageFileValue)) {
    const std::wstring program = ToWide(serviceProgram);
    if (!SetValue(kMessageFileValue, REG_EXPAND_SZ, program.c_str(), (program.size() + 1) * sizeof(wchar_t))) return false;
  }
  return (!renew && HasValue(kTypesValue)) || SetValue(kTypesValue, REG_DWORD, &kTypes, sizeof kTypes);
}

bool RemoveEventSource() {
  const LSTATUS error = RegDeleteKeyW(HKEY_LOCAL_MACHINE, kSourceKey);
  return error == ERROR_FILE_NOT_FOUND || Result(error);
}

bool WriteEventRecord(TextView text) {
  const HANDLE log = RegisterEventSourceW(nullptr, kSource);
  if (!log) return FailLast();
  const std::wstring wide = ToWide(text);
  const wchar_t* insertion = wide.c_str();
  const bool done =
      ReportEventW(log, EVENTLOG_INFORMATION_TYPE, 0, kEventId, nullptr, 1, 0, &insertion, nullptr) != FALSE || FailLast();
  DeregisterEventSource(log);
  return done;
}

bool AppendRecordToFeed(TextView path, TextView text) {
  const nlohmann::ordered_json record = {{"EventType", 3},
                                         {"Type", "Information"},
                                         {"EventCode", std::to_string(kEventId)},
                                         {"SourceName", ToUtf8(FromWide(kSource))},
                                         {"Message", ToUtf8(text)},
                                         {"Logfile", "Application"},
                                         {"TimeGenerated", TimeNow()}};
  std::unique_ptr<os::AppendFile> file;
  os::Error error = os::SystemFiles().OpenAppend(path, file);
  if (error.Ok()) error = file->Append(record.dump() + "\n");
  return error.Ok() || Fail(error);
}

}  // namespace ovs::win32
