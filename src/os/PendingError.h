// The system error that a failing port call leaves for the debug log.
//
// A port call that fails records its system error number in the statement that failed. The number stays pending until
// the debug log reads it; a later successful call does not clear it, and nothing but a port sets it, so values that the
// runtime leaves behind never count. Numbers are Windows system error numbers in every build. One value per thread.
#pragma once

#include <cstdint>

namespace ovs {

void SetPendingSystemError(std::uint32_t number) noexcept;

// The pending number, 0 when none; it stays pending.
[[nodiscard]] std::uint32_t PendingSystemError() noexcept;

// The pending number, which is cleared.
std::uint32_t TakePendingSystemError() noexcept;

// For work whose failures are nobody's business: when the scope ends, what was pending before is pending again.
class PendingErrorScope {
 public:
  PendingErrorScope() noexcept : before_(PendingSystemError()) {}
  ~PendingErrorScope() { SetPendingSystemError(before_); }
  PendingErrorScope(const PendingErrorScope&) = delete;
  PendingErrorScope& operator=(const PendingErrorScope&) = delete;

 private:
  std::uint32_t before_;
};

// The numbers that the code acts upon.
namespace SystemErrorNumber {
inline constexpr std::uint32_t kNone = 0;
inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kPathNotFound = 3;
inline constexpr std::uint32_t kTooManyOpenFiles = 4;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kOutOfMemory = 8;
inline constexpr std::uint32_t kInvalidData = 13;
inline constexpr std::uint32_t kNoMoreFiles = 18;
inline constexpr std::uint32_t kWriteProtected = 19;
inline constexpr std::uint32_t kGeneralFailure = 31;
inline constexpr std::uint32_t kSharingViolation = 32;
inline constexpr std::uint32_t kNotSupported = 50;
inline constexpr std::uint32_t kFileExists = 80;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kDiskFull = 112;
inline constexpr std::uint32_t kInvalidName = 123;
inline constexpr std::uint32_t kDirectoryNotEmpty = 145;
inline constexpr std::uint32_t kAlreadyExists = 183;
inline constexpr std::uint32_t kNameTooLong = 206;
inline constexpr std::uint32_t kMoreData = 234;
inline constexpr std::uint32_t kNoMoreItems = 259;
inline constexpr std::uint32_t kNotADirectory = 267;
inline constexpr std::uint32_t kFileTooLarge = 223;
}  // namespace SystemErrorNumber

}  // namespace ovs
