// The findings of `ovsctl check`, gathered in the order of the files, and the names that a misspelled one may have meant.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "base/Text.h"
#include "config/SettingNames.h"

namespace ovs {

enum class Severity { Error, Warning };

struct Finding {
  std::size_t file = 0;   // which of the files looked at
  std::size_t line = 0;   // from 1; 0 stands for the file as a whole
  std::size_t order = 0;  // in which it was found
  Severity severity = Severity::Error;
  std::string what;  // safe to show, as is the next
  std::string mend;
};

class Findings {
 public:
  // The file that findings belong to from now on; `shown` names it.
  std::size_t BeginFile(TextView shown);
  // Goes on with an earlier one, by what BeginFile gave.
  void ContinueFile(std::size_t file) { current_ = file; }

  void Error(std::size_t line, std::string what, std::string mend) { Add(line, Severity::Error, what, mend); }
  void Warning(std::size_t line, std::string what, std::string mend) { Add(line, Severity::Warning, what, mend); }

  [[nodiscard]] const std::string& NameOf(std::size_t file) const { return files_[file]; }
  [[nodiscard]] std::size_t FileCount() const { return files_.size(); }
  // By file, and in it by line.
  [[nodiscard]] std::vector<Finding> Sorted() const;
  [[nodiscard]] std::size_t Count(Severity severity) const;

 private:
  void Add(std::size_t line, Severity severity, std::string& what, std::string& mend);

  std::vector<std::string> files_;
  std::vector<Finding> found_;
  std::size_t current_ = 0;
};

// The number of characters to put in, take out or change to turn one text into the other; case does not count.
[[nodiscard]] std::size_t EditDistance(TextView a, TextView b);
// The known name that was probably meant; empty when none is near.
[[nodiscard]] TextView NearestName(TextView name, std::span<const TextView> known);

// In these `settings` is one of the tables of SettingNames.h.
// Null when there is none; case does not count.
[[nodiscard]] const SettingName* FindSetting(std::span<const SettingName> settings, TextView section, TextView key);
// The sections, each once, in the order of the table; then the keys of one.
[[nodiscard]] std::vector<TextView> SectionsOf(std::span<const SettingName> settings);
[[nodiscard]] std::vector<TextView> KeysOf(std::span<const SettingName> settings, TextView section);
// The only section that has this key; empty when there is none or more than one.
[[nodiscard]] TextView SectionWith(std::span<const SettingName> settings, TextView key);

// A text out of a file between quotation marks, safe to show and not long.
[[nodiscard]] std::string Quoted(TextView text);
// The advice for an unknown name.
[[nodiscard]] std::string DidYouMean(TextView nearest, const std::string& otherwise);

}  // namespace ovs
