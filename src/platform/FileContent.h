// Reading a file whole, with a limit: the untraced primitive below everything that reads settings, rules and lists.
#pragma once

#include <cstdint>
#include <string>

#include "base/Text.h"
#include "os/Files.h"

namespace ovs {

// No text file that the program reads is ever larger on purpose.
inline constexpr std::uint64_t kMaxTextFileBytes = 16u << 20;

enum class ReadOutcome {
  Ok,
  Missing,  // neither file nor folder of that name
  IsFolder,
  TooLarge,  // more bytes than the limit
  Failed,    // the system refused; its number is the pending system error
};

// Replaces `out` by the bytes of the file; `out` is empty unless the outcome is Ok. The pending system error is left for
// the caller with Failed only.
ReadOutcome ReadFileBytes(os::Files& files, TextView path, std::string& out, std::uint64_t limit = kMaxTextFileBytes);

// Why a file was not read, for a debug line; `systemError` counts for Failed only. Empty for Ok.
Text DescribeReadOutcome(ReadOutcome outcome, std::uint32_t systemError);

}  // namespace ovs
