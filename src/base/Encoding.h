// Text to bytes and back: UTF-8, UTF-16LE, Windows-1252, the encodings of text files, and Base64.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Text.h"

namespace ovs {

// UTF-8 knows no lone surrogate: each becomes U+FFFD, and `lossless` (always set) is then false.
[[nodiscard]] std::string ToUtf8(TextView text);
[[nodiscard]] std::string ToUtf8(TextView text, bool& lossless);

// Each invalid sequence (its longest part that could have begun a character, else one byte) becomes one U+FFFD. Overlong
// forms, encoded surrogates and characters above U+10FFFF are invalid. A byte-order mark is kept as U+FEFF.
[[nodiscard]] Text FromUtf8(std::string_view bytes);

[[nodiscard]] bool IsValidUtf8(std::string_view bytes);

// A check of UTF-8 that arrives in chunks; characters may cross the borders of the chunks.
class Utf8Checker {
 public:
  // False from the first invalid byte on.
  bool Feed(std::string_view chunk);

  // True when all that was fed is valid and no character is cut off at its end. More may be fed afterwards.
  [[nodiscard]] bool Finish() const { return valid_ && missing_ == 0; }

  // How many bytes at the end are the beginning of a character, when all before them is valid.
  [[nodiscard]] std::size_t Unfinished() const { return valid_ && missing_ != 0 ? begun_ : 0; }

 private:
  bool valid_ = true;
  std::uint8_t begun_ = 0;      // bytes of the present character so far
  std::uint8_t missing_ = 0;    // continuation bytes still to come
  std::uint8_t lowest_ = 0x80;  // range of the next of them
  std::uint8_t highest_ = 0xBF;
};

// Windows-1252 as Windows has it: the bytes 81, 8D, 8F, 90 and 9D, to which no character was given, stand for the control
// characters of the same number.
[[nodiscard]] Text FromWindows1252(std::string_view bytes);

// A code unit that has no byte is written as the six characters "\uXXXX" (upper case), and `lossless` (always set) is
// then false.
[[nodiscard]] std::string ToWindows1252(TextView text, bool& lossless);

// Those six characters.
[[nodiscard]] std::string EscapedUnit(char16_t unit);

// True when every code unit has a byte.
[[nodiscard]] bool IsWindows1252(TextView text);

enum class FileEncoding {
  Utf8,      // without a byte-order mark
  Utf8Mark,  // begins with the bytes EF BB BF
  Utf16Le,   // begins with the bytes FF FE
  Ansi,      // neither a mark nor valid UTF-8: of the code page in use
};

// A code page, by functions as those of Windows-1252 above.
struct CodePage {
  Text (*decode)(std::string_view bytes);
  std::string (*encode)(TextView text, bool& lossless);
};
inline constexpr CodePage kWindows1252{FromWindows1252, ToWindows1252};

// The code page of files that are Ansi: Windows-1252 until a program names its machine's, once, before it reads a file (see
// os::UseAnsiCodePage). Of the whole process.
void SetAnsiCodePage(const CodePage& page) noexcept;

// The byte-order mark that a file of this encoding begins with; empty for those without.
[[nodiscard]] std::string_view MarkOf(FileEncoding encoding);

// Of a file's whole content. An empty file is Utf8.
[[nodiscard]] FileEncoding DetectEncoding(std::string_view wholeBytes);

// Bytes out of a file of that encoding, from any place behind the mark. An odd last byte of UTF-16 becomes U+FFFD.
[[nodiscard]] Text DecodeBytes(std::string_view bytes, FileEncoding encoding);

// A file's whole content without its mark. NULs are kept.
[[nodiscard]] Text DecodeFile(std::string_view bytes);

// The bytes that continue a file of that encoding; writes no mark. `lossless` may be null, else it is always set: false
// when something could not be written as it is (lone surrogates in UTF-8, see ToUtf8, or see ToWindows1252).
[[nodiscard]] std::string EncodeFor(FileEncoding encoding, TextView text, bool* lossless = nullptr);

// --- Base64 (RFC 4648)

// The complete digits of the bytes, without padding; with `rest` a last incomplete digit too.
[[nodiscard]] std::string Base64Digits(std::string_view bytes, bool rest);

// With its padding.
[[nodiscard]] std::string Base64(std::string_view bytes);

}  // namespace ovs
