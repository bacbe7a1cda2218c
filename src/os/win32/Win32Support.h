// Shared by the adapters: texts and times in the system's form and back, its failures, the owner of its handles.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/Text.h"
#include "os/Error.h"
#include "os/Files.h"

namespace ovs {

// Texts as the wide calls take them. Both kinds of unit have the same size on Windows.
static_assert(sizeof(wchar_t) == sizeof(char16_t));
[[nodiscard]] inline std::wstring ToWide(TextView text) { return {text.begin(), text.end()}; }
[[nodiscard]] inline Text FromWide(std::wstring_view text) { return {text.begin(), text.end()}; }

// Closes its handle once. Null and the system's INVALID_HANDLE_VALUE both mean: empty. An empty owner calls nothing, so the
// last-error value of the call that made it survives.
class Handle {
 public:
  Handle() noexcept = default;
  explicit Handle(void* handle) noexcept;
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept;
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }

  [[nodiscard]] void* Get() const noexcept { return handle_; }
  explicit operator bool() const noexcept { return handle_ != nullptr; }
  void Close() noexcept;

 private:
  void* handle_ = nullptr;
};

namespace win32 {

// The calling thread's last error; to be asked in the statement that failed. A system that gives no number for a failure is
// taken to mean 31.
os::Error LastError() noexcept;
// Of a call that leaves a last error when it has not done its work.
inline os::Error Outcome(bool done) noexcept { return done ? os::kSuccess : LastError(); }

// A function of the system's core library, by its name; null on a Windows that is too old to have it. Every other function
// that is called must be there on Windows 7: a program that imports one that is missing does not start.
void* FindInSystem(const char* name) noexcept;
template <typename Function>
[[nodiscard]] Function* FindInSystem(const char* name) noexcept {
  return reinterpret_cast<Function*>(FindInSystem(name));
}

// Attributes with the mark of a reparse point only where it stands for another place, which its tag tells. Of a file system
// that gives no tag (0) the mark is believed.
[[nodiscard]] constexpr std::uint32_t AttributesOf(std::uint32_t attributes, std::uint32_t tag) {
  constexpr std::uint32_t kNameSurrogate = 0x20000000;
  const bool isElsewhere = tag == 0 || (tag & kNameSurrogate) != 0;
  return isElsewhere ? attributes : attributes & ~os::FileAttribute::kReparsePoint;
}

// Of a FILETIME; a template because no header here names the system's own.
template <typename FileTime>
[[nodiscard]] os::FileTicks TicksOf(const FileTime& time) {
  return static_cast<os::FileTicks>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

}  // namespace win32

}  // namespace ovs
