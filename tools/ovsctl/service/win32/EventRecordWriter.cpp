#include "ovsctl/service/win32/EventRecordWriter.h"

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "base/Encoding.h"
#include "os/Files.h"
#include "os/win32/Win32Support.h"

namespace ovs::win32 {

namespace {

constexpr DWORD kEventId = 1;
constexpr wchar_t kSource[] = L"OrvantaEventService";
constexpr wchar_t kSourceKey[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\OrvantaEventService";
constexpr wchar_t kMessageFileValue[] = L"EventMessageFile";
constexpr wchar_t kTypesValue[] = L"TypesSupported";
constexpr DWORD kTypes = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;

os::Error Result(LSTATUS error) { return os::Error(static_cast<std::uint32_t>(error)); }

// Looking first keeps this possible for whoever may read the key but not write it.
bool HasValue(const wchar_t* name) {
  return RegGetValueW(HKEY_LOCAL_MACHINE, kSourceKey, name, RRF_RT_ANY | RRF_NOEXPAND, nullptr, nullptr, nullptr) ==
         ERROR_SUCCESS;
}

os::Error SetValue(const wchar_t* name, DWORD type, const void* data, std::size_t bytes) {
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

os::Error EnsureEventSource(TextView serviceProgram, bool renew) {
  os::Error error;
  if (renew || !HasValue(kMessageFileValue)) {
    const std::wstring program = ToWide(serviceProgram);
    error = SetValue(kMessageFileValue, REG_EXPAND_SZ, program.c_str(), (program.size() + 1) * sizeof(wchar_t));
  }
  if (error.Ok() && (renew || !HasValue(kTypesValue))) error = SetValue(kTypesValue, REG_DWORD, &kTypes, sizeof kTypes);
  return error;
}

os::Error RemoveEventSource() {
  const os::Error error = Result(RegDeleteKeyW(HKEY_LOCAL_MACHINE, kSourceKey));
  return error == SystemError::kFileNotFound ? os::kSuccess : error;
}

os::Error WriteEventRecord(TextView text) {
  const HANDLE log = RegisterEventSourceW(nullptr, kSource);
  if (!log) return LastError();
  const std::wstring wide = ToWide(text);
  const wchar_t* insertion = wide.c_str();
  const os::Error error =
      Outcome(ReportEventW(log, EVENTLOG_INFORMATION_TYPE, 0, kEventId, nullptr, 1, 0, &insertion, nullptr) != FALSE);
  DeregisterEventSource(log);
  return error;
}

os::Error AppendRecordToFeed(TextView path, TextView text) {
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
  return error;
}

}  // namespace ovs::win32
