// How a port call ended.
//
// A port tells of a failure by its result alone: it logs nothing and leaves nothing behind for others to find. Whoever
// calls decides whether a failure matters, and the traced procedures say so to the debug log (see Proc::Fail).
#pragma once

#include <cstdint>

namespace ovs::os {

// The number that the system gave a failed call, in every build that of a Windows system error; 0 when the call did its
// work. There is no conversion to bool on purpose: `if (call())` reads as its opposite.
class [[nodiscard]] Error {
 public:
  constexpr Error() noexcept = default;
  constexpr explicit Error(std::uint32_t number) noexcept : number_(number) {}

  [[nodiscard]] constexpr bool Ok() const noexcept { return number_ == 0; }
  [[nodiscard]] constexpr bool Failed() const noexcept { return number_ != 0; }
  // Neither file, folder, key nor value of that name (2 and 3).
  [[nodiscard]] constexpr bool IsNotFound() const noexcept { return number_ == 2 || number_ == 3; }
  [[nodiscard]] constexpr std::uint32_t Number() const noexcept { return number_; }
  // For a call whose failure changes nothing.
  constexpr void Ignore() const noexcept {}

  constexpr bool operator==(const Error&) const noexcept = default;

 private:
  std::uint32_t number_ = 0;
};

inline constexpr Error kSuccess;

}  // namespace ovs::os

namespace ovs {

// The failures that the code acts upon, or gives itself.
namespace SystemError {
inline constexpr os::Error kFileNotFound{2};
inline constexpr os::Error kPathNotFound{3};
inline constexpr os::Error kTooManyOpenFiles{4};
inline constexpr os::Error kAccessDenied{5};
inline constexpr os::Error kInvalidHandle{6};
inline constexpr os::Error kOutOfMemory{8};
inline constexpr os::Error kInvalidData{13};
inline constexpr os::Error kWriteProtected{19};
inline constexpr os::Error kGeneralFailure{31};
inline constexpr os::Error kSharingViolation{32};
inline constexpr os::Error kLockViolation{33};
inline constexpr os::Error kNotSupported{50};
inline constexpr os::Error kInvalidParameter{87};
inline constexpr os::Error kDiskFull{112};
inline constexpr os::Error kInvalidName{123};
inline constexpr os::Error kDirectoryNotEmpty{145};
inline constexpr os::Error kAlreadyExists{183};
inline constexpr os::Error kNameTooLong{206};
inline constexpr os::Error kFileTooLarge{223};
inline constexpr os::Error kMoreData{234};
inline constexpr os::Error kNotADirectory{267};
inline constexpr os::Error kNoVersion{1812};
}  // namespace SystemError

}  // namespace ovs
