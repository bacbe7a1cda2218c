// ovsctl explain: what the service would do with a record, rule by rule, and why.
#pragma once

#include <cstdint>
#include <string>

namespace ovs {

struct ExplainOptions {
  std::string applicationFolder;
  std::string recordsFile;  // empty: the live log
  std::string liveLog;
  std::uint64_t last = 1;    // of the live log
  std::uint64_t record = 0;  // only that one of the file; 0: every one
  std::string rule;          // only that rule; empty: all
  bool all = false;          // not only the first 20 records
  bool json = false;
};

// kDone; kFindings when a piece of the file was no record; kFailed when nothing could be explained.
int RunExplain(const ExplainOptions& options);

}  // namespace ovs
