#include "config/PlainIni.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

bool IsProfileSpace(char16_t unit) {
  constexpr char16_t kOldEndOfFile = 0x1A;
  return (unit >= u'\t' && unit <= u'\r') || unit == u' ' || unit == kOldEndOfFile;
}

TextView TrimProfileSpace(TextView text) {
  while (!text.empty() && IsProfileSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsProfileSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Cuts the next line off `rest`; of a CR LF the LF is left as an empty line, which counts for nothing.
TextView TakeLine(TextView& rest) {
  const auto end = std::ranges::find_if(rest, [](char16_t unit) { return unit == u'\n' || unit == u'\r'; });
  const auto length = static_cast<std::size_t>(end - rest.begin());
  const TextView line = rest.substr(0, length);
  rest.remove_prefix(std::min(length + 1, rest.size()));
  return line;
}

// The platform's reader: at most `size` - 1 characters. Quotes go only when the closing one was seen whole; when exactly
// the closing quote did not fit, one character too many is lost (the reader's own quirk, which the retry below repairs).
Text CopyEntry(TextView value, std::size_t size) {
  bool quoted = false;
  if (value.size() > 1 && (value.front() == u'"' || value.front() == u'\'') && value.back() == value.front()) {
    quoted = true;
    value.remove_prefix(1);
  }
  Text copy(value.substr(0, size - 1));
  if (quoted && size >= value.size() && !copy.empty()) copy.pop_back();
  return copy;
}

// A line that is not empty, taken apart.
PlainIni::Line Parse(TextView line) {
  using Kind = PlainIni::Line::Kind;
  if (line.front() == u';') return {0, Kind::Remark, line, {}, std::nullopt};
  // substr takes a length beyond the end, such as "not found", as "all".
  if (line.front() == u'[') {
    return {0, Kind::Section, line, TrimProfileSpace(line.substr(1, line.find(u']') - 1)), std::nullopt};
  }
  const std::size_t equals = line.find(u'=');
  if (equals == TextView::npos) return {0, Kind::Key, line, line, std::nullopt};
  return {0, Kind::Key, line, TrimProfileSpace(line.substr(0, equals)), TrimProfileSpace(line.substr(equals + 1))};
}

}  // namespace

PlainIni::PlainIni(Text content) : content_(std::make_shared<const Text>(std::move(content))) {
  for (TextView rest = *content_; !rest.empty();) {
    const TextView line = TrimProfileSpace(TakeLine(rest));
    if (!line.empty()) AddLine(Parse(line));
  }
}

void PlainIni::AddLine(const Line& line) {
  if (line.kind == Line::Kind::Section) {
    sections_.push_back({line.name, keys_.size()});
  } else if (line.kind == Line::Kind::Key && !sections_.empty()) {
    keys_.push_back({line.name, line.value});
  }
}

std::vector<PlainIni::Line> PlainIni::Lines() const {
  std::vector<Line> lines;
  std::size_t number = 0;
  char16_t lastEnd = kNul;
  for (TextView rest = Content(); !rest.empty();) {
    const TextView before = rest;
    const TextView raw = TakeLine(rest);
    const char16_t end = raw.size() < before.size() ? before[raw.size()] : kNul;
    const bool isRestOfEnd = raw.empty() && end == u'\n' && lastEnd == u'\r';
    lastEnd = isRestOfEnd ? kNul : end;
    if (isRestOfEnd) continue;
    ++number;
    const TextView line = TrimProfileSpace(raw);
    if (line.empty()) continue;
    lines.push_back(Parse(line));
    lines.back().number = number;
  }
  return lines;
}

const PlainIni::Section* PlainIni::Find(TextView section) const {
  const TextView wanted = App_Strings::TrimBlanks(section);
  const auto found = std::ranges::find_if(sections_, [&](const Section& each) { return EqualsFolded(each.name, wanted); });
  return found == sections_.end() ? nullptr : &*found;
}

bool PlainIni::HasSection(TextView section) const { return Find(section) != nullptr; }

std::optional<TextView> PlainIni::RawValue(TextView section, TextView key) const {
  const Section* const found = Find(section);
  if (found == nullptr) return std::nullopt;
  const auto next = static_cast<std::size_t>(found - sections_.data()) + 1;
  const std::size_t end = next < sections_.size() ? sections_[next].firstKey : keys_.size();
  const TextView wanted = App_Strings::TrimBlanks(key);
  for (std::size_t i = found->firstKey; i < end; ++i) {
    if (EqualsFolded(keys_[i].name, wanted)) return keys_[i].value;
  }
  return std::nullopt;
}

std::size_t PlainIni::MemoryInUse() const {
  const std::size_t text = content_ ? content_->capacity() * sizeof(char16_t) : 0;
  return text + sections_.capacity() * sizeof(Section) + keys_.capacity() * sizeof(Key);
}

Text ProfileValue(TextView raw) {
  for (std::size_t size = 8192;; size *= 2) {
    const Text read = CopyEntry(raw, size);
    // Only this one count means "perhaps cut": a value cut at size - 1 is returned cut.
    if (read.size() == size - 2) continue;
    const TextView upToNul = TextView(read).substr(0, read.find(u'\0'));
    return Text(App_Strings::TrimBlanks(upToNul));
  }
}

bool IsCutValue(TextView raw) {
  constexpr std::size_t kEnds = 2;
  return ProfileValue(raw) != App_Strings::TrimBlanks(CopyEntry(raw, raw.size() + kEnds));
}

}  // namespace ovs
