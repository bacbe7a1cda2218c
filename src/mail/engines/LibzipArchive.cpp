#include "mail/engines/LibzipArchive.h"

#include <zip.h>

#include <string>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "diag/App_Debug.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

// A file on disk as a source of bytes; opened when libzip asks for it.
class FileSource {
 public:
  // `why` is told the failure of a call on the file.
  FileSource(os::Files& files, TextView path, os::Error& why) : files_(files), path_(path), why_(why) {}

  static zip_int64_t Command(void* self, void* data, zip_uint64_t length, zip_source_cmd_t command) noexcept {
    return static_cast<FileSource*>(self)->Answer(data, length, command);
  }

 private:
  zip_int64_t Answer(void* data, zip_uint64_t length, zip_source_cmd_t command);
  zip_int64_t Open();
  zip_int64_t Read(void* data, zip_uint64_t length);
  zip_int64_t Stat(void* data);
  zip_int64_t Fail(int number, os::Error error = os::kSuccess) {
    if (error.Failed()) why_ = error;
    zip_error_set(&error_, number, 0);
    return -1;
  }

  os::Files& files_;
  Text path_;
  os::Error& why_;
  std::unique_ptr<os::ReadFile> file_;
  std::uint64_t offset_ = 0;
  zip_error_t error_{};
};

zip_int64_t FileSource::Answer(void* data, zip_uint64_t length, zip_source_cmd_t command) {
  switch (command) {
    case ZIP_SOURCE_OPEN:
      return Open();
    case ZIP_SOURCE_READ:
      return Read(data, length);
    case ZIP_SOURCE_CLOSE:
      file_.reset();
      return 0;
    case ZIP_SOURCE_STAT:
      return Stat(data);
    case ZIP_SOURCE_ERROR:
      return zip_error_to_data(&error_, data, length);
    case ZIP_SOURCE_FREE:
      delete this;
      return 0;
    case ZIP_SOURCE_SUPPORTS:
      return ZIP_SOURCE_SUPPORTS_READABLE;
    default:
      return Fail(ZIP_ER_OPNOTSUPP);
  }
}

zip_int64_t FileSource::Open() {
  const os::Error error = files_.OpenRead(path_, file_);
  offset_ = 0;
  return error.Ok() ? 0 : Fail(ZIP_ER_OPEN, error);
}

zip_int64_t FileSource::Read(void* data, zip_uint64_t length) {
  std::size_t got = 0;
  const os::Error error = file_->ReadAt(offset_, {static_cast<char*>(data), static_cast<std::size_t>(length)}, got);
  if (error.Failed()) return Fail(ZIP_ER_READ, error);
  offset_ += got;
  return static_cast<zip_int64_t>(got);
}

zip_int64_t FileSource::Stat(void* data) {
  constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;
  auto& stat = *static_cast<zip_stat_t*>(data);
  zip_stat_init(&stat);
  os::FileInfo info;
  if (const os::Error error = files_.Info(path_, info); error.Failed()) return Fail(ZIP_ER_OPEN, error);
  stat.mtime = static_cast<time_t>(info.modified / kTicksPerSecond - kSecondsTo1970);
  stat.valid = ZIP_STAT_MTIME;
  return sizeof stat;
}

}  // namespace

LibzipArchive::LibzipArchive(os::Files& files) : files_(files) {}

LibzipArchive::~LibzipArchive() { Discard(); }

void LibzipArchive::Discard() {
  if (archive_ != nullptr) zip_discard(archive_);
  if (content_ != nullptr) zip_source_free(content_);
  archive_ = nullptr;
  content_ = nullptr;
}

bool LibzipArchive::Fail(Text reason) {
  if (fileError_.Failed()) reason += u" " + Diagnostics().GetSystemMsg(fileError_.Number(), true);
  fileError_ = os::kSuccess;
  lastError_ = std::move(reason);
  return false;
}

bool LibzipArchive::Create(TextView path) {
  Discard();
  path_ = path;
  zip_error_t error;
  zip_error_init(&error);
  content_ = zip_source_buffer_create(nullptr, 0, 0, &error);
  archive_ = content_ == nullptr ? nullptr : zip_open_from_source(content_, ZIP_TRUNCATE, &error);
  const bool made = archive_ != nullptr || Fail(FromUtf8(zip_error_strerror(&error)));
  zip_error_fini(&error);
  // One reference is the archive's, the other keeps the bytes when the archive has been closed.
  if (made) zip_source_keep(content_);
  return made;
}

std::string LibzipArchive::FreeName(TextView path) const {
  const Text name = App_FilePath::FileNameOf(path);
  const Text bare = App_FilePath::NameWithoutExtension(path);
  std::string free = ToUtf8(name);
  for (int number = 2; zip_name_locate(archive_, free.c_str(), ZIP_FL_NOCASE | ZIP_FL_ENC_UTF_8) >= 0; ++number) {
    free = ToUtf8(bare + u" (" + NumberText(number) + u")" + name.substr(bare.size()));
  }
  return free;
}

bool LibzipArchive::AppendFile(TextView path) {
  if (archive_ == nullptr) return Fail(u"no archive was created");
  std::unique_ptr<os::ReadFile> readable;
  fileError_ = files_.OpenRead(path, readable);
  if (fileError_.Failed()) return Fail(u"cannot read " + Text(path));
  auto file = std::make_unique<FileSource>(files_, path, fileError_);
  zip_source_t* const source = zip_source_function(archive_, &FileSource::Command, file.get());
  if (source == nullptr) return Fail(FromUtf8(zip_strerror(archive_)));
  [[maybe_unused]] const FileSource* const givenToSource = file.release();
  if (zip_file_add(archive_, FreeName(path).c_str(), source, ZIP_FL_ENC_UTF_8) >= 0) return true;
  zip_source_free(source);
  return Fail(FromUtf8(zip_strerror(archive_)));
}

bool LibzipArchive::Write() {
  if (archive_ == nullptr) return Fail(u"no archive was created");
  if (zip_close(archive_) != 0) return Fail(FromUtf8(zip_strerror(archive_)));
  archive_ = nullptr;
  zip_stat_t stat;
  if (zip_source_stat(content_, &stat) != 0 || zip_source_open(content_) != 0) return Fail(u"the archive cannot be read");
  std::string bytes(static_cast<std::size_t>(stat.size), '\0');
  const bool whole = zip_source_read(content_, bytes.data(), bytes.size()) == static_cast<zip_int64_t>(bytes.size());
  zip_source_close(content_);
  Discard();
  if (!whole) return Fail(u"the archive cannot be read");
  fileError_ = files_.Write(path_, bytes);
  return fileError_.Ok() || Fail(u"cannot write " + path_);
}

}  // namespace ovs
