// The commands' voice: results go to standard output, everything else to standard error.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::Console {

enum class Style { Plain, Bold, Good, Bad, Faint };

// A line of the result.
void Print(std::string_view line);
// A line of the result that ends in CR LF on every system.
void PrintCrLf(std::string_view line);
// A message to whoever watches; the caller names file, line and reason.
void Say(std::string_view line);
// A line that is replaced by the next one, of whatever kind, on the terminal that shows messages; at most as wide as it.
// An empty one takes it away.
void ShowStatus(std::string_view line);
// "ovsctl: message" as a message, with the text of the failure behind it when there was one. Gives kFailed.
[[nodiscard]] int Fail(std::string_view message, os::Error error = os::kSuccess);

// The text in that style when results go to a terminal with colours and NO_COLOR is not set; else as it is.
[[nodiscard]] std::string Styled(Style style, std::string_view text);

// Text from records and files as UTF-8 that is safe to show on a terminal: control characters, line breaks among them, and
// those that turn the direction of writing become visible ("\r\n" is shown as "⏎", any other as "\u001b").
[[nodiscard]] std::string Shown(TextView text);
// The same, shortened to that many characters, an ellipsis the last of them.
[[nodiscard]] std::string Shown(TextView text, std::size_t mostCharacters);

// From now on each entry of this program's debug log is a message: what the service would note is worth seeing here.
void ShowDebugEntries();

// Asks for a secret: one line, typed unseen or from standard input, that is not empty and holds no control characters (they
// come from keys such as the arrows). None when there is none such; why was said. The caller wipes it. `what` names it:
// "password".
[[nodiscard]] std::optional<Text> AskForSecret(const char* what);

// False when a result could not be written, to a full disk for instance.
[[nodiscard]] bool Flush();

}  // namespace ovs::Console
