#include "os/posix/PosixErrors.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace ovs::posix {

namespace {

namespace Error = SystemError;

struct Pair {
  int error;
  os::Error counterpart;
};

constexpr os::Error kSeekOnDevice{132};
constexpr os::Error kNotSameDevice{17};
constexpr os::Error kNotReady{21};
constexpr os::Error kIoDevice{1117};
constexpr os::Error kCannotResolveName{1921};
constexpr os::Error kTooManyLinks{1142};
constexpr os::Error kBusy{170};
constexpr os::Error kOperationAborted{995};

constexpr Pair kPairs[] = {
    {ENOENT, Error::kFileNotFound},
    {ENOTDIR, Error::kNotADirectory},
    {EACCES, Error::kAccessDenied},
    {EPERM, Error::kAccessDenied},
    {EISDIR, Error::kAccessDenied},
    {ENXIO, Error::kAccessDenied},
    {ETXTBSY, Error::kSharingViolation},
    {EEXIST, Error::kAlreadyExists},
    {ENOTEMPTY, Error::kDirectoryNotEmpty},
    {ENOSPC, Error::kDiskFull},
    {EDQUOT, Error::kDiskFull},
    {EFBIG, Error::kFileTooLarge},
    {EMFILE, Error::kTooManyOpenFiles},
    {ENFILE, Error::kTooManyOpenFiles},
    {ENAMETOOLONG, Error::kNameTooLong},
    {EROFS, Error::kWriteProtected},
    {EINVAL, Error::kInvalidParameter},
    {EILSEQ, Error::kInvalidName},
    {EBADF, Error::kInvalidHandle},
    {ENOMEM, Error::kOutOfMemory},
    {EXDEV, kNotSameDevice},
    {EBUSY, kBusy},
    {EIO, kIoDevice},
    {ELOOP, kCannotResolveName},
    {EMLINK, kTooManyLinks},
    {ESPIPE, kSeekOnDevice},
    {ENODEV, kNotReady},
    {EINTR, kOperationAborted},
    {EAGAIN, Error::kSharingViolation},
    {ENOSYS, Error::kNotSupported},
    {EOPNOTSUPP, Error::kNotSupported},
};

}  // namespace

os::Error ErrorOf(int number) noexcept {
  const auto* const found = std::ranges::find(kPairs, number, &Pair::error);
  return found == std::end(kPairs) ? SystemError::kGeneralFailure : found->counterpart;
}

os::Error Outcome(bool done) noexcept { return done ? os::kSuccess : ErrorOf(errno); }

}  // namespace ovs::posix
