#include "platform/EncodingFinder.h"

#include <algorithm>
#include <vector>

namespace ovs {

namespace {

constexpr std::size_t kChunk = 256u << 10;
constexpr std::size_t kLongestMark = 3;

}  // namespace

void EncodingFinder::Feed(std::string_view bytes) {
  if (head_.size() < kLongestMark) head_.append(bytes.substr(0, kLongestMark - head_.size()));
  checker_.Feed(bytes);
}

FileEncoding EncodingFinder::Encoding() const {
  for (const FileEncoding encoding : {FileEncoding::Utf16Le, FileEncoding::Utf8Mark}) {
    if (head_.starts_with(MarkOf(encoding))) return encoding;
  }
  return checker_.Finish() ? FileEncoding::Utf8 : FileEncoding::Windows1252;
}

os::Error FindEncoding(os::ReadFile& file, EncodingFinder& finder) {
  std::vector<char> buffer(kChunk);
  for (std::uint64_t offset = 0;;) {
    std::size_t got = 0;
    if (const os::Error error = file.ReadAt(offset, buffer, got); error.Failed()) return error;
    if (got == 0) return os::kSuccess;
    finder.Feed({buffer.data(), got});
    offset += got;
  }
}

}  // namespace ovs
