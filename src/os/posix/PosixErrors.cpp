#include "os/posix/PosixErrors.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "os/PendingError.h"

namespace ovs::posix {

namespace {

namespace Number = SystemErrorNumber;

struct Pair {
  int error;
  std::uint32_t number;
};

constexpr std::uint32_t kSeekOnDevice = 132;
constexpr std::uint32_t kNotSameDevice = 17;
constexpr std::uint32_t kNotReady = 21;
constexpr std::uint32_t kIoDevice = 1117;
constexpr std::uint32_t kCannotResolveName = 1921;
constexpr std::uint32_t kTooManyLinks = 1142;
constexpr std::uint32_t kBusy = 170;
constexpr std::uint32_t kOperationAborted = 995;

constexpr Pair kPairs[] = {
    {ENOENT, Number::kFileNotFound},
    {ENOTDIR, Number::kNotADirectory},
    {EACCES, Number::kAccessDenied},
    {EPERM, Number::kAccessDenied},
    {EISDIR, Number::kAccessDenied},
    {ENXIO, Number::kAccessDenied},
    {ETXTBSY, Number::kSharingViolation},
    {EEXIST, Number::kAlreadyExists},
    {ENOTEMPTY, Number::kDirectoryNotEmpty},
    {ENOSPC, Number::kDiskFull},
    {EDQUOT, Number::kDiskFull},
    {EFBIG, Number::kFileTooLarge},
    {EMFILE, Number::kTooManyOpenFiles},
    {ENFILE, Number::kTooManyOpenFiles},
    {ENAMETOOLONG, Number::kNameTooLong},
    {EROFS, Number::kWriteProtected},
    {EINVAL, Number::kInvalidParameter},
    {EILSEQ, Number::kInvalidName},
    {EBADF, Number::kInvalidHandle},
    {ENOMEM, Number::kOutOfMemory},
    {EXDEV, kNotSameDevice},
    {EBUSY, kBusy},
    {EIO, kIoDevice},
    {ELOOP, kCannotResolveName},
    {EMLINK, kTooManyLinks},
    {ESPIPE, kSeekOnDevice},
    {ENODEV, kNotReady},
    {EINTR, kOperationAborted},
    {EAGAIN, Number::kSharingViolation},
    {ENOSYS, Number::kNotSupported},
    {EOPNOTSUPP, Number::kNotSupported},
};

}  // namespace

std::uint32_t SystemErrorOf(int error) noexcept {
  const auto* const found = std::ranges::find(kPairs, error, &Pair::error);
  return found == std::end(kPairs) ? Number::kGeneralFailure : found->number;
}

bool Fail(std::uint32_t number) noexcept {
  SetPendingSystemError(number);
  return false;
}

bool FailErrno(int error) noexcept { return Fail(SystemErrorOf(error)); }

}  // namespace ovs::posix
