#include "monitor/Phrases.h"

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs::Phrases {

bool HasStopPhrase(TextView message) { return ContainsFolded(message, kStop); }

bool IsOwnCrash(const EventRecord& record) {
  return App_Strings::StringsMatch(record.sourceName, u"service control manager") &&
         ContainsFolded(record.message, kOwnCrash);
}

}  // namespace ovs::Phrases
