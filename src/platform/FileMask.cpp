#include "platform/FileMask.h"

#include "base/App_Strings.h"
#include "base/Fold.h"

namespace ovs {

namespace {

// Goes back to the last "*" only, so a mask costs at most its length times the name's.
bool MatchesOne(TextView name, TextView mask) {
  std::size_t n = 0;
  std::size_t m = 0;
  std::size_t star = TextView::npos;
  std::size_t starName = 0;
  while (n < name.size()) {
    if (m < mask.size() && mask[m] == u'*') {
      star = m++;
      starName = n;
    } else if (m < mask.size() && (mask[m] == u'?' || FoldUnit(mask[m]) == FoldUnit(name[n]))) {
      ++m;
      ++n;
    } else if (star != TextView::npos) {
      m = star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  while (m < mask.size() && mask[m] == u'*') ++m;
  return m == mask.size();
}

}  // namespace

bool MatchesMask(TextView name, TextView masks) {
  for (std::size_t start = 0; start <= masks.size();) {
    const std::size_t end = std::min(masks.find(u';', start), masks.size());
    const TextView mask = App_Strings::TrimBlanks(masks.substr(start, end - start));
    if (!mask.empty() && (mask == u"*.*" || MatchesOne(name, mask))) return true;
    start = end + 1;
  }
  return false;
}

}  // namespace ovs
