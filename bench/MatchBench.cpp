// How fast records are tested against rules, in ratio to a plain scan of the same messages.
#include <emmintrin.h>

#include <cstring>

#include "BenchDiagnostics.h"
#include "Workload.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "monitor/RuleIndex.h"

namespace ovs {
namespace {

void CountRecords(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRecords));
}

// Every 16-bit unit of every message compared with one that does not occur: what reading them costs at least.
bool Occurs(TextView text, char16_t unit) {
  const __m128i wanted = _mm_set1_epi16(static_cast<short>(unit));
  __m128i any = _mm_setzero_si128();
  std::size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    __m128i units;
    std::memcpy(&units, text.data() + i, sizeof units);
    any = _mm_or_si128(any, _mm_cmpeq_epi16(units, wanted));
  }
  bool found = _mm_movemask_epi8(any) != 0;
  for (; i < text.size(); ++i) found = found || text[i] == unit;
  return found;
}

void Scan(benchmark::State& state, WorkloadKind kind) {
  const auto& records = Records(kind);
  for (auto _ : state) {
    std::size_t found = 0;
    for (const EventRecord& record : records) found += Occurs(record.message, 0xFFFE) ? 1u : 0u;
    benchmark::DoNotOptimize(found);
  }
  CountRecords(state);
}
BENCHMARK_CAPTURE(Scan, recorded, WorkloadKind::Recorded);
BENCHMARK_CAPTURE(Scan, synthetic, WorkloadKind::Synthetic);

void FoldOnce(benchmark::State& state, WorkloadKind kind) {
  const auto& records = Records(kind);
  Text folded;
  for (auto _ : state) {
    for (const EventRecord& record : records) {
      FoldInto(record.message, folded);
      benchmark::DoNotOptimize(folded.data());
    }
  }
  CountRecords(state);
}
BENCHMARK_CAPTURE(FoldOnce, recorded, WorkloadKind::Recorded);
BENCHMARK_CAPTURE(FoldOnce, synthetic, WorkloadKind::Synthetic);

std::vector<RuleConditions> Parsed(const std::vector<std::string>& rules) {
  std::vector<RuleConditions> conditions;
  for (const std::string& rule : rules) conditions.push_back(ConditionsOf(PlainIni(FromUtf8(rule))));
  return conditions;
}

// Which rules match, rules parsed: log, type, ID, source, texts.
void Match(benchmark::State& state, WorkloadKind recordKind, RuleKind ruleKind) {
  const auto& records = Records(recordKind);
  const auto count = static_cast<std::size_t>(state.range(0));
  const RuleIndex index(Parsed(MakeRules(ruleKind, count, records, kShare)));
  RuleIndex::Scratch scratch;
  std::size_t matches = 0;
  for (auto _ : state) {
    matches = 0;
    for (const EventRecord& record : records) {
      index.Find(record, scratch);
      matches += scratch.rules.size();
    }
    benchmark::DoNotOptimize(matches);
  }
  CountRecords(state);
  state.counters["matches"] = static_cast<double>(matches);
  state.counters["memory"] = static_cast<double>(index.MemoryInUse()) / static_cast<double>(count);
}
#define OVS_MATCH(name, records, rules) \
  BENCHMARK_CAPTURE(Match, name, records, rules)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)
OVS_MATCH(mixed recorded, WorkloadKind::Recorded, RuleKind::Mixed);
OVS_MATCH(text recorded, WorkloadKind::Recorded, RuleKind::Texts);
OVS_MATCH(mixed synthetic, WorkloadKind::Synthetic, RuleKind::Mixed);
OVS_MATCH(text synthetic, WorkloadKind::Synthetic, RuleKind::Texts);

}  // namespace
}  // namespace ovs
