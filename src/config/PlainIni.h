// A section-and-key INI file, parsed by the rules of the platform's private-profile reader (docs/ini-reader.md).
//
// A line ends at each CR and each LF. White space (tab, VT, FF, blank, and the old end-of-file mark 0x1A) around lines,
// names and values does not count. A line that begins with "[" opens a section, whose name reaches to the first "]" or,
// without one, to the end of the line; what follows the "]" is ignored. The first section of a name and in it the first
// key of a name count; names are compared without regard to case. A key without "=" has no value. A line that begins with
// ";" and whatever stands before the first section cannot be asked for.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "base/Text.h"
#include "config/SettingNames.h"

namespace ovs {

class PlainIni {
 public:
  // Empty: no section, no key.
  PlainIni() = default;
  explicit PlainIni(Text content);

  // In this and the next call, blanks around the names asked for do not count.
  [[nodiscard]] bool HasSection(TextView section) const;

  // The value as it stands in the file between its outer white space, quotes included; none when the section or the key
  // is missing or the key has no "=". The view lives as long as this object or a copy of it.
  [[nodiscard]] std::optional<TextView> RawValue(TextView section, TextView key) const;
  [[nodiscard]] std::optional<TextView> RawValue(const SettingName& setting) const {
    return RawValue(setting.section, setting.key);
  }

  // A line as it is read; empty ones are none. The views lie within Content().
  struct Line {
    enum class Kind { Section, Key, Remark };
    std::size_t number = 0;  // counted as editors do: CR LF is one line end
    Kind kind = Kind::Key;
    TextView whole;                 // between its outer white space
    TextView name;                  // of the section or key; empty for a remark
    std::optional<TextView> value;  // of a key with "="
  };
  // All lines in the order of the file, also those that cannot be asked for. Parses anew: for whoever checks files.
  [[nodiscard]] std::vector<Line> Lines() const;
  // The text itself.
  [[nodiscard]] TextView Content() const { return content_ ? TextView(*content_) : TextView(); }

  // Heap memory in bytes.
  [[nodiscard]] std::size_t MemoryInUse() const;

 private:
  struct Key {
    TextView name;
    std::optional<TextView> value;
  };
  struct Section {
    TextView name;
    std::size_t firstKey;
  };

  void AddLine(const Line& line);
  [[nodiscard]] const Section* Find(TextView section) const;

  std::shared_ptr<const Text> content_;  // what the views point into; shared by copies
  std::vector<Section> sections_;        // in file order; each owns the keys up to the next one's first
  std::vector<Key> keys_;
};

// The value that the system reads out of a raw one: quotes around the whole value removed, read through a buffer of 8,192
// characters (see docs/ini-reader.md for what that means for very long values), outer blanks removed.
[[nodiscard]] Text ProfileValue(TextView raw);

// True when the value is longer than the buffer, so that its end is not read.
[[nodiscard]] bool IsCutValue(TextView raw);

}  // namespace ovs
