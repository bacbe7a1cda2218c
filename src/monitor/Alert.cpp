#include "monitor/Alert.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"

namespace ovs::AlertText {

namespace {

constexpr TextView kLineEnd = u"\r\n";

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

Text TypeText(const Alert& alert) {
  const EventRecord& record = alert.record;
  return alert.kind == AlertKind::Disk ? record.type : record.type + u" (" + NumberText(record.eventType) + u")";
}

}  // namespace

Text MailBody(const Alert& alert) {
  return Lines()
      .Line(TextView(u"Time: "), alert.timeText)
      .Line(TextView(u"Rule: "), alert.ruleName)
      .Line(TextView(u"Event Log: "), alert.record.logfile)
      .Line(TextView(u"Event Type: "), TypeText(alert))
      .Line(TextView(u"Event ID: "), alert.record.eventCode)
      .Line(TextView(u"Source Name: "), alert.record.sourceName)
      .Line(TextView(u"Message: "), alert.record.message)
      .Take();
}

Text LogEntry(const Alert& alert) {
  const EventRecord& record = alert.record;
  const bool isDisk = alert.kind == AlertKind::Disk;
  return Lines()
      .Line(alert.timeText)
      .Line(TextView(u"Rule: "), alert.ruleName)
      .Line(TextView(u"Event ID: "), record.eventCode, TextView(u" / Event Type: "), TypeText(alert),
            TextView(u" / Source Name: "), record.sourceName, isDisk ? Text() : u" / Event Log: " + record.logfile)
      .Line(TextView(u"Message: "), isDisk ? App_Strings::RemoveNuls(record.message) : record.message)
      .Take();
}

Text RuleNameLine(const Alert& alert) { return Lines().Line(alert.timeText, TextView(u"  -  "), alert.ruleName).Take(); }

}  // namespace ovs::AlertText
