#include "platform/FileContent.h"

#include <algorithm>
#include <array>

#include "diag/App_Debug.h"
#include "os/PendingError.h"

namespace ovs {

namespace {

constexpr std::size_t kChunk = 64u << 10;

// The meaning of a failed call on the path. The number is taken and set again only when nothing better explains it.
ReadOutcome Explain(os::Files& files, TextView path) {
  const std::uint32_t number = TakePendingSystemError();
  if (number == SystemErrorNumber::kFileNotFound || number == SystemErrorNumber::kPathNotFound) {
    return ReadOutcome::Missing;
  }
  os::FileInfo info;
  const bool isFolder = files.Info(path, info) && info.IsDirectory();
  TakePendingSystemError();
  if (isFolder) return ReadOutcome::IsFolder;
  SetPendingSystemError(number);
  return ReadOutcome::Failed;
}

// Reads until the end or until more than `limit` bytes have come; false when the system refuses.
bool ReadUpTo(os::ReadFile& file, std::uint64_t limit, std::string& out) {
  std::array<char, kChunk> buffer;
  std::size_t got = 0;
  while (out.size() <= limit) {
    if (!file.ReadAt(out.size(), buffer, got)) return false;
    if (got == 0) return true;
    out.append(buffer.data(), got);
  }
  return true;
}

}  // namespace

ReadOutcome ReadFileBytes(os::Files& files, TextView path, std::string& out, std::uint64_t limit) {
  out.clear();
  const std::unique_ptr<os::ReadFile> file = files.OpenRead(path);
  os::FileStamp stamp;
  if (!file || !file->Stamp(stamp)) return Explain(files, path);
  if (stamp.size > limit) return ReadOutcome::TooLarge;
  out.reserve(static_cast<std::size_t>(stamp.size) + 1);
  if (!ReadUpTo(*file, limit, out)) {
    out.clear();
    return Explain(files, path);
  }
  if (out.size() <= limit) return ReadOutcome::Ok;
  out.clear();
  return ReadOutcome::TooLarge;
}

Text DescribeReadOutcome(ReadOutcome outcome, std::uint32_t systemError) {
  switch (outcome) {
    case ReadOutcome::Ok:
      return {};
    case ReadOutcome::Missing:
      return u"it does not exist";
    case ReadOutcome::IsFolder:
      return u"it is a folder";
    case ReadOutcome::TooLarge:
      return u"it is too large";
    case ReadOutcome::Failed:
      break;
  }
  return u"the system refuses to read it " + Diagnostics().GetSystemMsg(systemError, true);
}

}  // namespace ovs
