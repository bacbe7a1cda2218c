// Reading a file whole, with a limit: the untraced primitive below everything that reads settings, rules and lists.
#pragma once

#include <cstdint>
#include <string>

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

}  // namespace ovs
