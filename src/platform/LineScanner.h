// Cuts the bytes of a text file into its CR LF lines, chunk by chunk, without holding more than one line.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/Encoding.h"
#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

struct ScannedLine {
  TextView folded;       // the line without its CR LF, each unit folded; valid during the call
  std::uint64_t offset;  // of its first (kept) byte in the file
  bool cut;              // too long: `folded` is its last part only
};

class LineScanner {
 public:
  using Sink = std::function<void(const ScannedLine& line)>;

  // `maxLineBytes`: how much of a line is kept, counted from its end.
  explicit LineScanner(FileEncoding encoding, std::size_t maxLineBytes = kMaxLineBytes);

  // For bytes out of the middle of a file, where no byte-order mark stands.
  static LineScanner Behind(FileEncoding encoding) {
    LineScanner scanner(encoding);
    scanner.markLeft_ = 0;
    return scanner;
  }

  // Takes the bytes that follow what was fed before and hands out each line that a CR LF ends in them.
  void Feed(std::string_view bytes, const Sink& sink);

  // The text behind the last CR LF.
  [[nodiscard]] Text FoldedTail() const;
  [[nodiscard]] bool TailIsCut() const { return cut_; }

  static constexpr std::size_t kMaxLineBytes = 1u << 20;

 private:
  [[nodiscard]] std::size_t FindBreak(std::size_t from) const;
  void KeepEnd();

  FileEncoding encoding_;
  std::size_t unitBytes_;
  std::size_t maxLineBytes_;
  std::size_t markLeft_;          // bytes of the byte-order mark still to be skipped
  std::uint64_t lineOffset_ = 0;  // of the unfinished line
  bool cut_ = false;              // the unfinished line has lost its beginning
  std::string pending_;           // the unfinished line
  std::size_t searched_ = 0;      // how much of it holds no line break
};

// Feeds a whole file from its beginning.
os::Error ScanFile(os::ReadFile& file, LineScanner& scanner, const LineScanner::Sink& sink);

}  // namespace ovs
