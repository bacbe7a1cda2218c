// ovsctl replay: runs the rules of an application folder over past event records, through the service's own code.
#pragma once

#include <string>

namespace ovs {

enum class ReplayForm { Text, Json, Csv };

struct ReplayOptions {
  std::string applicationFolder;  // as typed
  std::string recordsFile;        // as typed; not with `live`
  bool live = false;              // the machine's own event logs
  std::string since;              // only the last of them, such as "30d"; empty: all
  std::string log;                // only of this log; empty: of all
  ReplayForm form = ReplayForm::Text;
  std::string htmlFile;    // as typed; empty: no page
  bool sendMails = false;  // mail the alerts
  bool yes = false;        // without asking first
  bool writeLogs = false;  // append to the two event logs of the application folder
  int repeat = 0;          // records are kept and handled that many times more, to measure the matching
};

// kDone, kFindings when a piece was no record or a mail did not go, kFailed when it could not be done or a log entry could
// not be written.
int RunReplay(const ReplayOptions& options);

}  // namespace ovs
