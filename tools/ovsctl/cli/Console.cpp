#include "ovsctl/cli/Console.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Wipe.h"
#include "diag/App_Debug.h"
#include "os/CommandLine.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/os/Terminal.h"

namespace ovs::Console {

namespace {

bool ColoursWanted() {
  static const bool wanted = [] {
    const char* const none = std::getenv("NO_COLOR");
    return (none == nullptr || *none == '\0') && os::UnderstandsEscapes(os::Stream::Output);
  }();
  return wanted;
}

const char* CodeOf(Style style) {
  switch (style) {
    case Style::Bold:
      return "1";
    case Style::Good:
      return "32";
    case Style::Bad:
      return "31";
    case Style::Faint:
      return "2";
    case Style::Plain:
      break;
  }
  return "0";
}

// Control characters, and the marks that make a terminal write in another direction.
bool IsHarmful(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x061C || unit == 0x200E || unit == 0x200F ||
         (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069) || unit == 0xFEFF;
}

void AppendShown(Text& out, TextView text, std::size_t& i) {
  const char16_t unit = text[i];
  if (unit == u'\r' || unit == u'\n') {
    if (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') ++i;
    out += u'\u23CE';
  } else if (IsHarmful(unit)) {
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", unsigned{unit});
    out += FromUtf8(code);
  } else {
    out += unit;
  }
}

// The width of the status line that stands on the terminal.
std::size_t statusWidth = 0;

void PrintEnded(std::string_view line, std::string_view end) {
  ShowStatus({});
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fwrite(end.data(), 1, end.size(), stdout);
}

}  // namespace

void Print(std::string_view line) { PrintEnded(line, "\n"); }

void PrintCrLf(std::string_view line) { PrintEnded(line, os::PrintedCrLf()); }

void Say(std::string_view line) {
  ShowStatus({});
  std::fflush(stdout);
  const std::string whole = std::string(line) + '\n';
  std::fwrite(whole.data(), 1, whole.size(), stderr);
}

// Blanks over what stood there, for they work on any terminal.
void ShowStatus(std::string_view line) {
  if (line.empty() && statusWidth == 0) return;
  std::string shown = "\r" + std::string(line);
  if (statusWidth > line.size()) shown.append(statusWidth - line.size(), ' ');
  if (line.empty()) shown += '\r';
  statusWidth = line.size();
  std::fwrite(shown.data(), 1, shown.size(), stderr);
}

int Fail(std::string_view message, os::Error error) {
  const Text reason = error.Ok() ? Text() : u": " + Diagnostics().GetSystemMsg(error.Number(), true);
  Say("ovsctl: " + std::string(message) + Shown(reason));
  return kFailed;
}

std::string Styled(Style style, std::string_view text) {
  if (style == Style::Plain || !ColoursWanted()) return std::string(text);
  return std::string("\x1b[") + CodeOf(style) + "m" + std::string(text) + "\x1b[0m";
}

std::string Shown(TextView text) {
  Text out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) AppendShown(out, text, i);
  return ToUtf8(out);
}

std::string Shown(TextView text, std::size_t mostCharacters) {
  Text out;
  std::size_t i = 0;
  for (; i < text.size() && out.size() <= mostCharacters; ++i) AppendShown(out, text, i);
  if (out.size() > mostCharacters) {
    out.resize(mostCharacters > 0 ? mostCharacters - 1 : 0);
    if (!out.empty() && out.back() >= 0xD800 && out.back() < 0xDC00) out.pop_back();
    out += u'\u2026';
  }
  return ToUtf8(out);
}

void ShowDebugEntries() {
  Diagnostics().SetEntryListener([](TextView entry, EventType /*type*/) {
    std::string shown;
    for (const Text& line : App_Strings::Split(entry, u"\r\n")) shown += (shown.empty() ? "" : "\n") + Shown(line);
    Say(shown + "\n");
  });
}

std::optional<Text> AskForSecret(const char* what) {
  const auto isControl = [](char16_t unit) { return unit < kBlank || (unit >= 0x7F && unit < 0xA0); };
  const std::string name = std::string("the ") + what;
  Say(std::string("Type ") + name + " and press Enter; it is not shown.");
  std::optional<Text> line = os::ReadSecretLine();
  std::string objection;
  if (!line) {
    objection = "there was no " + std::string(what) + " to read";
  } else if (line->empty()) {
    objection = name + " is empty";
  } else if (line->size() >= os::kLongestSecretLine) {
    objection = name + " is too long";
  } else if (const auto found = std::ranges::find_if(*line, isControl); found != line->end()) {
    objection = "the character at position " + std::to_string(found - line->begin() + 1) + " is a control character";
  }
  if (objection.empty()) return line;
  if (line) Wipe(*line);
  static_cast<void>(Fail(objection));
  return std::nullopt;
}

bool Flush() { return std::fflush(stdout) == 0 && std::ferror(stdout) == 0; }

}  // namespace ovs::Console
