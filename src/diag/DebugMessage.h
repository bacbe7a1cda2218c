// The texts of a debug log entry: its body, and the system's words for error numbers.
#pragma once

#include <cstdint>
#include <map>

#include "base/Text.h"
#include "diag/Events.h"
#include "os/System.h"

namespace ovs {

// The errors that an event carries; number 0 is none.
struct DebugErrors {
  std::uint32_t apiNumber = 0;
  Text apiText;  // the system's text of apiNumber
  int vbNumber = 0;
  Text vbDescription;
  Text vbSource;  // empty when it is this program

  [[nodiscard]] bool Any() const { return apiNumber != 0 || vbNumber != 0; }
};

// Stands for an empty message.
inline constexpr TextView kNoMessage = u"No Msg Passed!";

struct DebugMessage {
  TextView procedureTag;          // such as "App_FileSystem.FileDelete.ProcID=12"; "-1" outside of procedures
  std::uint32_t procEventID = 0;  // number of the event within its procedure, 0 when it has none
  EventType type = EventType::Normal;
  TextView message;
  TextView variables;
  DebugErrors errors;
  TextView varsByVal;
  TextView varsByRef;
  TextView varsCreated;
  TextView varsReturned;
};

// The text with line breaks and NULs made visible.
[[nodiscard]] Text Visualized(TextView text);

// "32 (&H20) The process cannot ...": the number, above 9 its hexadecimal form as well, and the text.
[[nodiscard]] Text ApiErrorText(std::uint32_t number, TextView text);
// "53 Desc=File not found Source=Component".
[[nodiscard]] Text RuntimeErrorText(int number, TextView description, TextView source);

// "[Error 32 = text]": the last error of a procedure, the system's before the run-time error.
[[nodiscard]] Text LastErrorText(const DebugErrors& errors, TextView message);

// Lines: tag and type, message, errors, each list of variables that is not empty. For EnterProcedure and ExitProcedure
// the message stands alone.
[[nodiscard]] Text ConstructDebugMsg(const DebugMessage& parts);

// Texts of system error numbers, cached by number. Not locked: its owner lets one thread in at a time.
class SystemMessages {
 public:
  static constexpr TextView kFailure = u"FormatMessageW failure (lRet=0) Could not retrieve message from system!";

  // `system` must outlive the object; without one every text is kFailure.
  void Attach(os::System* system) noexcept { system_ = system; }

  // Empties the caches.
  void Clear() noexcept;

  // The system's text without NULs, trimmed; kFailure when it has none (asked again next time). `bracketed` gives
  // "[number=text]". The pending system error stays as it is.
  Text Get(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup = false, bool bracketed = false);

 private:
  Text LookUp(std::uint32_t number, std::map<std::uint32_t, Text>& cache);

  os::System* system_ = nullptr;
  std::map<std::uint32_t, Text> caches_[2];  // by flavour
};

}  // namespace ovs
