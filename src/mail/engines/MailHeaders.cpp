#include "mail/engines/MailHeaders.h"

#include <algorithm>
#include <array>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

constexpr std::size_t kLongestAddress = 254;

TextView WithoutQuotes(TextView text) {
  text = App_Strings::TrimBlanks(text);
  if (text.starts_with(u'"')) text.remove_prefix(1);
  if (text.ends_with(u'"')) text.remove_suffix(1);
  return App_Strings::TrimBlanks(text);
}

bool IsForbidden(char16_t unit) {
  constexpr TextView kSpecial = u"<>()[]\\,;:\"";
  return unit <= kBlank || unit == 0x7F || (unit >= 0x80 && unit <= 0xA0) || unit == 0x2028 || unit == 0x2029 ||
         kSpecial.find(unit) != TextView::npos;
}

bool HasLoneSurrogate(TextView text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsLowSurrogate(text[i])) return true;
    if (!IsHighSurrogate(text[i])) continue;
    if (i + 1 == text.size() || !IsLowSurrogate(text[i + 1])) return true;
    ++i;
  }
  return false;
}

}  // namespace

MailAddress ParseAddress(TextView text) {
  text = App_Strings::TrimBlanks(text);
  const std::size_t open = text.rfind(u'<');
  if (open == TextView::npos || !text.ends_with(u'>')) return {{}, Text(text)};
  const TextView address = App_Strings::TrimBlanks(text.substr(open + 1, text.size() - open - 2));
  return {Text(WithoutQuotes(text.substr(0, open))), Text(address)};
}

Text FirstMailbox(TextView text) {
  // A quoted name may hold anything; of what precedes a bracket without quotes, "@" tells an address from a name.
  const bool isQuoted = App_Strings::TrimBlanks(text).starts_with(u'"');
  const std::size_t name = isQuoted ? std::min(text.find(u"\" <"), text.find(u"\"<")) : 0;
  const std::size_t at = text.find(u'@', name == TextView::npos ? 0 : name);
  const std::size_t comma = at == TextView::npos ? at : text.find(u',', at);
  if (comma == TextView::npos) return Text(text);
  const TextView first = App_Strings::TrimBlanks(text.substr(0, comma));
  const std::size_t open = first.rfind(u'<');
  const bool isOpen = open != TextView::npos && first.find(u'>', open) == TextView::npos;
  return Text(first) + (isOpen ? u">" : u"");
}

std::vector<MailAddress> SplitAddresses(TextView text) {
  std::vector<MailAddress> addresses;
  for (const TextView piece : App_Strings::SplitViews(text, u",")) {
    if (!App_Strings::TrimBlanks(piece).empty()) addresses.push_back(ParseAddress(piece));
  }
  return addresses;
}

bool IsUsableAddress(TextView address) {
  return !address.empty() && address.size() <= kLongestAddress && std::ranges::none_of(address, IsForbidden) &&
         !HasLoneSurrogate(address);
}

}  // namespace ovs

namespace ovs::MailHeaders {

namespace {

constexpr std::size_t kLineBytes = 76;
constexpr std::string_view kFold = "\r\n ";
constexpr std::string_view kWordStart = "=?UTF-8?B?";
constexpr std::string_view kWordEnd = "?=";
constexpr std::size_t kWordOverhead = kWordStart.size() + kWordEnd.size();

bool IsPlain(char byte) { return byte >= 0x20 && byte < 0x7F; }

bool IsAscii(std::string_view bytes) { return std::ranges::all_of(bytes, IsPlain); }

// The longest stretch without a blank: what no fold can break.
std::size_t LongestWord(std::string_view bytes) {
  std::size_t longest = 0;
  for (std::size_t start = 0; start <= bytes.size();) {
    const std::size_t end = std::min(bytes.find(' ', start), bytes.size());
    longest = std::max(longest, end - start);
    start = end + 1;
  }
  return longest;
}

// A line under construction: tokens separated by blanks, folded where the line gets too long.
class Line {
 public:
  explicit Line(std::string_view start) : text_(start), column_(start.size()) {}

  [[nodiscard]] std::size_t Room() const { return column_ + 1 < kLineBytes ? kLineBytes - column_ - 1 : 0; }
  void Add(std::string_view token) {
    const bool folds = token.size() > Room();
    text_ += folds ? kFold : std::string_view(" ");
    column_ = (folds ? 1 : column_ + 1) + token.size();
    text_ += token;
  }
  // Directly behind the last token.
  void Append(std::string_view text) {
    text_ += text;
    column_ += text.size();
  }
  [[nodiscard]] std::string Take() { return std::move(text_); }

 private:
  std::string text_;
  std::size_t column_;
};

// As many whole characters as fit into `most` bytes, one at least.
std::string_view WholeCharacters(std::string_view utf8, std::size_t most) {
  const auto continues = [&](std::size_t at) { return at < utf8.size() && (utf8[at] & 0xC0) == 0x80; };
  std::size_t end = std::min(most, utf8.size());
  while (end > 0 && continues(end)) --end;
  if (end == 0) {
    end = 1;
    while (continues(end)) ++end;
  }
  return utf8.substr(0, end);
}

// Words of RFC 2047; the blanks between them do not count when they are read.
void AddEncoded(std::string_view utf8, Line& line) {
  constexpr std::size_t kLeastRoom = kWordOverhead + 12;
  while (!utf8.empty()) {
    const std::size_t room = line.Room() >= kLeastRoom ? line.Room() : kLineBytes - 1;
    const std::string_view piece = WholeCharacters(utf8, (room - kWordOverhead) / 4 * 3);
    line.Add(std::string(kWordStart) + Base64(piece) + std::string(kWordEnd));
    utf8.remove_prefix(piece.size());
  }
}

// Blanks stay as they are: a fold only ever stands in front of one.
void AddAsciiWords(std::string_view text, Line& line) {
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t word = std::min(text.find_first_not_of(' ', start), text.size());
    const std::size_t end = std::min(text.find(' ', word), text.size());
    line.Add(text.substr(start, end - start));
    start = end + 1;
  }
  if (text.ends_with(' ')) line.Append(" ");
}

// True when the text needs no encoding: words that fit a line, no blanks in a row that a fold could leave alone on theirs,
// nothing that reads like an encoded word.
bool IsFoldable(std::string_view text, std::size_t room) {
  return IsAscii(text) && LongestWord(text) < room && text.find("   ") == std::string_view::npos && !text.ends_with("  ") &&
         text.find("=?") == std::string_view::npos;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') quoted += '\\';
    quoted += byte;
  }
  return quoted + '"';
}

void AddMailbox(const MailAddress& mailbox, Line& line) {
  const std::string name = ToUtf8(OneLine(mailbox.name));
  const std::string address = ToUtf8(OneLine(mailbox.address));
  if (name.empty()) {
    line.Add(address);
    return;
  }
  const std::string quoted = Quoted(name);
  if (IsAscii(name) && quoted.size() < kLineBytes && name.find("=?") == std::string::npos) {
    line.Add(quoted);
  } else {
    AddEncoded(name, line);
  }
  line.Add("<" + address + ">");
}

// Percent-encoded but for letters, digits and a few marks.
std::string PercentEncoded(std::string_view utf8) {
  constexpr std::string_view kMarks = "-._~";
  std::string encoded;
  for (const char byte : utf8) {
    const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
                       kMarks.find(byte) != std::string_view::npos;
    if (plain) {
      encoded += byte;
    } else {
      encoded += '%';
      encoded += ToUtf8(HexText(static_cast<unsigned char>(byte), 2));
    }
  }
  return encoded;
}

// "key*0*=UTF-8''...; key*1*=..." in pieces that fit a line.
void AddExtended(std::string_view key, std::string_view utf8, Line& line) {
  constexpr std::size_t kPieceBytes = 48;
  const std::string encoded = PercentEncoded(utf8);
  const bool single = encoded.size() <= kPieceBytes;
  int number = 0;
  for (std::size_t start = 0; start < encoded.size() || number == 0;) {
    std::size_t end = std::min(start + kPieceBytes, encoded.size());
    // Not within a "%XX".
    for (std::size_t back = 1; back <= 2 && end < encoded.size(); ++back) {
      if (end - back >= start && encoded[end - back] == '%') end -= back;
    }
    std::string token(key);
    if (!single) token += "*" + std::to_string(number);
    token += number == 0 ? "*=UTF-8''" : "*=";
    token += encoded.substr(start, end - start);
    line.Append(";");
    line.Add(token);
    start = end;
    ++number;
  }
}

std::string WithFileName(std::string_view start, std::string_view key, TextView fileName) {
  Line line(start);
  const std::string name = ToUtf8(OneLine(fileName));
  if (IsAscii(name) && name.size() + key.size() + 4 < kLineBytes) {
    line.Append(";");
    line.Add(std::string(key) + "=" + Quoted(name));
  } else {
    AddExtended(key, name, line);
  }
  return line.Take();
}

bool IsDomain(std::string_view text) {
  constexpr std::string_view kAllowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
  return !text.empty() && text.find_first_not_of(kAllowed) == std::string_view::npos && text.front() != '.' &&
         text.back() != '.' && text.find("..") == std::string_view::npos;
}

}  // namespace

Text OneLine(TextView text) {
  Text line(text);
  const auto breaksLine = [](char16_t unit) { return unit < kBlank || (unit >= 0x7F && unit < 0xA0); };
  std::ranges::replace_if(line, breaksLine, kBlank);
  return line;
}

std::string Unstructured(std::string_view name, TextView value) {
  const std::string utf8 = ToUtf8(OneLine(value));
  Line line(std::string(name) + ":");
  if (IsFoldable(utf8, kLineBytes - name.size() - 3)) {
    AddAsciiWords(utf8, line);
  } else {
    AddEncoded(utf8, line);
  }
  return line.Take();
}

std::string Addresses(std::string_view name, const std::vector<MailAddress>& addresses) {
  if (addresses.empty()) return {};
  Line line(std::string(name) + ":");
  bool first = true;
  for (const MailAddress& address : addresses) {
    if (!first) line.Append(",");
    first = false;
    AddMailbox(address, line);
  }
  return line.Take();
}

std::string Date(const DateTime& utc) {
  static constexpr std::array<const char*, 7> kDays = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  static constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  constexpr std::int64_t kTicksPerDay = kTicksPerSecond * 86'400;
  // Tick 0 is a Monday.
  const auto weekday = static_cast<std::size_t>(TicksFromDateTime(utc) / kTicksPerDay % 7);
  const auto two = [](int value) { return ToUtf8(PaddedNumberText(value, 2)); };
  return std::string("Date: ") + kDays.at(weekday) + ", " + std::to_string(utc.day) + " " +
         kMonths.at(static_cast<std::size_t>(utc.month) - 1) + " " + ToUtf8(PaddedNumberText(utc.year, 4)) + " " +
         two(utc.hour) + ":" + two(utc.minute) + ":" + two(utc.second) + " +0000";
}

std::string MessageId(std::string_view randomBytes, TextView address, TextView hostName) {
  std::string id = "Message-ID: <";
  for (const char byte : randomBytes) id += ToUtf8(HexText(static_cast<unsigned char>(byte), 2));
  const std::string host = ToUtf8(hostName);
  const std::string domain = ToUtf8(App_Strings::TrimBlanks(address.substr(address.rfind(u'@') + 1)));
  const bool hasDomain = address.find(u'@') != TextView::npos && IsDomain(domain);
  return id + "@" + (hasDomain ? domain : IsDomain(host) ? host : "localhost") + ">";
}

std::string ContentType(std::string_view type, TextView fileName) {
  return WithFileName("Content-Type: " + std::string(type), "name", fileName);
}

std::string ContentDisposition(std::string_view disposition, TextView fileName) {
  return WithFileName("Content-Disposition: " + std::string(disposition), "filename", fileName);
}

std::string ContentId(TextView fileName) { return PercentEncoded(ToUtf8(fileName)) + "@attached.invalid"; }

}  // namespace ovs::MailHeaders
