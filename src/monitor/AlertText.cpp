#include "monitor/AlertText.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"

namespace ovs::AlertText {

namespace {

constexpr TextView kLineEnd = u"\r\n";
constexpr TextView kSeparator = u" / ";

class Lines {
 public:
  // One line made of its pieces.
  template <class... Piece>
  Lines& Line(const Piece&... piece) {
    (text_.append(piece), ...);
    text_.append(kLineEnd);
    return *this;
  }
  [[nodiscard]] Text Take() { return std::move(text_); }

 private:
  Text text_;
};

Text TypeWithNumber(const EventRecord& record) { return record.type + u" (" + NumberText(record.eventType) + u")"; }

Text Alert(TextView timeText, TextView ruleName, const EventRecord& record, TextView typeText) {
  return Lines()
      .Line(TextView(u"Time: "), timeText)
      .Line(TextView(u"Rule: "), ruleName)
      .Line(TextView(u"Event Log: "), record.logfile)
      .Line(TextView(u"Event Type: "), typeText)
      .Line(TextView(u"Event ID: "), record.eventCode)
      .Line(TextView(u"Source Name: "), record.sourceName)
      .Line(TextView(u"Message: "), record.message)
      .Take();
}

}  // namespace

Text RuleAlert(TextView timeText, TextView ruleName, const EventRecord& record) {
  return Alert(timeText, ruleName, record, TypeWithNumber(record));
}

Text DiskAlert(TextView timeText, TextView ruleName, const EventRecord& record) {
  return Alert(timeText, ruleName, record, record.type);
}

Text RuleLogEntry(TextView timeText, TextView ruleName, const EventRecord& record) {
  return Lines()
      .Line(timeText)
      .Line(TextView(u"Rule: "), ruleName)
      .Line(TextView(u"Event ID: "), record.eventCode, kSeparator, TextView(u"Event Type: "), TypeWithNumber(record),
            kSeparator, TextView(u"Source Name: "), record.sourceName, kSeparator, TextView(u"Event Log: "), record.logfile)
      .Line(TextView(u"Message: "), record.message)
      .Take();
}

Text DiskLogEntry(TextView timeText, TextView ruleName, const EventRecord& record) {
  return Lines()
      .Line(timeText)
      .Line(TextView(u"Rule: "), ruleName)
      .Line(TextView(u"Event ID: "), record.eventCode, kSeparator, TextView(u"Event Type: "), record.type, kSeparator,
            TextView(u"Source Name: "), record.sourceName)
      .Line(TextView(u"Message: "), App_Strings::RemoveNuls(record.message))
      .Take();
}

Text RuleNameLine(TextView timeText, TextView ruleName) {
  return Lines().Line(timeText, TextView(u"  -  "), ruleName).Take();
}

}  // namespace ovs::AlertText
