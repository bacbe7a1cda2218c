#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "os/Files.h"
#include "os/posix/PosixErrors.h"
#include "os/posix/PosixOpenFile.h"
#include "os/posix/PosixPath.h"

namespace ovs::os {

namespace {

using posix::UniqueFd;

// Group and others get their rights only once the owner is right, so that none gains any in between.
bool TakeRights(int fd, const struct stat& old) {
  struct stat own {};
  if (fstat(fd, &own) != 0) return false;
  const bool sameOwner = own.st_uid == old.st_uid && own.st_gid == old.st_gid;
  if (!sameOwner && fchown(fd, old.st_uid, old.st_gid) != 0) return false;
  return fchmod(fd, old.st_mode & 07777) == 0;
}

}  // namespace

Error ReplaceFileSafely(TextView path, std::string_view bytes) {
  posix::NativePath native;
  if (const Error error = posix::FindNative(path, native); error.Failed()) return error;
  if (native.trailing) return SystemError::kInvalidName;
  struct stat old {};
  const bool exists = stat(native.path.c_str(), &old) == 0;
  if (!exists && errno != ENOENT) return posix::ErrorOf(errno);
  if (exists) {
    UniqueFd mayBeWritten;
    if (const Error error = posix::OpenPlainFile(native, O_WRONLY, mayBeWritten); error.Failed()) return error;
  }
  // Behind a link it is the file itself that is replaced.
  std::string target = native.path;
  if (char* const real = exists ? realpath(target.c_str(), nullptr) : nullptr; real != nullptr) {
    target = real;
    std::free(real);
  }
  const std::string beside = target + "." + std::to_string(getpid()) + ".new";
  const UniqueFd fd(open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!fd) return posix::LookupError(errno, beside);
  const bool replaced = (!exists || TakeRights(fd.Get(), old)) && posix::WriteAll(fd.Get(), bytes) && fsync(fd.Get()) == 0 &&
                        rename(beside.c_str(), target.c_str()) == 0;
  const Error error = posix::Outcome(replaced);
  if (!replaced) unlink(beside.c_str());
  return error;
}

}  // namespace ovs::os
