// One value put into a settings file; every other byte of the file stays.
#pragma once

#include <cstddef>
#include <string>

#include "base/Encoding.h"
#include "base/Text.h"
#include "config/SettingNames.h"
#include "os/Files.h"

namespace ovs {

class SettingsFile {
 public:
  // `files` must outlive this object. Nothing is read yet.
  SettingsFile(os::Files& files, TextView path) : files_(files), path_(path) {}
  ~SettingsFile();
  SettingsFile(const SettingsFile&) = delete;
  SettingsFile& operator=(const SettingsFile&) = delete;

  // False when the service could not read the file; why was said. One that does not exist is empty.
  [[nodiscard]] bool Read();
  [[nodiscard]] bool Exists() const { return exists_; }

  // Both calls change the content in memory. False when the service would not read the value out of it, which was said.
  // A value is put in place of the one that counts; a key or section that is missing is added.
  [[nodiscard]] bool PutIntoSection(const SettingName& setting, TextView value);
  // The same for a .cfg file.
  [[nodiscard]] bool PutProgramSetting(TextView key, TextView value);

  // Replaces the file whole, or makes it and its folder; false when the system refuses, which was said.
  [[nodiscard]] bool Write();

 private:
  // Puts the text in place of `length` characters at that place.
  void Splice(std::size_t at, std::size_t length, TextView text);
  [[nodiscard]] bool Refuse(const std::string& why) const;

  os::Files& files_;
  Text path_;
  bool exists_ = false;
  std::string bytes_;
  FileEncoding encoding_ = FileEncoding::Utf8;
  Text text_;  // of the bytes
};

}  // namespace ovs
