#include "mail/engines/SmtpSession.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Encoding.h"

namespace ovs {

namespace {

constexpr std::string_view kHidden = "***";
constexpr std::size_t kMostTranscript = std::size_t{64} * 1024;
constexpr std::size_t kMostLine = 1000;
constexpr int kChallenge = 334;
constexpr int kReady = 220;

char Upper(char byte) { return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte; }

bool StartsWith(std::string_view line, std::string_view upperPrefix) {
  return line.size() >= upperPrefix.size() &&
         std::equal(upperPrefix.begin(), upperPrefix.end(), line.begin(), [](char a, char b) { return a == Upper(b); });
}

std::string_view WithoutLineEnd(std::string_view bytes) {
  while (bytes.ends_with('\n') || bytes.ends_with('\r')) bytes.remove_suffix(1);
  return bytes;
}

// 0 when the line begins with no number of three digits.
int ReplyCode(std::string_view line) {
  const std::string_view digits = line.substr(0, 3);
  const auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
  if (digits.size() < 3 || digits[0] == '0' || !std::ranges::all_of(digits, isDigit)) return 0;
  return (digits[0] - '0') * 100 + (digits[1] - '0') * 10 + (digits[2] - '0');
}

// True when `bytes`, a line with a number and its line end, closes a reply, exactly as libcurl has it: only then does the
// client send its next line.
bool ClosesReply(std::string_view bytes) {
  constexpr std::size_t kBareNumber = 5;
  return bytes.size() > 3 && (bytes[3] == ' ' || bytes.size() == kBareNumber);
}

std::string_view FirstWord(std::string_view line) { return line.substr(0, line.find(' ')); }

// Control characters as "?", those that UTF-8 spells with two bytes (0x80 to 0x9F) too.
std::string Visible(std::string_view line) {
  constexpr char kLeadOfC1 = '\xC2';
  const std::string_view kept = line.substr(0, kMostLine);
  std::string visible;
  visible.reserve(kept.size());
  for (std::size_t i = 0; i < kept.size(); ++i) {
    const auto byte = static_cast<unsigned char>(kept[i]);
    const bool isC1 = kept[i] == kLeadOfC1 && i + 1 < kept.size() && (kept[i + 1] & 0xE0) == 0x80;
    visible += byte < 0x20 || byte == 0x7F || isC1 ? '?' : kept[i];
    if (isC1) ++i;
  }
  if (line.size() > kMostLine) visible += " ...";
  return visible;
}

}  // namespace

std::string AuthMask::Command(std::string_view line) {
  if (inAuth_) return std::string(kHidden);
  constexpr std::string_view kAuth = "AUTH ";
  if (!StartsWith(line, kAuth)) return std::string(line);
  inAuth_ = true;
  const std::size_t end = line.find(' ', kAuth.size());
  return end == std::string_view::npos ? std::string(line) : std::string(line.substr(0, end + 1)) + std::string(kHidden);
}

std::string AuthMask::Reply(std::string_view bytes) {
  const std::string_view line = WithoutLineEnd(bytes);
  const int code = ReplyCode(line);
  if (code == kChallenge) return std::to_string(code) + " " + std::string(kHidden);
  // A reply without a number may be anything, an echo of the secret too.
  if (inAuth_ && code == 0) return std::string(kHidden);
  inAuth_ = inAuth_ && (code == 0 || !ClosesReply(bytes));
  return std::string(line);
}

Text MaskSession(TextView session) {
  constexpr TextView kReplyLabel = u"SmtpCmdResp: ";
  constexpr TextView kCommandLabel = u"SmtpCmdSent: ";
  AuthMask mask;
  std::vector<Text> lines = App_Strings::Split(session, u"\n");
  for (Text& line : lines) {
    std::size_t start = std::min(line.find_first_not_of(u" \t-"), line.size());
    const bool isReply = line.compare(start, kReplyLabel.size(), kReplyLabel) == 0;
    if (isReply || line.compare(start, kCommandLabel.size(), kCommandLabel) == 0) start += kReplyLabel.size();
    const std::string utf8 = ToUtf8(TextView(line).substr(start));
    const std::string_view bytes = WithoutLineEnd(utf8);
    const bool ends = bytes.size() < utf8.size();
    const bool replies = isReply || ReplyCode(bytes) != 0;
    const std::string shown = replies ? mask.Reply(std::string(bytes) + "\r\n") : mask.Command(bytes);
    line = line.substr(0, start) + FromUtf8(shown) + (ends ? u"\r" : u"");
  }
  return App_Strings::Join(lines, u"\n");
}

void SmtpSession::Begin(bool tls) {
  tls_ = tls;
  mask_ = {};
  lastVerb_.clear();
  lastCommand_.clear();
  exchanges_.clear();
  lastReply_.clear();
  lastReplyCode_ = 0;
  recipient_.clear();
  linesToPassword_ = 0;
  leaving_ = false;
}

void SmtpSession::Command(std::string_view bytes) {
  const std::string_view line = WithoutLineEnd(bytes);
  NoteAuth(line);
  const std::string shown = mask_.Command(line);
  // How a session ends tells nothing about why.
  leaving_ = StartsWith(line, "QUIT");
  if (shown != kHidden && !leaving_) lastVerb_ = FirstWord(shown);
  constexpr std::string_view kRecipient = "RCPT TO:";
  lastCommand_ = Visible(shown);
  recipient_ = StartsWith(line, kRecipient) ? std::string(line.substr(kRecipient.size())) : std::string();
  Add("> ", shown);
}

void SmtpSession::NoteAuth(std::string_view line) {
  if (StartsWith(line, "AUTH ")) {
    const bool hasInitialResponse = std::ranges::count(line, ' ') > 1;
    const int needed = StartsWith(line, "AUTH PLAIN") ? 2 : StartsWith(line, "AUTH LOGIN") ? 3 : 0;
    linesToPassword_ = needed == 0 ? 0 : needed - (hasInitialResponse ? 1 : 0);
  }
  if (linesToPassword_ == 0) return;
  --linesToPassword_;
  if (linesToPassword_ == 0 && !tls_) passwordInClear_ = true;
}

void SmtpSession::Reply(std::string_view bytes) {
  const std::string shown = mask_.Reply(bytes);
  Add("< ", shown);
  if (leaving_) return;
  lastReply_ = Visible(shown);
  const int code = ReplyCode(WithoutLineEnd(bytes));
  if (code != 0 && ClosesReply(bytes)) NoteFinalReply(code, shown);
}

void SmtpSession::NoteFinalReply(int code, std::string_view line) {
  constexpr std::size_t kMostExchanges = 300;
  lastReplyCode_ = code;
  if (exchanges_.size() < kMostExchanges) exchanges_.push_back({lastCommand_, code, Visible(line)});
  if (code != kChallenge) linesToPassword_ = 0;
  if (code == kReady && lastVerb_ == "STARTTLS") tls_ = true;
  if (code >= 400 && !recipient_.empty()) refused_.push_back({FromUtf8(recipient_), FromUtf8(Visible(line))});
  recipient_.clear();
}

void SmtpSession::Info(std::string_view text) { Add("* ", WithoutLineEnd(text)); }

void SmtpSession::Add(std::string_view mark, std::string_view line) {
  if (cut_) return;
  transcript_.append(mark).append(Visible(line)).append("\r\n");
  cut_ = transcript_.size() > kMostTranscript;
  if (cut_) transcript_ += "* (the rest is left out)\r\n";
}

Text SmtpSession::Transcript() const { return FromUtf8(transcript_); }

Text SmtpSession::LastReply() const { return FromUtf8(lastReply_); }

}  // namespace ovs
