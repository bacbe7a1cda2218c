// STAND-IN for tests.
#include "LogQuery.h"

#include <algorithm>

#include "Feed.h"

namespace ovs::standin {
namespace {

constexpr std::size_t kLogfile = 5;
constexpr std::size_t kTime = 6;

bool Take(std::string_view& text, std::string_view part) {
  if (!text.starts_with(part)) return false;
  text.remove_prefix(part.size());
  return true;
}

// A text in quotes, with "\" before what stands for itself.
bool TakeQuoted(std::string_view& text, std::string& out) {
  if (!Take(text, "'")) return false;
  while (!text.empty() && text.front() != '\'') {
    if (text.front() == '\\') text.remove_prefix(1);
    if (text.empty()) return false;
    out += text.front();
    text.remove_prefix(1);
  }
  return Take(text, "'");
}

std::string_view TextOf(const RecordLine& record, std::size_t property) {
  const auto* text = std::get_if<std::string>(&record.values[property]);
  return text ? std::string_view(*text) : std::string_view();
}

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(a, b, {}, lower, lower);
}

}  // namespace

std::optional<LogQuery> ParseLogQuery(std::string_view text) {
  LogQuery query;
  if (!Take(text, "SELECT * FROM Win32_NTLogEvent")) return std::nullopt;
  if (text.empty()) return query;
  if (!Take(text, " WHERE ")) return std::nullopt;
  do {
    std::string& value = text.starts_with("Logfile") ? query.logfile : query.since;
    if (!Take(text, "Logfile = ") && !Take(text, "TimeGenerated >= ")) return std::nullopt;
    if (!TakeQuoted(text, value)) return std::nullopt;
  } while (Take(text, " AND "));
  return text.empty() ? std::optional(query) : std::nullopt;
}

std::vector<RecordLine> SelectRecords(const std::wstring& feed, const LogQuery& query) {
  std::vector<RecordLine> records;
  Feed lines(feed);
  for (std::string line; lines.TryRead(line);) {
    FeedLine parsed = ParseFeedLine(line);
    auto* const record = std::get_if<RecordLine>(&parsed);
    if (!record || (!query.logfile.empty() && !EqualIgnoringCase(TextOf(*record, kLogfile), query.logfile))) continue;
    // Both are UTC, so that the order of the texts is that of the times.
    if (TextOf(*record, kTime).substr(0, 21) < query.since.substr(0, query.since.find('-'))) continue;
    records.push_back(std::move(*record));
  }
  std::ranges::reverse(records);
  std::ranges::stable_sort(records, {}, [](const RecordLine& record) { return TextOf(record, kLogfile); });
  return records;
}

}  // namespace ovs::standin
