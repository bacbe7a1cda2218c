#include "ovsctl/cli/LogFiles.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "base/App_Strings.h"
#include "base/Encoding.h"

namespace ovs {

namespace {

constexpr std::uint64_t kEnd = std::uint64_t{64} * 1024;  // even, so that UTF-16 is not cut within a unit

bool ReadAll(os::ReadFile& file, std::uint64_t offset, std::string& bytes) {
  std::size_t done = 0;
  std::size_t got = 1;
  while (done < bytes.size() && got != 0) {
    if (file.ReadAt(offset + done, std::span(bytes).subspan(done), got).Failed()) return false;
    done += got;
  }
  bytes.resize(done);
  return true;
}

// The place where the first whole UTF-8 character begins: the rest of a cut one would look like another encoding.
std::size_t FirstCharacter(std::string_view bytes) {
  constexpr std::size_t kLongestRest = 3;
  std::size_t i = 0;
  while (i < std::min(kLongestRest, bytes.size()) && (static_cast<unsigned char>(bytes[i]) & 0xC0) == 0x80) ++i;
  return i;
}

FileEncoding EncodingOf(std::string_view head, std::string_view end) {
  if (head.starts_with(MarkOf(FileEncoding::Utf16Le))) return FileEncoding::Utf16Le;
  return IsValidUtf8(end.substr(FirstCharacter(end))) ? FileEncoding::Utf8 : FileEncoding::Ansi;
}

}  // namespace

std::vector<Text> LastLines(os::Files& files, TextView path, std::size_t most) {
  std::unique_ptr<os::ReadFile> file;
  os::FileStamp stamp;
  if (files.OpenRead(path, file).Failed() || file->Stamp(stamp).Failed()) return {};
  const std::uint64_t start = stamp.size > kEnd ? (stamp.size - kEnd) & ~std::uint64_t{1} : 0;
  std::string head(3, '\0');
  std::string bytes(static_cast<std::size_t>(stamp.size - start), '\0');
  if (!ReadAll(*file, 0, head) || !ReadAll(*file, start, bytes)) return {};
  const FileEncoding encoding = EncodingOf(head, bytes);
  std::vector<Text> lines = App_Strings::Split(start == 0 ? DecodeFile(bytes) : DecodeBytes(bytes, encoding), kCrLf);
  if (start != 0 && !lines.empty()) lines.erase(lines.begin());
  std::erase(lines, Text());
  if (lines.size() > most) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(most));
  return lines;
}

GrowingFile::GrowingFile(os::Files& files, TextView path) : files_(files), path_(path) {
  os::FileInfo info;
  if (files_.Info(path_, info).Ok()) read_ = info.size;
}

const std::string& GrowingFile::Appended() {
  constexpr std::size_t kMost = std::size_t{1} << 20;
  std::array<char, std::size_t{64} * 1024> buffer;
  std::size_t got = 0;
  // Opened each time: the writer may begin a new file under the old name.
  std::unique_ptr<os::ReadFile> file;
  files_.OpenRead(path_, file).Ignore();
  while (file && file->ReadAt(read_, buffer, got).Ok() && got > 0) {
    read_ += got;
    for (const char byte : std::string_view(buffer.data(), got)) {
      if (byte != '\0') appended_ += byte;
    }
    if (appended_.size() > kMost) appended_.erase(0, appended_.size() - kMost);
  }
  return appended_;
}

}  // namespace ovs
