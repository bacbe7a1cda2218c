#include "os/RegExport.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "base/Encoding.h"
#include "base/Fold.h"

namespace ovs {

namespace {

constexpr TextView kHeading = u"Windows Registry Editor Version 5.00";
constexpr char16_t kMark = 0xFEFF;
constexpr TextView kBlanks = u" \t";
constexpr std::size_t kTypeDigits = 8;

struct RootName {
  TextView name;
  os::RootKey root;
};

constexpr RootName kRoots[] = {
    {u"HKEY_CLASSES_ROOT", os::RootKey::ClassesRoot},
    {u"HKEY_CURRENT_USER", os::RootKey::CurrentUser},
    {u"HKEY_LOCAL_MACHINE", os::RootKey::LocalMachine},
    {u"HKEY_USERS", os::RootKey::Users},
    {u"HKEY_PERFORMANCE_DATA", os::RootKey::PerformanceData},
    {u"HKEY_CURRENT_CONFIG", os::RootKey::CurrentConfig},
    {u"HKEY_DYN_DATA", os::RootKey::DynData},
};

TextView Trimmed(TextView text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == TextView::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsBlankOrComment(TextView text) {
  const TextView trimmed = Trimmed(text);
  return trimmed.empty() || trimmed.front() == u';';
}

std::optional<std::uint32_t> HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  const char16_t capital = FoldUnit(c);
  if (capital >= u'A' && capital <= u'F') return capital - u'A' + 10;
  return std::nullopt;
}

// Reads a text from its start, piece by piece.
class Reader {
 public:
  explicit Reader(TextView text) : rest_(text) {}

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }
  [[nodiscard]] bool At(char16_t c) const { return rest_.starts_with(c); }

  bool Take(char16_t c) {
    if (!At(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool TakeFolded(TextView word) {
    if (!EqualsFolded(rest_.substr(0, word.size()), word)) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size())); }

  // The rest of the line, without its end, which is taken too.
  TextView TakeLine() {
    const std::size_t end = std::min(rest_.find(u'\n'), rest_.size());
    TextView line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    if (line.ends_with(u'\r')) line.remove_suffix(1);
    return line;
  }

  // A text in quotes; it may hold line ends.
  std::optional<Text> TakeQuoted() {
    if (!Take(u'"')) return std::nullopt;
    Text out;
    for (std::size_t i = 0; i < rest_.size(); ++i) {
      char16_t c = rest_[i];
      if (c == u'"') {
        rest_.remove_prefix(i + 1);
        return out;
      }
      if (c == u'\\') {
        if (++i == rest_.size()) break;
        c = rest_[i];
        if (c != u'\\' && c != u'"') break;
      }
      out += c;
    }
    return std::nullopt;
  }

  // A number of 1 to `limit` hexadecimal digits.
  std::optional<std::uint32_t> TakeHex(std::size_t limit) {
    std::uint32_t value = 0;
    std::size_t count = 0;
    for (; count < rest_.size(); ++count) {
      const auto digit = HexDigit(rest_[count]);
      if (!digit) break;
      if (count == limit) return std::nullopt;
      value = (value << 4) | *digit;
    }
    if (count == 0) return std::nullopt;
    rest_.remove_prefix(count);
    return value;
  }

 private:
  TextView rest_;
};

// Takes blanks, and line ends that a "\" stands before.
bool SkipContinuation(Reader& reader) {
  reader.SkipBlanks();
  while (reader.Take(u'\\')) {
    if (!IsBlankOrComment(reader.TakeLine())) return false;
    reader.SkipBlanks();
  }
  return true;
}

bool ReadBytes(Reader& reader, std::string& out) {
  if (!SkipContinuation(reader)) return false;
  auto byte = reader.TakeHex(2);
  if (!byte) return true;  // no bytes at all
  for (;;) {
    out += static_cast<char>(*byte);
    if (!SkipContinuation(reader)) return false;
    if (!reader.Take(u',')) return true;
    if (!SkipContinuation(reader)) return false;
    byte = reader.TakeHex(2);
    if (!byte) return false;
  }
}

bool ReadDword(Reader& reader, RegExportEntry& out) {
  const auto number = reader.TakeHex(8);
  if (!number) return false;
  out.type = os::RegType::kDword;
  for (unsigned shift = 0; shift < 32; shift += 8) out.data += static_cast<char>((*number >> shift) & 0xFF);
  return true;
}

bool ReadData(Reader& reader, RegExportEntry& out) {
  out.action = RegExportEntry::Action::SetValue;
  if (reader.At(u'"')) {
    const auto text = reader.TakeQuoted();
    if (!text) return false;
    out.type = os::RegType::kString;
    out.data = EncodeFor(FileEncoding::Utf16Le, *text + kNul);
    return true;
  }
  if (reader.TakeFolded(u"dword:")) return ReadDword(reader, out);
  if (reader.TakeFolded(u"hex:")) {
    out.type = os::RegType::kBinary;
    return ReadBytes(reader, out.data);
  }
  if (reader.TakeFolded(u"hex(")) {
    const auto type = reader.TakeHex(kTypeDigits);
    out.type = type.value_or(0);
    return type && reader.TakeFolded(u"):") && ReadBytes(reader, out.data);
  }
  out.action = RegExportEntry::Action::DeleteValue;
  return reader.Take(u'-');
}

// A value with its data, and what may stand behind it on its line.
bool ReadValue(Reader& reader, RegExportEntry& out) {
  if (!reader.Take(u'@')) {
    auto name = reader.TakeQuoted();
    if (!name) return false;
    out.name = std::move(*name);
  }
  reader.SkipBlanks();
  if (!reader.Take(u'=')) return false;
  reader.SkipBlanks();
  return ReadData(reader, out) && IsBlankOrComment(reader.TakeLine());
}

// "[HKEY_...\key]", "[-HKEY_...\key]"; a "]" may be part of the key's name.
bool ReadKey(TextView line, RegExportEntry& out) {
  const std::size_t end = line.rfind(u']');
  if (end == TextView::npos || !IsBlankOrComment(line.substr(end + 1))) return false;
  TextView path = line.substr(1, end - 1);
  const bool isDeletion = path.starts_with(u'-');
  if (isDeletion) path.remove_prefix(1);
  const std::size_t rootEnd = std::min(path.find(u'\\'), path.size());
  const auto* const root =
      std::ranges::find_if(kRoots, [&](const RootName& each) { return EqualsFolded(each.name, path.substr(0, rootEnd)); });
  if (root == std::end(kRoots)) return false;
  out.action = isDeletion ? RegExportEntry::Action::DeleteKey : RegExportEntry::Action::AddKey;
  out.root = root->root;
  out.key = path.substr(std::min(rootEnd + 1, path.size()));
  return !isDeletion || !out.key.empty();
}

bool ReadHeading(Reader& reader) {
  reader.Take(kMark);
  while (!reader.AtEnd()) {
    const TextView line = Trimmed(reader.TakeLine());
    if (!line.empty()) return line == kHeading;
  }
  return false;
}

// Leaves out a line that could not be read, with the lines that continue it. A key's line continues none, so that no value
// gets into another key than its own.
void SkipLine(Reader& reader) {
  while (!reader.AtEnd() && Trimmed(reader.TakeLine()).ends_with(u'\\') && !reader.At(u'[')) {
  }
}

}  // namespace

bool ParseRegExport(TextView text, const std::function<void(const RegExportEntry&)>& take) {
  Reader reader(text);
  if (!ReadHeading(reader)) return false;
  bool good = true;
  RegExportEntry key;
  bool hasKey = false;
  while (!reader.AtEnd()) {
    reader.SkipBlanks();
    const Reader start = reader;
    const TextView line = reader.TakeLine();
    if (IsBlankOrComment(line)) continue;
    RegExportEntry entry;
    bool read = false;
    if (line.front() == u'[') {
      read = ReadKey(line, entry);
      hasKey = read && entry.action == RegExportEntry::Action::AddKey;
      if (hasKey) key = entry;
    } else if (hasKey) {
      entry = key;
      reader = start;
      read = ReadValue(reader, entry);
      if (!read) SkipLine(reader = start);
    } else {
      SkipLine(reader = start);
    }
    if (read) take(entry);
    good = good && read;
  }
  return good;
}

}  // namespace ovs
