// Picks, out of any number of rules, those that a record can match. RuleMatches (Rule.h) is what a rule means; the index
// never leaves out a rule that RuleMatches would let pass. One thread at a time for each scratch.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/Text.h"
#include "base/TextSet.h"
#include "config/PlainIni.h"
#include "events/EventRecord.h"
#include "monitor/Rule.h"

namespace ovs {

// The conditions of one rule file, read as RuleMatches reads them. A cell is a pair of one of the six logs and one of the
// five types.
struct RuleConditions {
  std::uint32_t cells = 0;  // a bit for each cell that the rule is open to
  Text eventID;
  Text eventSource;
  Text eventDesc;
  Text eventDescEx;

  bool operator==(const RuleConditions&) const = default;
  // Heap memory in bytes.
  [[nodiscard]] std::size_t MemoryInUse() const;
};

[[nodiscard]] RuleConditions ConditionsOf(const PlainIni& rule);

// True when every record that `narrow` takes is taken by `wide` too, as far as the conditions alone tell.
[[nodiscard]] bool Covers(const RuleConditions& wide, const RuleConditions& narrow);

// 0 to 29; none for a record that no rule can match.
[[nodiscard]] std::optional<std::uint32_t> CellOf(const EventRecord& record);

class RuleIndex {
 public:
  struct Scratch {
    TextSet::Scratch texts;
    std::vector<std::uint32_t> rules;  // candidates, ascending
  };

  // `phrases` are looked for in every message; see Phrase.
  explicit RuleIndex(std::vector<RuleConditions> rules = {}, std::span<const TextView> phrases = {});

  // Fills scratch.rules with the numbers of the rules that may match. Allocates nothing once the scratch has been used.
  void Find(const EventRecord& record, Scratch& scratch) const;

  // Whether the phrase of that number occurred in the message of the last Find; exact.
  [[nodiscard]] static bool Phrase(const Scratch& scratch, std::uint32_t number) {
    return scratch.texts.seenIn[number] == scratch.texts.search;
  }

  [[nodiscard]] std::size_t Size() const { return rules_.size(); }
  // Heap memory in bytes.
  [[nodiscard]] std::size_t MemoryInUse() const;

 private:
  static constexpr std::size_t kCells = std::size(kRuleLogNames) * std::size(kRuleTypeNames);

  // Rules by the hash of a folded text.
  class ByText {
   public:
    void Add(TextView text, std::uint32_t cells, std::uint32_t rule);
    void Finish();
    [[nodiscard]] bool ServesCell(std::uint32_t cell) const { return (cells_ >> cell & 1) != 0; }
    [[nodiscard]] std::span<const std::pair<std::uint32_t, std::uint32_t>> Find(TextView text) const;
    [[nodiscard]] std::size_t MemoryInUse() const;

   private:
    std::uint32_t cells_ = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> entries_;  // hash and rule, sorted
    std::vector<std::uint32_t> starts_;                             // by the hash's upper bits; one more at the end
    unsigned shift_ = 32;
  };

  [[nodiscard]] bool MayMatch(std::uint32_t number, std::uint32_t cell, const EventRecord& record) const;

  std::vector<RuleConditions> rules_;
  ByText byId_;
  ByText bySource_;
  std::array<std::vector<std::uint32_t>, kCells> unconditional_;
  TextSet texts_;                          // the phrases first
  std::vector<std::uint32_t> ruleOfText_;  // by number of the text; for phrases without meaning
  std::uint32_t phraseCount_ = 0;
};

}  // namespace ovs
