// Reading a file whole, with a limit, and finding its encoding: the untraced primitives below everything that reads
// settings, rules, lists and logs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Encoding.h"
#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

// No text file that the program reads is ever larger on purpose.
inline constexpr std::uint64_t kMaxTextFileBytes = 16u << 20;

struct ReadOutcome {
  enum Kind : std::uint8_t {
    Ok,
    Missing,  // neither file nor folder of that name
    IsFolder,
    TooLarge,  // more bytes than the limit
    Failed,    // the system refused
  };

  Kind kind = Ok;
  os::Error error = os::kSuccess;  // why, with Failed

  bool operator==(Kind other) const { return kind == other; }
};

// Replaces `out` by the bytes of the file; `out` is empty unless the outcome is Ok.
ReadOutcome ReadFileBytes(os::Files& files, TextView path, std::string& out, std::uint64_t limit = kMaxTextFileBytes);

// Why a file was not read, for a debug line. Empty for Ok.
Text DescribeReadOutcome(const ReadOutcome& outcome);

class EncodingFinder {
 public:
  // Takes the bytes that follow what was fed before, from the file's first byte on.
  void Feed(std::string_view bytes);

  // By the byte-order mark; else UTF-8 when all bytes are valid UTF-8, but for a character that is not finished at the end;
  // else Windows-1252.
  [[nodiscard]] FileEncoding Encoding() const;
  // The bytes of that character: a write that was interrupted, as when the power fails, leaves them. They are to be cut off
  // before the file is continued.
  [[nodiscard]] std::size_t UnfinishedBytes() const { return checker_.Unfinished(); }

 private:
  std::string head_;  // the first three bytes
  Utf8Checker checker_;
};

// Feeds a whole file from its beginning.
os::Error FindEncoding(os::ReadFile& file, EncodingFinder& finder);

}  // namespace ovs
