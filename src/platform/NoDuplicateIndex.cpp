#include "platform/NoDuplicateIndex.h"

#include <algorithm>
#include <deque>
#include <limits>
#include <span>
#include <string>
#include <utility>

#include "base/Fold.h"

// No answer is ever wrong, because hashes only spare readings, and each in one direction:
//   - "It is there" is said after units were compared: those of the unfinished line, which is held in memory, or those of
//     the file. A hash that two lines share costs a reading and no more.
//   - "It is not there" is said without a reading only where it would have left a trace. An equal line has an equal hash, so
//     the table of lines holds it, or was full, and is then built anew. A longer line that ends with the text has the same
//     last 16 units, so the greatest length of that tail exceeds the text's; and its last units are in the set of such
//     endings, which is either whole or not kept. A line that is too long to be held counts as longer than any text.
namespace ovs {

namespace {

constexpr std::size_t kTail = 16;
constexpr std::size_t kMinSlots = 1024;
constexpr unsigned kTagBits = 24;
constexpr std::uint64_t kOffsetMask = (std::uint64_t{1} << (64 - kTagBits)) - 1;
// Beyond, the index would not hold the line whole.
constexpr std::size_t kLongestIndexed = LineScanner::kMaxLineBytes / 4;
constexpr std::size_t kMinSuffixes = 4096;
constexpr std::size_t kMaxSuffixSets = 64;
constexpr std::uint32_t kUnbounded = std::numeric_limits<std::uint32_t>::max();

std::uint64_t HashOf(TextView folded) {
  std::uint64_t hash = HashText(folded);
  hash ^= hash >> 32;
  hash *= 0x9E3779B97F4A7C15u;
  return hash ^ (hash >> 29);
}

TextView LastOf(TextView text, std::size_t count) { return text.substr(text.size() - std::min(text.size(), count)); }

std::uint64_t TailOf(TextView folded) { return HashOf(LastOf(folded, kTail)); }

// The newest lines of a file, as many as an entry has, compared with the entry's lines as the last of them arrives.
class LineWindow {
 public:
  explicit LineWindow(TextView entry) {
    for (std::size_t start = 0;;) {
      const std::size_t end = entry.find(kCrLf, start);
      parts_.push_back(entry.substr(start, end == TextView::npos ? end : end - start));
      if (end == TextView::npos) return;
      start = end + kCrLf.size();
    }
  }

  // True when the entry ends with this line.
  bool Push(TextView line, bool cut) {
    lines_.push_back({Text(line), cut, seen_++ == 0});
    if (lines_.size() > parts_.size()) lines_.pop_front();
    return lines_.size() == parts_.size() && Matches();
  }

 private:
  struct Line {
    Text text;
    bool cut;
    bool first;
  };

  [[nodiscard]] bool Matches() const {
    for (std::size_t i = 1; i < parts_.size(); ++i) {
      if (lines_[i].cut || lines_[i].text != parts_[i]) return false;
    }
    return MatchesBeginning(lines_.front(), parts_.front());
  }

  // An entry that begins with LF may begin with the LF of the line break before the line.
  static bool MatchesBeginning(const Line& line, TextView part) {
    if (line.text.ends_with(part)) return true;
    return part.starts_with(u'\n') && !line.first && !line.cut && line.text == part.substr(1);
  }

  std::vector<TextView> parts_;
  std::deque<Line> lines_;
  std::size_t seen_ = 0;
};

}  // namespace

void LineTable::Reset(std::size_t lines) {
  slots_.assign(std::max(kMinSlots, lines * 2), 0);
  slots_.shrink_to_fit();
  used_ = 0;
}

std::size_t LineTable::Home(std::uint64_t hash) const {
  // The upper half picks the slot, the lower bits are the tag.
  return static_cast<std::size_t>(((hash >> 32) * slots_.size()) >> 32);
}

bool LineTable::Insert(std::uint64_t hash, std::uint64_t offset) {
  if (offset >= kOffsetMask || (used_ + 1) * 4 > slots_.size() * 3) return false;
  const std::uint64_t tag = hash << (64 - kTagBits);
  for (std::size_t at = Home(hash);; at = at + 1 == slots_.size() ? 0 : at + 1) {
    if (slots_[at] == 0) {
      slots_[at] = tag | (offset + 1);
      ++used_;
      return true;
    }
    if ((slots_[at] & ~kOffsetMask) == tag) return true;
  }
}

std::optional<std::uint64_t> LineTable::Find(std::uint64_t hash) const {
  const std::uint64_t tag = hash << (64 - kTagBits);
  for (std::size_t at = Home(hash); slots_[at] != 0; at = at + 1 == slots_.size() ? 0 : at + 1) {
    if ((slots_[at] & ~kOffsetMask) == tag) return (slots_[at] & kOffsetMask) - 1;
  }
  return std::nullopt;
}

// The slot of the hash, or the free one where it belongs.
std::size_t LongestTable::Place(std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at].length != 0 && slots_[at].hash != hash) at = (at + 1) & mask;
  return at;
}

void LongestTable::Raise(std::uint64_t hash, std::uint32_t length) {
  if (length == 0) return;
  if ((used_ + 1) * 4 > slots_.size() * 3) Grow();
  Slot& slot = slots_[Place(hash)];
  if (slot.length == 0) ++used_;
  slot = {hash, std::max<std::uint64_t>(slot.length, length)};
}

void LongestTable::Grow() {
  std::vector<Slot> old(std::max(kMinSlots, slots_.size() * 2));
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.length != 0) slots_[Place(slot.hash)] = slot;
  }
}

std::uint32_t LongestTable::Find(std::uint64_t hash) const {
  return slots_.empty() ? 0 : static_cast<std::uint32_t>(slots_[Place(hash)].length);
}

NoDuplicateIndex::NoDuplicateIndex(FileEncoding encoding) : encoding_(encoding), scanner_(encoding) { lines_.Reset(0); }

os::Error NoDuplicateIndex::Build(os::ReadFile& file) {
  std::size_t count = 0;
  LineScanner counter(encoding_);
  if (const os::Error error = ScanFile(file, counter, [&](const ScannedLine&) { ++count; }); error.Failed()) return error;
  lines_.Reset(count);
  scanner_ = LineScanner(encoding_);
  const os::Error error = ScanFile(file, scanner_, [&](const ScannedLine& line) { AddLine(line); });
  return error.Ok() && full_ ? SystemError::kFileTooLarge : error;
}

bool NoDuplicateIndex::Feed(std::string_view appended) {
  scanner_.Feed(appended, [&](const ScannedLine& line) { AddLine(line); });
  return !full_;
}

void NoDuplicateIndex::AddLine(const ScannedLine& line) {
  ++lineCount_;
  const std::uint64_t tail = TailOf(line.folded);
  const std::size_t length = line.cut ? kUnbounded : std::min<std::size_t>(line.folded.size(), kUnbounded);
  longest_.Raise(tail, static_cast<std::uint32_t>(length));
  if (!line.cut && !lines_.Insert(HashOf(line.folded), line.offset)) full_ = true;
  for (SuffixSet& set : suffixes_) {
    if (set.tail != tail || length <= set.length) continue;
    const std::uint64_t hash = HashOf(LastOf(line.folded, set.length));
    const auto at = std::ranges::lower_bound(set.hashes, hash);
    if (at == set.hashes.end() || *at != hash) set.hashes.insert(at, hash);
  }
}

os::Error NoDuplicateIndex::Contains(os::ReadFile& file, TextView entry, bool& found) {
  const Text folded = Fold(entry);
  found = true;
  const bool plain = folded.size() >= kTail && folded.size() <= kLongestIndexed && folded.front() != u'\n' &&
                     folded.find(kCrLf) == Text::npos;
  if (!plain) return Search(file, folded, found);
  if (scanner_.FoldedTail().ends_with(folded)) return os::kSuccess;
  if (const auto offset = lines_.Find(HashOf(folded))) {
    const os::Error error = LineAtIs(file, *offset, folded, found);
    return error.Failed() || found ? error : Search(file, folded, found);
  }
  return ContainsSuffix(file, folded, found);
}

os::Error NoDuplicateIndex::ContainsSuffix(os::ReadFile& file, TextView folded, bool& found) {
  const std::uint64_t tail = TailOf(folded);
  found = false;
  if (longest_.Find(tail) <= folded.size()) return os::kSuccess;
  const SuffixSet* set = FindOrMakeSuffixSet(file, folded.size(), tail);
  if (set && !std::ranges::binary_search(set->hashes, HashOf(folded))) return os::kSuccess;
  return Search(file, folded, found);
}

NoDuplicateIndex::SuffixSet* NoDuplicateIndex::FindOrMakeSuffixSet(os::ReadFile& file, std::size_t length,
                                                                   std::uint64_t tail) {
  std::size_t held = 0;
  for (SuffixSet& set : suffixes_) {
    if (set.length == length && set.tail == tail) return &set;
    held += set.hashes.size();
  }
  const std::size_t allowed = std::max(kMinSuffixes, lineCount_);
  if (held >= allowed || suffixes_.size() >= kMaxSuffixSets) suffixes_.clear();
  SuffixSet made{length, tail, {}};
  LineScanner scanner(encoding_);
  const os::Error error = ScanFile(file, scanner, [&](const ScannedLine& line) {
    if ((line.cut || line.folded.size() > length) && TailOf(line.folded) == tail && made.hashes.size() <= allowed) {
      made.hashes.push_back(HashOf(LastOf(line.folded, length)));
    }
  });
  if (error.Failed() || made.hashes.size() > allowed) return nullptr;
  std::ranges::sort(made.hashes);
  made.hashes.erase(std::ranges::unique(made.hashes).begin(), made.hashes.end());
  made.hashes.shrink_to_fit();
  return &suffixes_.emplace_back(std::move(made));
}

os::Error NoDuplicateIndex::LineAtIs(os::ReadFile& file, std::uint64_t offset, TextView folded, bool& same) const {
  // No encoding takes more than three bytes for a code unit.
  std::string bytes(folded.size() * 3 + 2 * kCrLf.size(), '\0');
  std::size_t filled = 0;
  for (std::size_t got = 1; got != 0 && filled < bytes.size(); filled += got) {
    const os::Error error = file.ReadAt(offset + filled, std::span(bytes).subspan(filled), got);
    if (error.Failed()) return error;
  }
  bytes.resize(filled);
  same = false;
  LineScanner scanner = LineScanner::Behind(encoding_);
  bool first = true;
  scanner.Feed(bytes, [&](const ScannedLine& line) {
    if (std::exchange(first, false)) same = line.folded == folded;
  });
  return os::kSuccess;
}

os::Error NoDuplicateIndex::Search(os::ReadFile& file, TextView folded, bool& found) const {
  LineWindow window(folded);
  LineScanner scanner(encoding_, std::max(LineScanner::kMaxLineBytes, folded.size() * 4));
  found = false;
  const os::Error error = ScanFile(file, scanner, [&](const ScannedLine& line) {
    if (!found) found = window.Push(line.folded, line.cut);
  });
  if (error.Ok() && !found) found = window.Push(scanner.FoldedTail(), scanner.TailIsCut());
  return error;
}

std::size_t NoDuplicateIndex::Bytes() const {
  std::size_t bytes = lines_.Bytes() + longest_.Bytes();
  for (const SuffixSet& set : suffixes_) bytes += set.hashes.capacity() * sizeof(std::uint64_t);
  return bytes;
}

}  // namespace ovs
