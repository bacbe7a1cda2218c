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

const SettingName* FindSetting(std::span<const SettingName> settings, TextView section, TextView key) {
  const auto found = std::ranges::find_if(
      settings, [&](const SettingName& each) { return EqualsFolded(each.section, section) && EqualsFolded(each.key, key); });
  return found == settings.end() ? nullptr : &*found;
}

std::vector<TextView> SectionsOf(std::span<const SettingName> settings) {
  std::vector<TextView> sections;
  for (const SettingName& each : settings) {
    if (std::ranges::find(sections, each.section) == sections.end()) sections.push_back(each.section);
  }
  return sections;
}

std::vector<TextView> KeysOf(std::span<const SettingName> settings, TextView section) {
  std::vector<TextView> names;
  for (const SettingName& each : settings) {
    if (EqualsFolded(each.section, section)) names.push_back(each.key);
  }
  return names;
}

TextView SectionWith(std::span<const SettingName> settings, TextView key) {
  TextView section;
  for (const SettingName& each : settings) {
    if (!EqualsFolded(each.key, key)) continue;
    if (!section.empty()) return {};
    section = each.section;
  }
  return section;
}

std::string Quoted(TextView text) {
  constexpr std::size_t kMost = 60;
  return '"' + Console::Shown(text, kMost) + '"';
}

std::string DidYouMean(TextView nearest, const std::string& otherwise) {
  return nearest.empty() ? otherwise : "Probably " + Quoted(nearest) + " is meant.";
}

}  // namespace ovs
