#include "base/TextSet.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <numeric>

#include "base/Fold.h"

namespace ovs {

namespace {

// Why the answers are exact. An occurrence at place p of a text whose windows at offsets o to o + stride - 1 are known
// covers `stride` neighbouring places p + o and on; the pass looks at every multiple of the stride, so at exactly one of
// them. The window found there has the key that was stored for it, since units that fold alike have the same key (see
// CaselessLoad), and its bit in the filter is set. So nothing is missed. Other texts may share the bit, the bucket, even the
// key: Examine compares the whole text before it reports one, so nothing is invented either.

constexpr std::uint32_t kNone = 0xFFFF'FFFF;
constexpr std::uint32_t kShortWindow = 4;
constexpr std::uint32_t kLongWindow = 8;
constexpr std::size_t kLongText = 15;  // from here on a text takes part in the pass with the wide stride
constexpr std::uint32_t kWidestStride = 16;
constexpr unsigned kWordBits = 64;
constexpr std::size_t kUnitValues = 0x10000;
constexpr std::size_t kFewTexts = 64;  // up to here short windows are selective enough

// Takes the case bit off each of four units. That makes letters equal to their capitals, and a few other units equal that
// are not ("[" and "{"), which costs a comparison and no exactness.
constexpr std::uint64_t kCaseless = 0xFFDF'FFDF'FFDF'FFDF;
constexpr std::uint64_t kNotAscii = 0xFF80'FF80'FF80'FF80;

std::uint64_t Load(const char16_t* units) {
  std::uint64_t word = 0;
  std::memcpy(&word, units, sizeof word);
  return word;
}

std::uint64_t FoldedLoad(const char16_t* units) {
  std::array<char16_t, 4> folded{};
  std::transform(units, units + 4, folded.begin(), FoldUnit);
  return Load(folded.data());
}

// The folded units without their case bit. For an ASCII unit folding changes nothing but that bit, so only words with a unit
// beyond ASCII go through the table; both ways give the same word for units that fold alike.
template <bool kAscii>
[[gnu::always_inline]] inline std::uint64_t CaselessLoad(const char16_t* units) {
  const std::uint64_t word = Load(units);
  return (kAscii || (word & kNotAscii) == 0 ? word : FoldedLoad(units)) & kCaseless;
}

// Multiplying by an odd factor maps 64-bit words one to one, so different short windows have different keys; of long windows
// a few share one. The upper bits, which number filter bits and buckets, depend on all units.
template <std::uint32_t kUnits, bool kAscii>
[[gnu::always_inline]] inline std::uint64_t KeyOf(const char16_t* units) {
  std::uint64_t key = CaselessLoad<kAscii>(units) * 0x9E37'79B9'7F4A'7C15;
  if constexpr (kUnits == kLongWindow) key += CaselessLoad<kAscii>(units + 4) * 0xD6E8'FEB8'6659'FD93;
  return key;
}

std::uint64_t KeyOf(std::uint32_t windowUnits, const char16_t* units) {
  return windowUnits == kLongWindow ? KeyOf<kLongWindow, false>(units) : KeyOf<kShortWindow, false>(units);
}

// The units behind one another, of a text shorter than a window; the first bit set tells how many they are.
constexpr std::uint64_t kNoUnits = 1;
constexpr std::uint64_t TinyKey(std::uint64_t before, char16_t folded) { return before << 16 | folded; }

// Loops over a whole block without an early exit become vector code.
bool IsAscii(TextView text) {
  constexpr std::size_t kBlock = 32;
  unsigned bits = 0;
  std::size_t i = 0;
  for (; i + kBlock <= text.size(); i += kBlock) {
    for (std::size_t k = 0; k < kBlock; ++k) bits |= text[i + k];
    if (bits >= 0x80) return false;
  }
  for (; i < text.size(); ++i) bits |= text[i];
  return bits < 0x80;
}

}  // namespace

TextSet::TextSet(const std::vector<Member>& members) {
  std::vector<std::uint32_t> brief;
  std::vector<std::uint32_t> longer;
  std::size_t briefest = kLongText;
  std::size_t shortestLong = kNone;
  for (const Member& member : members) {
    const auto number = static_cast<std::uint32_t>(texts_.size());
    const std::size_t length = member.text.size();
    texts_.push_back({Fold(member.text), member.groups});
    if (length == 0) {
      always_.push_back(number);
    } else if (length < kShortWindow) {
      tiny_.push_back(
          {std::accumulate(texts_[number].folded.begin(), texts_[number].folded.end(), kNoUnits, TinyKey), number});
    } else if (length < kLongText) {
      brief.push_back(number);
      briefest = std::min(briefest, length);
    } else {
      longer.push_back(number);
      shortestLong = std::min(shortestLong, length);
    }
  }
  std::ranges::sort(tiny_, {}, &Tiny::key);
  if (!tiny_.empty()) tinyFirst_.assign(kUnitValues / kWordBits, 0);
  for (const Tiny& tiny : tiny_) {
    const char16_t first = texts_[tiny.text].folded.front();
    tinyFirst_[first / kWordBits] |= std::uint64_t{1} << (first % kWordBits);
  }
  if (!longer.empty()) AddPass(longer, shortestLong);
  if (!brief.empty()) AddPass(brief, briefest);
}

void TextSet::AddPass(const std::vector<std::uint32_t>& texts, std::size_t shortest) {
  constexpr std::size_t kFilterBitsEach = 128;
  constexpr std::size_t kLeastFilterBits = 16384;
  constexpr std::size_t kMostFilterBits = std::size_t{1} << 20;  // stays in the cache
  Pass pass;
  pass.windowUnits = shortest >= kLongText && texts.size() > kFewTexts ? kLongWindow : kShortWindow;
  pass.stride = std::min(static_cast<std::uint32_t>(shortest) - pass.windowUnits + 1, kWidestStride);
  const std::size_t windows = texts.size() * pass.stride;
  const std::size_t filterBits = std::bit_ceil(std::clamp(windows * kFilterBitsEach, kLeastFilterBits, kMostFilterBits));
  const std::size_t buckets = std::bit_ceil(windows * 2);
  pass.filterShift = kWordBits - static_cast<unsigned>(std::countr_zero(filterBits));
  pass.bucketShift = kWordBits - static_cast<unsigned>(std::countr_zero(buckets));
  pass.filter.assign(filterBits / kWordBits, 0);
  pass.bucketStarts.assign(buckets + 1, 0);
  pass.entries.reserve(windows);
  Crowds crowds;
  for (const std::uint32_t text : texts) AddWindows(pass, text, crowds);
  Finish(pass);
  passes_.push_back(std::move(pass));
}

// Windows at as many neighbouring places as the stride is long: one of them is looked at wherever the text occurs. Of the
// runs that the text offers, the one is taken whose windows fewest others share.
void TextSet::AddWindows(Pass& pass, std::uint32_t text, Crowds& crowds) const {
  const Text& folded = texts_[text].folded;
  pass.groups |= texts_[text].groups;
  const auto places = static_cast<std::uint32_t>(folded.size()) - pass.windowUnits + 1;
  std::vector<std::uint64_t> keys(places);
  std::vector<std::uint32_t> crowd(places);
  for (std::uint32_t i = 0; i < places; ++i) {
    keys[i] = KeyOf(pass.windowUnits, folded.data() + i);
    const auto found = crowds.find(keys[i]);
    crowd[i] = found == crowds.end() ? 0 : found->second;
  }
  std::uint32_t best = 0;
  std::uint32_t least = kNone;
  for (std::uint32_t start = 0; start + pass.stride <= places; ++start) {
    const auto first = crowd.begin() + start;
    const std::uint32_t total = std::accumulate(first, first + pass.stride, 0u);
    if (total < least) {
      least = total;
      best = start;
    }
  }
  for (std::uint32_t offset = best; offset < best + pass.stride; ++offset) {
    ++crowds[keys[offset]];
    // The end of the text that is farther away.
    const std::uint32_t check = offset * 2 < places ? static_cast<std::uint32_t>(folded.size()) - kShortWindow : 0;
    pass.entries.push_back({keys[offset], text, offset, static_cast<std::int32_t>(check) - static_cast<std::int32_t>(offset),
                            CaselessLoad<false>(folded.data() + check)});
  }
}

// Entries by bucket, so that those of one bucket are neighbours in memory: bucketStarts[b] up to bucketStarts[b + 1].
void TextSet::Finish(Pass& pass) {
  const auto bucketOf = [&](const Entry& entry) { return entry.key >> pass.bucketShift; };
  std::ranges::sort(pass.entries, {}, bucketOf);
  for (const Entry& entry : pass.entries) {
    const std::uint64_t bit = entry.key >> pass.filterShift;
    pass.filter[bit / kWordBits] |= std::uint64_t{1} << (bit % kWordBits);
    ++pass.bucketStarts[bucketOf(entry) + 1];
  }
  std::partial_sum(pass.bucketStarts.begin(), pass.bucketStarts.end(), pass.bucketStarts.begin());
}

// Each search has a number, which marks the texts it found: nothing needs to be cleared for the next one, except when the
// number wraps.
void TextSet::Find(TextView haystack, std::uint32_t groups, Scratch& scratch) const {
  scratch.found.clear();
  if (scratch.seenIn.size() != texts_.size() || ++scratch.search == 0) {
    scratch.seenIn.assign(texts_.size(), 0);
    scratch.found.reserve(texts_.size());
    scratch.search = 1;
  }
  for (const std::uint32_t text : always_) {
    if ((texts_[text].groups & groups) != 0) Hit(text, scratch);
  }
  if (!tiny_.empty()) FindTiny(haystack, groups, scratch);
  const bool isAscii = IsAscii(haystack);
  for (const Pass& pass : passes_) {
    if ((pass.groups & groups) == 0) continue;
    const bool isLong = pass.windowUnits == kLongWindow;
    const auto run = isLong ? (isAscii ? &TextSet::Run<kLongWindow, true> : &TextSet::Run<kLongWindow, false>)
                            : (isAscii ? &TextSet::Run<kShortWindow, true> : &TextSet::Run<kShortWindow, false>);
    (this->*run)(pass, haystack, groups, scratch);
  }
}

// Whatever their number: at each place the one text of each length that stands there is looked up.
void TextSet::FindTiny(TextView haystack, std::uint32_t groups, Scratch& scratch) const {
  for (std::size_t at = 0; at < haystack.size(); ++at) {
    const char16_t first = FoldUnit(haystack[at]);
    if ((tinyFirst_[first / kWordBits] >> (first % kWordBits) & 1) == 0) continue;
    std::uint64_t key = kNoUnits;
    for (const char16_t unit : haystack.substr(at, kShortWindow - 1)) {
      key = TinyKey(key, FoldUnit(unit));
      for (const Tiny& tiny : std::ranges::equal_range(tiny_, key, {}, &Tiny::key)) {
        if (scratch.seenIn[tiny.text] != scratch.search && (texts_[tiny.text].groups & groups) != 0) Hit(tiny.text, scratch);
      }
    }
  }
}

// The loop that costs: a load or two, a multiplication and a look into the filter for each stretch of the haystack.
template <std::uint32_t kUnits, bool kAscii>
void TextSet::Run(const Pass& pass, TextView haystack, std::uint32_t groups, Scratch& scratch) const {
  if (haystack.size() < kUnits) return;
  const std::uint64_t* const filter = pass.filter.data();
  const unsigned shift = pass.filterShift;
  const std::size_t stride = pass.stride;
  const char16_t* const units = haystack.data();
  const std::size_t last = haystack.size() - kUnits;
  for (std::size_t at = 0; at <= last; at += stride) {
    const std::uint64_t key = KeyOf<kUnits, kAscii>(units + at);
    const std::uint64_t bit = key >> shift;
    if ((filter[bit / kWordBits] >> (bit % kWordBits) & 1) != 0) [[unlikely]] {
      Examine(pass, key, at, haystack, groups, scratch);
    }
  }
}

// From the cheapest test to the dearest. `checkAt` may wrap while the sum does not: the text begins within the haystack.
void TextSet::Examine(const Pass& pass, std::uint64_t key, std::size_t at, TextView haystack, std::uint32_t groups,
                      Scratch& scratch) const {
  const std::uint64_t bucket = key >> pass.bucketShift;
  const Entry* const end = pass.entries.data() + pass.bucketStarts[bucket + 1];
  for (const Entry* entry = pass.entries.data() + pass.bucketStarts[bucket]; entry != end; ++entry) {
    if (entry->key != key || entry->offset > at) continue;
    const std::size_t checkAt = at + static_cast<std::size_t>(std::ptrdiff_t{entry->checkAt});
    if (checkAt + kShortWindow > haystack.size() || CaselessLoad<false>(haystack.data() + checkAt) != entry->check) continue;
    if (scratch.seenIn[entry->text] == scratch.search) continue;
    const Known& known = texts_[entry->text];
    const std::size_t start = at - entry->offset;
    if ((known.groups & groups) == 0 || start + known.folded.size() > haystack.size()) continue;
    if (EqualsFolded(haystack.substr(start, known.folded.size()), known.folded)) Hit(entry->text, scratch);
  }
}

void TextSet::Hit(std::uint32_t text, Scratch& scratch) const {
  scratch.seenIn[text] = scratch.search;
  scratch.found.push_back(text);
}

std::size_t TextSet::MemoryInUse() const {
  std::size_t bytes =
      texts_.capacity() * sizeof(Known) + tiny_.capacity() * sizeof(Tiny) + tinyFirst_.capacity() * sizeof(std::uint64_t);
  for (const Known& known : texts_) bytes += known.folded.capacity() * sizeof(char16_t);
  for (const Pass& pass : passes_) {
    bytes += pass.filter.capacity() * sizeof(std::uint64_t) + pass.bucketStarts.capacity() * sizeof(std::uint32_t) +
             pass.entries.capacity() * sizeof(Entry);
  }
  return bytes;
}

}  // namespace ovs
