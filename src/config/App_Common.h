// The plain INI reader: one key of an ordinary section-and-key file, read anew on every use.
#pragma once

#include <map>
#include <set>

#include "base/Text.h"
#include "config/FileProblems.h"
#include "config/PlainIni.h"
#include "config/SettingNames.h"
#include "os/Files.h"

namespace ovs {

enum class IniLoad {
  Ok,
  Missing,   // no such file
  Unusable,  // a folder, too large or not text; Problems() tells why, here and in the next case
  Refused,   // by the system, perhaps for a moment only
};

class App_Common {
 public:
  // `files` must outlive this object.
  explicit App_Common(os::Files& files) : files_(files) {}

  // The value of the key, or an empty text when the file, the section or the key is missing, the value is empty or the
  // file is unusable. Outer blanks and quotes around the whole value are removed. Never fails to the caller. The file is
  // read by LoadIniOrLast.
  Text ReadINI(TextView sFile, TextView sSection, TextView sKey);

  // The same out of a file that LoadIni has read; `sFile` is only named in traces.
  Text ReadINI(const PlainIni& content, TextView sFile, TextView sSection, TextView sKey);

  // These read an entry of the table of settings; the last two: whether the switch is on.
  Text ReadINI(TextView sFile, const SettingName& setting) { return ReadINI(sFile, setting.section, setting.key); }
  Text ReadINI(const PlainIni& content, TextView sFile, const SettingName& setting) {
    return ReadINI(content, sFile, setting.section, setting.key);
  }
  bool IsOn(TextView sFile, const SettingName& setting) { return ReadINI(sFile, setting) == u"1"; }
  bool IsOn(const PlainIni& content, TextView sFile, const SettingName& setting) {
    return ReadINI(content, sFile, setting) == u"1";
  }

  // Reads a file once for many keys. An unusable file is reported once, until it can be used again or its reason changes.
  IniLoad LoadIni(TextView sFile, PlainIni& out);
  // The same; a failed read is no edit: when the system refuses, `out` becomes what this function read of the file last, if
  // it ever did. A file that is missing or unusable leaves `out` without keys.
  IniLoad LoadIniOrLast(TextView sFile, PlainIni& out);
  // A file that was read here is gone from its folder, so that nobody will ask for it again.
  void Gone(TextView sFile) { problems_.Gone(sFile); }

  // Of the files that were read here.
  [[nodiscard]] const FileProblems& Problems() const { return problems_; }

 private:
  void NoteWideFormat(class Proc& proc, TextView sFile);
  void KeepLast(TextView sFile, IniLoad load, const PlainIni& content);

  os::Files& files_;
  FileProblems problems_;
  std::map<Text, PlainIni, std::less<>> last_;  // what LoadIniOrLast read
  std::set<Text, std::less<>> notedPaths_;      // whose wide-format note was written
};

}  // namespace ovs
