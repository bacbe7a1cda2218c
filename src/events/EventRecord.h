// One event-log record, as the event source delivers it after cleaning.
#pragma once

#include <cstdint>

#include "base/Text.h"

namespace ovs {

// The texts have lost their NUL characters and outer blanks; line breaks inside `message` are kept.
struct EventRecord {
  std::int16_t eventType = 0;  // 1 Error, 2 Warning, 3 Information, 4 Audit Success, 5 Audit Failure; others possible
  Text type;                   // the type as text, such as "Error"
  Text eventCode;              // the event ID, decimal, compared as text
  Text sourceName;
  Text message;        // may be empty
  Text logfile;        // the log's (channel's) name, such as "System"
  Text timeGenerated;  // yyyymmddHHMMSS.ffffff and a signed minute offset, UTC
};

}  // namespace ovs
