#include "mail/engines/win32/ckGlobalMod.h"

#include "base/Numbers.h"
#include "base/RuntimeError.h"
#include "diag/App_Debug.h"

namespace ovs::ckGlobalMod {

win32::AutomationObject NewUnlockedObject(TextView progId, TextView unlockCode) {
  win32::AutomationObject object = win32::AutomationObject::FromProgId(progId);
  // The component's own explanation shows a part of the code.
  if (win32::TruthOf(object.Call(u"UnlockComponent", {Text(unlockCode)}))) return object;
  throw RuntimeError(RuntimeErrorNumber::kComponent, Text(progId) + u" refused the unlock code");
}

Text TextProperty(const win32::AutomationObject& object, TextView property) try {
  const win32::AutomationValue value = object.Get(property);
  const auto* number = std::get_if<std::int64_t>(&value);
  return number == nullptr ? win32::TextOf(value) : NumberText(*number);
} catch (const RuntimeError& error) {
  Debug::dLog(kNoProc, u"The mail component did not tell: " + error.Description());
  return {};
}

}  // namespace ovs::ckGlobalMod
