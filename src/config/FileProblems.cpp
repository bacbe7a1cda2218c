#include "config/FileProblems.h"

#include "diag/App_Debug.h"

namespace ovs {

void FileProblems::Report(TextView what, TextView path, TextView reason) {
  const auto known = reasonByPath_.find(path);
  if (known != reasonByPath_.end() && known->second == reason) return;
  if (reasonByPath_.size() >= kMaxRemembered) reasonByPath_.clear();
  reasonByPath_.insert_or_assign(Text(path), Text(reason));
  Debug::dLog(kNoProc, Text(what) + u" [" + Text(path) + u"]: " + Text(reason));
}

void FileProblems::Clear(TextView path) {
  if (reasonByPath_.empty()) return;
  const auto known = reasonByPath_.find(path);
  if (known != reasonByPath_.end()) reasonByPath_.erase(known);
}

}  // namespace ovs
