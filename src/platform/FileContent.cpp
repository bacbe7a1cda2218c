#include "platform/FileContent.h"

#include <algorithm>
#include <array>
#include <vector>

#include "diag/App_Debug.h"

namespace ovs {

namespace {

constexpr std::size_t kChunk = 64u << 10;

// The meaning of a failed call on the path.
ReadOutcome Explain(os::Files& files, TextView path, os::Error error) {
  if (error.IsNotFound()) return {ReadOutcome::Missing};
  os::FileInfo info;
  const bool isFolder = files.Info(path, info).Ok() && info.IsDirectory();
  return isFolder ? ReadOutcome{ReadOutcome::IsFolder} : ReadOutcome{ReadOutcome::Failed, error};
}

// Reads until the end or until more than `limit` bytes have come.
os::Error ReadUpTo(os::ReadFile& file, std::uint64_t limit, std::string& out) {
  std::array<char, kChunk> buffer;
  std::size_t got = 0;
  while (out.size() <= limit) {
    if (const os::Error error = file.ReadAt(out.size(), buffer, got); error.Failed()) return error;
    if (got == 0) break;
    out.append(buffer.data(), got);
  }
  return os::kSuccess;
}

constexpr std::size_t kScanChunk = 256u << 10;
constexpr std::size_t kLongestMark = 3;

}  // namespace

ReadOutcome ReadFileBytes(os::Files& files, TextView path, std::string& out, std::uint64_t limit) {
  out.clear();
  std::unique_ptr<os::ReadFile> file;
  os::FileStamp stamp;
  os::Error error = files.OpenRead(path, file);
  if (error.Ok()) error = file->Stamp(stamp);
  if (error.Failed()) return Explain(files, path, error);
  if (stamp.size > limit) return {ReadOutcome::TooLarge};
  out.reserve(static_cast<std::size_t>(stamp.size) + 1);
  error = ReadUpTo(*file, limit, out);
  if (error.Ok() && out.size() <= limit) return {ReadOutcome::Ok};
  out.clear();
  return error.Failed() ? Explain(files, path, error) : ReadOutcome{ReadOutcome::TooLarge};
}

Text DescribeReadOutcome(const ReadOutcome& outcome) {
  switch (outcome.kind) {
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
  return u"the system refuses to read it " + Diagnostics().GetSystemMsg(outcome.error.Number(), true);
}

void EncodingFinder::Feed(std::string_view bytes) {
  if (head_.size() < kLongestMark) head_.append(bytes.substr(0, kLongestMark - head_.size()));
  checker_.Feed(bytes);
}

FileEncoding EncodingFinder::Encoding() const {
  for (const FileEncoding encoding : {FileEncoding::Utf16Le, FileEncoding::Utf8Mark}) {
    if (head_.starts_with(MarkOf(encoding))) return encoding;
  }
  return checker_.Finish() || UnfinishedBytes() != 0 ? FileEncoding::Utf8 : FileEncoding::Ansi;
}

os::Error FindEncoding(os::ReadFile& file, EncodingFinder& finder) {
  std::vector<char> buffer(kScanChunk);
  for (std::uint64_t offset = 0;;) {
    std::size_t got = 0;
    if (const os::Error error = file.ReadAt(offset, buffer, got); error.Failed()) return error;
    if (got == 0) return os::kSuccess;
    finder.Feed({buffer.data(), got});
    offset += got;
  }
}

}  // namespace ovs
