#include "events/files/Records.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/Encoding.h"
#include "events/files/RecordPieces.h"

namespace ovs {

namespace {

constexpr std::size_t kChunkBytes = 1 << 16;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleEndianMark = "\xFF\xFE";
constexpr std::string_view kBigEndianMark = "\xFE\xFF";

enum class Form { Utf8, Utf16Le, Utf16Be };

struct FormAndMark {
  Form form;
  std::size_t markBytes;
};

// Both kinds begin with a character of ASCII, so that a NUL gives UTF-16 without a mark away.
FormAndMark FormOf(std::string_view begin) {
  if (begin.starts_with(kUtf8Mark)) return {Form::Utf8, kUtf8Mark.size()};
  if (begin.starts_with(kLittleEndianMark)) return {Form::Utf16Le, kLittleEndianMark.size()};
  if (begin.starts_with(kBigEndianMark)) return {Form::Utf16Be, kBigEndianMark.size()};
  if (begin.size() >= 2 && begin[1] == '\0') return {Form::Utf16Le, 0};
  return {begin.size() >= 2 && begin[0] == '\0' ? Form::Utf16Be : Form::Utf8, 0};
}

std::uint64_t Utf8Measure(std::string_view utf8) { return utf8.size(); }

// Each character was one unit of two bytes, or two of them when it takes four bytes in UTF-8.
std::uint64_t Utf16Measure(std::string_view utf8) {
  std::uint64_t bytes = 0;
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) bytes += byte >= 0xF0 ? 4 : 2;
  }
  return bytes;
}

// Chunks of the file as UTF-8; a character that is cut by a chunk's end waits for the next.
class Utf8Chunks {
 public:
  explicit Utf8Chunks(Form form) : form_(form) {}

  std::string_view Next(std::string_view bytes) {
    if (form_ == Form::Utf8) return bytes;
    rest_ += bytes;
    std::size_t whole = rest_.size() & ~std::size_t{1};
    if (whole >= 2 && EndsInHalfAPair(whole)) whole -= 2;
    return Convert(whole);
  }

  std::string_view Last() { return Convert(rest_.size()); }

 private:
  [[nodiscard]] bool EndsInHalfAPair(std::size_t whole) const {
    const auto high = static_cast<unsigned char>(rest_[form_ == Form::Utf16Le ? whole - 1 : whole - 2]);
    return high >= 0xD8 && high < 0xDC;
  }

  std::string_view Convert(std::size_t count) {
    std::string bytes = rest_.substr(0, count);
    rest_.erase(0, count);
    if (form_ == Form::Utf16Be) {
      for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
    }
    utf8_ = ToUtf8(DecodeBytes(bytes, FileEncoding::Utf16Le));
    return utf8_;
  }

  Form form_;
  std::string rest_;
  std::string utf8_;
};

// Hands the content to the reader that its first character asks for.
class Intake {
 public:
  Intake(RecordTally& tally, FormAndMark form) : tally_(tally), form_(form), chunks_(form.form) {}

  void Feed(std::string_view bytes) { Take(chunks_.Next(bytes)); }

  void Finish() {
    Take(chunks_.Last());
    if (!reader_) return;
    reader_->Finish();
  }

 private:
  void Take(std::string_view utf8) {
    if (!reader_) {
      const std::size_t first = utf8.find_first_not_of(" \t\r\n");
      if (first == std::string_view::npos) {
        blanks_ += utf8;
        return;
      }
      reader_ = ReaderFor(utf8[first]);
      reader_->Feed(blanks_);
    }
    if (!utf8.empty()) reader_->Feed(utf8);
  }

  std::unique_ptr<PieceReader> ReaderFor(char first) {
    if (first != '<') return NewJsonReader(tally_);
    return NewXmlReader(tally_, form_.form == Form::Utf8 ? Utf8Measure : Utf16Measure, form_.markBytes);
  }

  RecordTally& tally_;
  FormAndMark form_;
  Utf8Chunks chunks_;
  std::string blanks_;  // that came before the first character
  std::unique_ptr<PieceReader> reader_;
};

}  // namespace

RecordReadResult ReadRecords(os::Files& files, TextView path, const RecordSink& sink) {
  RecordReadResult result;
  std::unique_ptr<os::ReadFile> file;
  result.error = files.OpenRead(path, file);
  if (result.error.Failed()) return result;
  result.opened = true;
  os::FileStamp stamp;
  file->Stamp(stamp).Ignore();

  RecordTally tally(sink, result);
  std::vector<char> buffer(kChunkBytes);
  std::size_t got = 0;
  result.error = file->ReadAt(0, buffer, got);
  if (result.error.Failed()) return result;
  const FormAndMark form = FormOf({buffer.data(), got});
  Intake intake(tally, form);
  std::string_view bytes = std::string_view(buffer.data(), got).substr(form.markBytes);
  for (std::uint64_t offset = 0; got != 0 && !tally.IsEnough();) {
    intake.Feed(bytes);
    offset += got;
    if (sink.onProgress) sink.onProgress(offset, std::max(offset, stamp.size));
    result.error = file->ReadAt(offset, buffer, got);
    if (result.error.Failed()) return result;
    bytes = {buffer.data(), got};
  }
  if (!tally.IsEnough()) intake.Finish();
  result.complete = true;
  return result;
}

}  // namespace ovs
