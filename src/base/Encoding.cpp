#include "base/Encoding.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/Numbers.h"

namespace ovs {

namespace {

constexpr std::string_view kUtf8MarkBytes = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LeMarkBytes = "\xFF\xFE";

std::uint8_t ByteOf(char c) { return static_cast<std::uint8_t>(c); }
char CharOf(std::uint32_t byte) { return static_cast<char>(static_cast<std::uint8_t>(byte)); }

// The count of bytes below 80 that the text begins with; looks at eight at a time.
std::size_t AsciiRun(std::string_view bytes) {
  constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080u;
  std::size_t i = 0;
  for (; bytes.size() - i >= sizeof(std::uint64_t); i += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + i, sizeof word);
    if ((word & kHighBits) != 0) break;
  }
  while (i < bytes.size() && ByteOf(bytes[i]) < 0x80) ++i;
  return i;
}

// The shape of a character by its first byte (beyond ASCII). Which characters UTF-8 forbids is decided by the first two
// bytes alone: overlong forms begin C0, C1, E0 80..9F or F0 80..8F, encoded surrogates ED A0..BF, characters above U+10FFFF
// F4 90..BF or F5 and on. So a range for the second byte excludes them all, and every later byte may be any of 80..BF.
struct Lead {
  std::uint8_t following = 0;  // 0: no character begins so
  std::uint8_t lowest = 0x80;  // of the second byte
  std::uint8_t highest = 0xBF;
};

Lead LeadOf(std::uint8_t byte) {
  if (byte < 0xC2 || byte > 0xF4) return {};
  if (byte < 0xE0) return {1};
  if (byte == 0xE0) return {2, 0xA0};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte < 0xF0) return {2};
  if (byte == 0xF0) return {3, 0x90};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {3};
}

void AppendUtf16(std::uint32_t character, Text& out) {
  if (character < 0x10000) {
    out.push_back(static_cast<char16_t>(character));
    return;
  }
  out.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
  out.push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
}

void AppendUtf8(std::uint32_t character, std::string& out) {
  if (character < 0x80) {
    out.push_back(CharOf(character));
    return;
  }
  if (character < 0x800) {
    out.push_back(CharOf(0xC0 | character >> 6));
  } else if (character < 0x10000) {
    out.push_back(CharOf(0xE0 | character >> 12));
    out.push_back(CharOf(0x80 | (character >> 6 & 0x3F)));
  } else {
    out.push_back(CharOf(0xF0 | character >> 18));
    out.push_back(CharOf(0x80 | (character >> 12 & 0x3F)));
    out.push_back(CharOf(0x80 | (character >> 6 & 0x3F)));
  }
  out.push_back(CharOf(0x80 | (character & 0x3F)));
}

void AppendAscii(std::string_view bytes, Text& out) {
  const std::size_t before = out.size();
  out.resize(before + bytes.size());
  std::transform(bytes.begin(), bytes.end(), out.data() + before, [](char c) { return static_cast<char16_t>(c); });
}

// Reads the character, or the invalid sequence, that begins beyond ASCII at bytes[0]; returns its length. A byte out of its
// range ends an invalid sequence without belonging to it, as it may begin the next character; so at least one byte is used
// and a valid character behind a broken one is never lost.
std::size_t DecodeOne(std::string_view bytes, Text& out) {
  const std::uint8_t first = ByteOf(bytes[0]);
  Lead lead = LeadOf(first);
  std::uint32_t character = first & (0x3Fu >> lead.following);
  std::size_t length = 1;
  for (; length <= lead.following && length < bytes.size(); ++length) {
    const std::uint8_t next = ByteOf(bytes[length]);
    if (next < lead.lowest || next > lead.highest) break;
    character = character << 6 | (next & 0x3Fu);
    lead.lowest = 0x80;
    lead.highest = 0xBF;
  }
  const bool complete = lead.following != 0 && length == lead.following + 1u;
  AppendUtf16(complete ? character : kReplacementUnit, out);
  return length;
}

// Windows-1252 differs from Latin-1 in the bytes 80 to 9F.
constexpr std::array<char16_t, 32> kWindows1252Middle = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                         0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr std::uint32_t kNoByte = 0x100;  // above all bytes

constexpr std::string_view kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

CodePage ansi = kWindows1252;

std::uint32_t Windows1252ByteOf(char16_t unit) {
  if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return unit;
  const auto found = std::ranges::find(kWindows1252Middle, unit);
  if (found == kWindows1252Middle.end()) return kNoByte;
  return static_cast<std::uint32_t>(0x80 + (found - kWindows1252Middle.begin()));
}

Text FromUtf16Le(std::string_view bytes) {
  Text out(bytes.size() / 2, kNul);
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = static_cast<char16_t>(ByteOf(bytes[2 * i]) | ByteOf(bytes[2 * i + 1]) << 8);
  }
  if (bytes.size() % 2 != 0) out.push_back(kReplacementUnit);
  return out;
}

std::string ToUtf16Le(TextView text) {
  std::string out;
  out.reserve(text.size() * 2);
  for (const char16_t unit : text) {
    out.push_back(CharOf(unit & 0xFFu));
    out.push_back(CharOf(static_cast<std::uint32_t>(unit) >> 8));
  }
  return out;
}

}  // namespace

std::string ToUtf8(TextView text) {
  bool lossless = true;
  return ToUtf8(text, lossless);
}

std::string ToUtf8(TextView text, bool& lossless) {
  lossless = true;
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t character = text[i];
    if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
      character = kReplacementUnit;
      lossless = false;
    }
    AppendUtf8(character, out);
  }
  return out;
}

Text FromUtf8(std::string_view bytes) {
  Text out;
  out.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t run = AsciiRun(bytes);
    AppendAscii(bytes.substr(0, run), out);
    bytes.remove_prefix(run);
    if (!bytes.empty()) bytes.remove_prefix(DecodeOne(bytes, out));
  }
  return out;
}

bool IsValidUtf8(std::string_view bytes) {
  Utf8Checker checker;
  checker.Feed(bytes);
  return checker.Finish();
}

bool Utf8Checker::Feed(std::string_view chunk) {
  for (std::size_t i = 0; valid_ && i < chunk.size();) {
    if (missing_ == 0) {
      i += AsciiRun(chunk.substr(i));
      if (i == chunk.size()) break;
      const Lead lead = LeadOf(ByteOf(chunk[i++]));
      valid_ = lead.following != 0;
      begun_ = 1;
      missing_ = lead.following;
      lowest_ = lead.lowest;
      highest_ = lead.highest;
    } else {
      const std::uint8_t byte = ByteOf(chunk[i++]);
      valid_ = byte >= lowest_ && byte <= highest_;
      ++begun_;
      --missing_;
      lowest_ = 0x80;
      highest_ = 0xBF;
    }
  }
  return valid_;
}

Text FromWindows1252(std::string_view bytes) {
  Text out(bytes.size(), kNul);
  std::ranges::transform(bytes, out.begin(), [](char c) {
    const std::uint8_t byte = ByteOf(c);
    return byte >= 0x80 && byte < 0xA0 ? kWindows1252Middle[byte - 0x80u] : static_cast<char16_t>(byte);
  });
  return out;
}

std::string ToWindows1252(TextView text, bool& lossless) {
  lossless = true;
  std::string out;
  out.reserve(text.size());
  for (const char16_t unit : text) {
    const std::uint32_t byte = Windows1252ByteOf(unit);
    if (byte != kNoByte) {
      out.push_back(CharOf(byte));
    } else {
      out += EscapedUnit(unit);
      lossless = false;
    }
  }
  return out;
}

std::string EscapedUnit(char16_t unit) {
  std::string escaped = "\\u";
  for (const char16_t digit : HexText(unit, 4)) escaped.push_back(CharOf(digit));
  return escaped;
}

bool IsWindows1252(TextView text) {
  return std::ranges::all_of(text, [](char16_t unit) { return Windows1252ByteOf(unit) != kNoByte; });
}

void SetAnsiCodePage(const CodePage& page) noexcept { ansi = page; }

std::string_view MarkOf(FileEncoding encoding) {
  if (encoding == FileEncoding::Utf8Mark) return kUtf8MarkBytes;
  return encoding == FileEncoding::Utf16Le ? kUtf16LeMarkBytes : std::string_view();
}

FileEncoding DetectEncoding(std::string_view wholeBytes) {
  for (const FileEncoding marked : {FileEncoding::Utf8Mark, FileEncoding::Utf16Le}) {
    if (wholeBytes.starts_with(MarkOf(marked))) return marked;
  }
  return IsValidUtf8(wholeBytes) ? FileEncoding::Utf8 : FileEncoding::Ansi;
}

Text DecodeBytes(std::string_view bytes, FileEncoding encoding) {
  if (encoding == FileEncoding::Utf16Le) return FromUtf16Le(bytes);
  return encoding == FileEncoding::Ansi ? ansi.decode(bytes) : FromUtf8(bytes);
}

Text DecodeFile(std::string_view bytes) {
  const FileEncoding encoding = DetectEncoding(bytes);
  return DecodeBytes(bytes.substr(MarkOf(encoding).size()), encoding);
}

std::string EncodeFor(FileEncoding encoding, TextView text, bool* lossless) {
  bool ignored = true;
  bool& kept = lossless != nullptr ? *lossless : ignored;
  kept = true;
  if (encoding == FileEncoding::Utf16Le) return ToUtf16Le(text);
  return encoding == FileEncoding::Ansi ? ansi.encode(text, kept) : ToUtf8(text, kept);
}

std::string Base64Digits(std::string_view bytes, bool rest) {
  std::string digits;
  digits.reserve((bytes.size() + 2) / 3 * 4);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char byte : bytes) {
    bits = (bits << 8) | static_cast<unsigned char>(byte);
    for (count += 8; count >= 6; count -= 6) digits += kBase64Digits[(bits >> (count - 6)) & 0x3F];
  }
  if (rest && count > 0) digits += kBase64Digits[(bits << (6 - count)) & 0x3F];
  return digits;
}

std::string Base64(std::string_view bytes) {
  std::string digits = Base64Digits(bytes, true);
  while (digits.size() % 4 != 0) digits += '=';
  return digits;
}

}  // namespace ovs
