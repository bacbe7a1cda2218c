#include "mail/engines/CurlMime.h"

#include <algorithm>
#include <array>
#include <new>

#include "base/App_Strings.h"
#include "base/RuntimeError.h"
#include "mail/engines/MailHeaders.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

void Check(CURLcode code) {
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code != CURLE_OK) throw RuntimeError(RuntimeErrorNumber::kInternal, u"libcurl refused a part of the mail");
}

curl_mimepart* AddPart(curl_mime* mime) {
  curl_mimepart* const part = curl_mime_addpart(mime);
  if (part == nullptr) throw std::bad_alloc();
  return part;
}

// Hands the bytes of a file over as libcurl asks for them, which it does in small pieces. A file that grows is read to the
// length it had when it was opened, one that shrinks to its end.
class FileFeed {
 public:
  FileFeed(std::unique_ptr<os::ReadFile> file, std::uint64_t size) : file_(std::move(file)), size_(size) {}

  static std::size_t Read(char* buffer, std::size_t size, std::size_t count, void* self) noexcept {
    return static_cast<FileFeed*>(self)->Take(buffer, size * count);
  }
  static int Seek(void* self, curl_off_t offset, int origin) noexcept {
    if (origin != SEEK_SET || offset < 0) return CURL_SEEKFUNC_CANTSEEK;
    auto& feed = *static_cast<FileFeed*>(self);
    feed.offset_ = static_cast<std::uint64_t>(offset);
    feed.begin_ = feed.end_ = 0;
    return CURL_SEEKFUNC_OK;
  }
  static void Free(void* self) noexcept { delete static_cast<FileFeed*>(self); }

 private:
  std::size_t Take(char* buffer, std::size_t wanted) {
    if (begin_ == end_ && !Refill()) return CURL_READFUNC_ABORT;
    const std::size_t taken = std::min(wanted, end_ - begin_);
    std::copy_n(buffer_.data() + begin_, taken, buffer);
    begin_ += taken;
    return taken;
  }
  bool Refill() {
    begin_ = end_ = 0;
    const std::uint64_t left = size_ > offset_ ? size_ - offset_ : 0;
    const std::span<char> room(buffer_.data(), static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer_.size())));
    if (!room.empty() && file_->ReadAt(offset_, room, end_).Failed()) return false;
    offset_ += end_;
    return true;
  }

  std::unique_ptr<os::ReadFile> file_;
  std::uint64_t size_;
  std::uint64_t offset_ = 0;
  std::array<char, std::size_t{64} * 1024> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

struct FilePart {
  TextView path;
  std::string_view disposition;
  std::string_view type;
  bool hasContentId = false;
};

void AddFile(curl_mime* mime, os::Files& files, const FilePart& what) {
  std::unique_ptr<os::ReadFile> file;
  os::FileStamp stamp;
  if (files.OpenRead(what.path, file).Failed() || file->Stamp(stamp).Failed()) return;
  const Text name = App_FilePath::FileNameOf(what.path);
  std::vector<std::string> headers = {MailHeaders::ContentType(what.type, name),
                                      MailHeaders::ContentDisposition(what.disposition, name)};
  if (what.hasContentId) headers.push_back("Content-ID: <" + MailHeaders::ContentId(name) + ">");
  CurlList list = NewCurlList(headers);
  curl_mimepart* const part = AddPart(mime);
  Check(curl_mime_headers(part, list.get(), 1));
  HandedOver(list);
  auto feed = std::make_unique<FileFeed>(std::move(file), stamp.size);
  // No size is told: the file may turn out shorter.
  Check(curl_mime_data_cb(part, -1, &FileFeed::Read, &FileFeed::Seek, &FileFeed::Free, feed.get()));
  HandedOver(feed);
  Check(curl_mime_encoder(part, "base64"));
}

void AddBody(curl_mime* mime, const CurlJob& job) {
  curl_mimepart* const part = AddPart(mime);
  Check(curl_mime_data(part, job.body.data(), job.body.size()));
  Check(curl_mime_type(part, job.isHtml ? "text/html; charset=utf-8" : "text/plain; charset=utf-8"));
  const auto foreign = std::ranges::count_if(job.body, [](char byte) { return byte < 0 || byte >= 0x7F; });
  const bool mostlyAscii = static_cast<std::size_t>(foreign) <= job.body.size() / 6;
  Check(curl_mime_encoder(part, mostlyAscii ? "quoted-printable" : "base64"));
}

std::string_view ImageType(TextView path) {
  if (App_Strings::StringEndsWith(path, u".gif")) return "image/gif";
  return App_Strings::StringEndsWith(path, u".png") ? "image/png" : "image/jpeg";
}

std::string_view AttachmentType(TextView path) {
  return App_Strings::StringEndsWith(path, u".zip") ? "application/zip" : "application/octet-stream";
}

// HTML and the image it shows belong together.
void AddRelated(CURL* easy, curl_mime* mime, os::Files& files, const CurlJob& job) {
  CurlMime related(curl_mime_init(easy));
  if (!related) throw std::bad_alloc();
  AddBody(related.get(), job);
  AddFile(related.get(), files, {job.logoFile, "inline", ImageType(job.logoFile), true});
  curl_mimepart* const part = AddPart(mime);
  Check(curl_mime_subparts(part, related.get()));
  HandedOver(related);
  Check(curl_mime_type(part, "multipart/related"));
}

}  // namespace

CurlList NewCurlList(const std::vector<std::string>& items) {
  CurlList list;
  for (const std::string& item : items) {
    curl_slist* const longer = curl_slist_append(list.get(), item.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    HandedOver(list);
    list.reset(longer);
  }
  return list;
}

CurlMime NewCurlMime(CURL* easy, os::Files& files, const CurlJob& job) {
  CurlMime mime(curl_mime_init(easy));
  if (!mime) throw std::bad_alloc();
  if (job.logoFile.empty()) {
    AddBody(mime.get(), job);
  } else {
    AddRelated(easy, mime.get(), files, job);
  }
  for (const Text& path : job.attachments) AddFile(mime.get(), files, {path, "attachment", AttachmentType(path)});
  return mime;
}

}  // namespace ovs
