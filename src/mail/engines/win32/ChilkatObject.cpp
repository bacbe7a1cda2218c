#include "mail/engines/win32/ChilkatObject.h"

#include <utility>

#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/App_Debug.h"

namespace ovs {

using win32::AutomationObject;
using win32::AutomationValue;

AutomationObject NewUnlockedObject(TextView progId, TextView unlockCode) {
  AutomationObject object = AutomationObject::FromProgId(progId);
  // The component's own explanation shows a part of the code.
  if (win32::TruthOf(object.Call(u"UnlockComponent", {Text(unlockCode)}))) return object;
  throw RuntimeError(RuntimeErrorNumber::kComponent, Text(progId) + u" refused the unlock code");
}

void PutIfKnown(const AutomationObject& object, TextView property, AutomationValue value) {
  if (object.Knows(property)) {
    object.Put(property, std::move(value));
  } else {
    Debug::dLog(kNoProc, u"This build of the mail component has no " + Text(property) + u"; it is passed over");
  }
}

Text TextProperty(const AutomationObject& object, TextView property) try {
  const AutomationValue value = object.Get(property);
  const auto* number = std::get_if<std::int64_t>(&value);
  return number == nullptr ? win32::TextOf(value) : NumberText(*number);
} catch (const RuntimeError& error) {
  Debug::dLog(kNoProc, u"The mail component did not tell: " + error.Description());
  return {};
}

}  // namespace ovs
