// `ovsctl replay`: runs the rules of an application folder over recorded event records, through the service's own code.
#pragma once

#include <string>

namespace ovs {

struct ReplayOptions {
  std::string applicationFolder;  // as typed
  std::string recordsFile;        // as typed; JSON lines
  int repeat = 0;                 // records are kept and handled that many times more, to measure the matching
  bool writeLogs = false;         // append to the two event logs of the application folder
};

// Results go to stdout, messages to stderr. Exit code: 0 done, 1 done but some lines were no records, 2 could not be done.
int RunReplay(const ReplayOptions& options);

}  // namespace ovs
