// The built-in archive engine: zip files by libzip. Files are read while the archive is written; the archive itself is held
// in memory until it is whole.
#pragma once

#include <memory>

#include "mail/engines/MailComponent.h"
#include "os/Files.h"

struct zip;
struct zip_source;

namespace ovs {

class LibzipArchive final : public ZipArchive {
 public:
  // `files` must outlive this object.
  explicit LibzipArchive(os::Files& files);
  ~LibzipArchive() override;

  bool Create(TextView path) override;
  // Entries are named as the files are, without their folders; a name that is there already gets a number, as in "a
  // (2).txt".
  bool AppendFile(TextView path) override;
  bool Write() override;
  [[nodiscard]] Text LastErrorText() override { return lastError_; }

 private:
  [[nodiscard]] std::string FreeName(TextView path) const;
  // Keeps the reason, with the text of `fileError_` behind it. False.
  bool Fail(Text reason);
  void Discard();

  os::Files& files_;
  Text path_;
  Text lastError_;
  os::Error fileError_;            // of the last call on a file that failed; part of the next reason
  zip_source* content_ = nullptr;  // the archive in memory
  zip* archive_ = nullptr;
};

}  // namespace ovs
