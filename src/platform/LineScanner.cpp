#include "platform/LineScanner.h"

#include <algorithm>
#include <vector>

#include "base/Fold.h"

// Pieces of any size give the same lines: a line is decoded when its break has arrived, so no character is ever cut, and a
// break is looked for again from where it could begin in the bytes that were searched before.
namespace ovs {

namespace {

constexpr std::size_t kChunk = 256u << 10;

}  // namespace

LineScanner::LineScanner(FileEncoding encoding, std::size_t maxLineBytes)
    : encoding_(encoding),
      unitBytes_(encoding == FileEncoding::Utf16Le ? 2 : 1),
      maxLineBytes_(maxLineBytes - maxLineBytes % 2),
      markLeft_(MarkOf(encoding).size()),
      lineOffset_(markLeft_) {}

std::size_t LineScanner::FindBreak(std::size_t from) const {
  const std::string_view lineBreak = unitBytes_ == 2 ? std::string_view("\r\0\n\0", 4) : std::string_view("\r\n", 2);
  std::size_t at = pending_.find(lineBreak, from);
  while (at != std::string::npos && at % unitBytes_ != 0) at = pending_.find(lineBreak, at + 1);
  return at;
}

void LineScanner::KeepEnd() {
  if (pending_.size() <= maxLineBytes_) return;
  std::size_t excess = pending_.size() - maxLineBytes_;
  excess -= excess % unitBytes_;
  pending_.erase(0, excess);
  searched_ -= std::min(searched_, excess);
  lineOffset_ += excess;
  cut_ = true;
}

void LineScanner::Feed(std::string_view bytes, const Sink& sink) {
  const std::size_t skipped = std::min(markLeft_, bytes.size());
  markLeft_ -= skipped;
  pending_.append(bytes.substr(skipped));
  const std::size_t breakBytes = 2 * unitBytes_;
  std::size_t begin = 0;
  for (std::size_t at = FindBreak(searched_); at != std::string::npos; at = FindBreak(begin)) {
    const Text line = Fold(DecodeBytes(std::string_view(pending_).substr(begin, at - begin), encoding_));
    sink({line, lineOffset_, cut_});
    lineOffset_ += at + breakBytes - begin;
    begin = at + breakBytes;
    cut_ = false;
  }
  pending_.erase(0, begin);
  // A break may begin in the last bytes.
  searched_ = pending_.size() - std::min(pending_.size(), breakBytes - 1);
  searched_ -= searched_ % unitBytes_;
  KeepEnd();
}

Text LineScanner::FoldedTail() const { return Fold(DecodeBytes(pending_, encoding_)); }

os::Error ScanFile(os::ReadFile& file, LineScanner& scanner, const LineScanner::Sink& sink) {
  std::vector<char> buffer(kChunk);
  std::uint64_t offset = 0;
  for (;;) {
    std::size_t got = 0;
    if (const os::Error error = file.ReadAt(offset, buffer, got); error.Failed()) return error;
    if (got == 0) return os::kSuccess;
    scanner.Feed({buffer.data(), got}, sink);
    offset += got;
  }
}

}  // namespace ovs
