#include "ovsctl/check/CheckFindings.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

#include "base/Fold.h"
#include "ovsctl/cli/Console.h"

namespace ovs {

std::size_t Findings::BeginFile(TextView shown) {
  files_.push_back(Console::Shown(shown));
  current_ = files_.size() - 1;
  return current_;
}

void Findings::Add(std::size_t line, Severity severity, std::string& what, std::string& mend) {
  found_.push_back({current_, line, found_.size(), severity, std::move(what), std::move(mend)});
}

std::vector<Finding> Findings::Sorted() const {
  std::vector<Finding> sorted = found_;
  std::ranges::sort(sorted, {}, [](const Finding& each) { return std::tuple(each.file, each.line, each.order); });
  return sorted;
}

std::size_t Findings::Count(Severity severity) const {
  return static_cast<std::size_t>(std::ranges::count(found_, severity, &Finding::severity));
}

std::size_t EditDistance(TextView a, TextView b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (FoldUnit(a[i]) == FoldUnit(b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row[b.size()];
}

TextView NearestName(TextView name, std::span<const TextView> known) {
  constexpr std::size_t kLongest = 100;
  if (name.size() > kLongest) return {};
  TextView nearest;
  std::size_t least = name.size() / 3 + 2;  // more is another word
  for (const TextView each : known) {
    const std::size_t distance = EditDistance(name, each);
    if (distance >= least || distance >= each.size()) continue;
    least = distance;
    nearest = each;
  }
  return nearest;
}

std::string Quoted(TextView text) {
  constexpr std::size_t kMost = 60;
  return '"' + Console::Shown(text, kMost) + '"';
}

std::string DidYouMean(TextView nearest, const std::string& otherwise) {
  return nearest.empty() ? otherwise : "Probably " + Quoted(nearest) + " is meant.";
}

}  // namespace ovs
