// STAND-IN for tests: queries for past records, answered out of the feed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "FeedLine.h"

namespace ovs::standin {

// "SELECT * FROM Win32_NTLogEvent", where need be with WHERE, the conditions Logfile = '...' and TimeGenerated >= '...', and
// AND between them.
struct LogQuery {
  std::string logfile;  // empty: every log
  std::string since;    // yyyymmddHHMMSS.ffffff-000; empty: from the beginning
};

// None for any other query.
std::optional<LogQuery> ParseLogQuery(std::string_view query);

// The records of a feed's complete lines that the query asks for, in the order of the real service: log by log, in each the
// newest, which is the last in the feed, first.
std::vector<RecordLine> SelectRecords(const std::wstring& feed, const LogQuery& query);

}  // namespace ovs::standin
