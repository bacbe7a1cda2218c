#include "ovsctl/check/FileChecks.h"

#include <algorithm>
#include <unordered_map>

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "ovsctl/check/CheckValue.h"

namespace ovs {

namespace {

using App_Strings::TrimBlanks;

class ListLines {
 public:
  ListLines(GlobalExclusions::List list, Findings& findings) : list_(list), findings_(findings) {}

  // A line as the service reads it, perhaps of several as an editor shows them.
  void Take(TextView line) {
    const std::size_t first = number_ + 1;
    const std::vector<Text> shown = SplitAtBareEnds(line);
    if (shown.size() > 1) {
      findings_.Error(first,
                      "lines " + std::to_string(first) + " to " + std::to_string(first + shown.size() - 1) +
                          " do not end in CR LF and count as one line",
                      "Save the file with Windows line ends (CR LF).");
    }
    for (const Text& each : shown) {
      ++number_;
      if (!each.empty()) TakeShown(each);
    }
  }

 private:
  static std::vector<Text> SplitAtBareEnds(TextView line) {
    return App_Strings::Split(App_Strings::ReplaceAll(line, u"\r", u"\n"), u"\n");
  }

  void TakeShown(const Text& line) {
    if (TrimBlanks(line).empty()) return TakeBlanks(line);
    CheckEncoding(line, number_, findings_);
    const TextView counted = list_ == GlobalExclusions::kTexts ? TextView(line) : TrimBlanks(line);
    if (const auto [first, isNew] = seen_.emplace(Fold(counted), number_); !isNew) {
      findings_.Warning(number_, Quoted(counted) + " stands in line " + std::to_string(first->second) + " already",
                        "Remove one of the two.");
    }
    if (LooksLikeRemark(line)) {
      findings_.Warning(number_, Quoted(line) + " is an entry like any other: lists have no remarks", "Remove the line.");
    } else if (list_ == GlobalExclusions::kIds) {
      CheckEventNumber(counted, number_, "this line", findings_);
    } else if (list_ == GlobalExclusions::kSources) {
      TakeSource(counted);
    } else {
      TakeText(line);
    }
  }

  void TakeBlanks(TextView line) {
    if (list_ == GlobalExclusions::kTexts) {
      const std::string what =
          line.size() == 1
              ? "a line of one blank excludes every message with a blank in it: nearly all of them"
              : "a line of " + std::to_string(line.size()) + " blanks excludes every message with as many in a row";
      findings_.Error(number_, what, "Remove the line.");
    } else {
      findings_.Warning(number_, "a line of blanks excludes records without this value", "Remove the line.");
    }
  }

  void TakeSource(TextView source) {
    if (source.find_first_of(u"*?") != TextView::npos) {
      findings_.Error(number_, Quoted(source) + " holds a wildcard, which no source has",
                      "Write the whole name of one source.");
    } else if (source.find_first_of(u",;|") != TextView::npos) {
      findings_.Warning(number_, Quoted(source) + " counts as one name", "Write one source a line.");
    }
  }

  void TakeText(TextView text) {
    constexpr std::size_t kVeryShort = 2;
    if (text.size() <= kVeryShort) {
      findings_.Warning(number_, Quoted(text) + " excludes every message that holds it: nearly all of them",
                        "Write a longer text, or remove the line.");
    } else if (TrimBlanks(text).size() != text.size()) {
      findings_.Warning(number_, Quoted(text) + " counts with the blanks at its ends",
                        "Remove the blanks unless they are meant.");
    }
    if (HasWildcardEnds(TrimBlanks(text))) {
      findings_.Warning(number_, Quoted(text) + " begins or ends with a wildcard, which is looked for as it stands",
                        "Leave it out: the text is found anywhere in the message.");
    }
  }

  GlobalExclusions::List list_;
  Findings& findings_;
  std::size_t number_ = 0;
  std::unordered_map<Text, std::size_t> seen_;
};

}  // namespace

void CheckList(GlobalExclusions& lists, GlobalExclusions::List list, Findings& findings) {
  const auto lines = lists.Lines(list);
  if (!lines) return;
  ListLines check(list, findings);
  for (const Text& line : *lines) check.Take(line);
}

}  // namespace ovs
