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

}  // namespace

PlainIni::PlainIni(Text content) : content_(std::make_shared<const Text>(std::move(content))) {
  for (TextView rest = *content_; !rest.empty();) {
    const TextView line = TrimProfileSpace(TakeLine(rest));
    if (!line.empty() && line.front() != u';') AddLine(line);
  }
}

void PlainIni::AddLine(TextView line) {
  if (line.front() == u'[') {
    // substr takes a length beyond the end, such as "not found", as "all".
    sections_.push_back({TrimProfileSpace(line.substr(1, line.find(u']') - 1)), keys_.size()});
    return;
  }
  if (sections_.empty()) return;
  const std::size_t equals = line.find(u'=');
  if (equals == TextView::npos) {
    keys_.push_back({line, std::nullopt});
  } else {
    keys_.push_back({TrimProfileSpace(line.substr(0, equals)), TrimProfileSpace(line.substr(equals + 1))});
  }
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

}  // namespace ovs
