// A set of texts that are looked for in one pass over another text, without regard to case (see Fold.h).
//
// The pass looks at one window of a few units out of each stretch that is short enough for no occurrence to slip between
// two windows. A window that could belong to a text is compared in full, so answers are exact.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "base/Text.h"

namespace ovs {

class TextSet {
 public:
  // The working memory of searches. One that is reused makes searches allocate nothing. It belongs to one thread and one set
  // at a time; the set itself may be searched by many threads.
  struct Scratch {
    std::vector<std::uint32_t> found;   // numbers of the texts that occur, in no order, each once
    std::vector<std::uint32_t> seenIn;  // by text: the last search that found it
    std::uint32_t search = 0;
  };

  TextSet() = default;

  // Texts are numbered from 0 in the order given. `group` bits tell in which searches a text takes part.
  struct Member {
    Text text;
    std::uint32_t groups = 1;
  };
  explicit TextSet(const std::vector<Member>& members);

  // Fills scratch.found with the members of these groups that occur in `haystack`; an empty text always does.
  void Find(TextView haystack, std::uint32_t groups, Scratch& scratch) const;

  [[nodiscard]] std::size_t Size() const { return texts_.size(); }
  // Heap memory in bytes.
  [[nodiscard]] std::size_t MemoryInUse() const;

 private:
  struct Known {
    Text folded;
    std::uint32_t groups;
  };
  // One window of one text.
  struct Entry {
    std::uint64_t key;
    std::uint32_t text;
    std::uint32_t offset;  // of the window in the text
    std::int32_t checkAt;  // from the window to four more units of the text
    std::uint64_t check;   // those units without case; most false alarms end here
  };
  // A text shorter than a window.
  struct Tiny {
    std::uint64_t key;  // see TinyKey
    std::uint32_t text;
  };
  // Texts of similar length, searched in one pass.
  struct Pass {
    std::uint32_t groups = 0;
    std::uint32_t windowUnits = 0;
    std::uint32_t stride = 0;
    unsigned filterShift = 0;  // a key's upper bits number its bit in the filter
    unsigned bucketShift = 0;
    std::vector<std::uint64_t> filter;
    std::vector<std::uint32_t> bucketStarts;  // in the entries; one more at the end
    std::vector<Entry> entries;               // by bucket
  };
  using Crowds = std::unordered_map<std::uint64_t, std::uint32_t>;  // how many windows have a key

  void AddPass(const std::vector<std::uint32_t>& texts, std::size_t shortest);
  void AddWindows(Pass& pass, std::uint32_t text, Crowds& crowds) const;
  static void Finish(Pass& pass);
  template <std::uint32_t kUnits, bool kAscii>
  void Run(const Pass& pass, TextView haystack, std::uint32_t groups, Scratch& scratch) const;
  void Examine(const Pass& pass, std::uint64_t key, std::size_t at, TextView haystack, std::uint32_t groups,
               Scratch& scratch) const;
  void FindTiny(TextView haystack, std::uint32_t groups, Scratch& scratch) const;
  void Hit(std::uint32_t text, Scratch& scratch) const;

  std::vector<Known> texts_;
  std::vector<std::uint32_t> always_;     // empty ones
  std::vector<Tiny> tiny_;                // by key
  std::vector<std::uint64_t> tinyFirst_;  // a bit for each unit that begins one
  std::vector<Pass> passes_;
};

}  // namespace ovs
