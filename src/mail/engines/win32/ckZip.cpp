#include "mail/engines/win32/ckZip.h"

#include "base/RuntimeError.h"
#include "mail/engines/win32/ckGlobalMod.h"

namespace ovs {

ckZip::ckZip(TextView unlockCode) : zip_(ckGlobalMod::NewUnlockedObject(kProgId, unlockCode)) {}

bool ckZip::Create(TextView path) { return Succeeds(u"NewZip", {Text(path)}); }

// 0: the entry is named as the file is, without its folders.
bool ckZip::AppendFile(TextView path) { return Succeeds(u"AppendOneFileOrDir", {Text(path), std::int64_t{0}}); }

bool ckZip::Write() { return Succeeds(u"WriteZipAndClose", {}); }

bool ckZip::Succeeds(TextView method, std::initializer_list<win32::AutomationValue> arguments) try {
  raised_.clear();
  return win32::TruthOf(zip_.Call(method, arguments));
} catch (const RuntimeError& error) {
  raised_ = error.Description();
  return false;
}

Text ckZip::LastErrorText() { return raised_.empty() ? ckGlobalMod::TextProperty(zip_, u"LastErrorText") : raised_; }

}  // namespace ovs
