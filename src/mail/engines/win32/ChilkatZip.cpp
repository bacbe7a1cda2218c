#include "mail/engines/win32/ChilkatZip.h"

#include "base/RuntimeError.h"
#include "mail/engines/win32/ChilkatObject.h"

namespace ovs {

ChilkatZip::ChilkatZip(TextView unlockCode) : zip_(NewUnlockedObject(kProgId, unlockCode)) {}

bool ChilkatZip::Create(TextView path) { return Succeeds(u"NewZip", {Text(path)}); }

// 0: the entry is named as the file is, without its folders.
bool ChilkatZip::AppendFile(TextView path) { return Succeeds(u"AppendOneFileOrDir", {Text(path), std::int64_t{0}}); }

bool ChilkatZip::Write() { return Succeeds(u"WriteZipAndClose", {}); }

bool ChilkatZip::Succeeds(TextView method, std::initializer_list<win32::AutomationValue> arguments) try {
  raised_.clear();
  return win32::TruthOf(zip_.Call(method, arguments));
} catch (const RuntimeError& error) {
  raised_ = error.Description();
  return false;
}

Text ChilkatZip::LastErrorText() { return raised_.empty() ? TextProperty(zip_, u"LastErrorText") : raised_; }

}  // namespace ovs
