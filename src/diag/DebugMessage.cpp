#include "diag/DebugMessage.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

constexpr TextView kLineBreak = u"\r\n";

void AddLine(TextView label, TextView text, Text& body) {
  if (text.empty()) return;
  body.append(kLineBreak).append(label).append(text);
}

void AddVariables(TextView label, TextView text, Text& body) {
  if (!text.empty()) AddLine(label, u"[" + Visualized(text) + u"]", body);
}

bool IsFlow(EventType type) { return type == EventType::EnterProcedure || type == EventType::ExitProcedure; }

Text FirstLine(const DebugMessage& parts) {
  Text line(parts.procedureTag);
  if (parts.procEventID != 0) line += u".ProcEventID=" + NumberText(parts.procEventID);
  line += u" ";
  return line += GetEventTypeAsString(parts.type);
}

}  // namespace

Text Visualized(TextView text) {
  Text visible = App_Strings::VisualizeLineBreaks(text, true);
  App_Strings::VisualizeNulls(visible);
  return visible;
}

Text ApiErrorText(std::uint32_t number, TextView text) {
  Text result = NumberText(number);
  if (number > 9) result += u" (&H" + HexText(number) + u")";
  if (!text.empty()) result.append(u" ").append(text);
  return result;
}

Text RuntimeErrorText(int number, TextView description, TextView source) {
  Text result = NumberText(number);
  result.append(u" Desc=").append(description);
  if (!source.empty()) result.append(u" Source=").append(source);
  return result;
}

Text LastErrorText(const DebugErrors& errors, TextView message) {
  const bool isSystem = errors.apiNumber != 0;
  const std::int64_t number = isSystem ? static_cast<std::int64_t>(errors.apiNumber) : errors.vbNumber;
  TextView text = isSystem ? errors.apiText : errors.vbDescription;
  if (text.empty()) text = message;
  Text result = u"[Error " + NumberText(number) + u" = ";
  return result.append(text).append(u"]");
}

Text ConstructDebugMsg(const DebugMessage& parts, const std::function<Text(std::uint32_t)>& getSystemMsg) {
  const TextView message = parts.message.empty() ? kNoMessage : parts.message;
  Text shown(message);
  App_Strings::VisualizeNulls(shown);
  if (IsFlow(parts.type)) return shown;

  Text body = FirstLine(parts);
  AddLine({}, shown, body);
  const DebugErrors& errors = parts.errors;
  if (errors.apiNumber != 0) {
    const Text text = errors.apiText.empty() ? getSystemMsg(errors.apiNumber) : errors.apiText;
    AddLine(u"APIError=", Visualized(ApiErrorText(errors.apiNumber, text)), body);
  }
  if (errors.vbNumber != 0) {
    const Text text = RuntimeErrorText(errors.vbNumber, errors.vbDescription, errors.vbSource);
    AddLine(u"VBError=", Visualized(text), body);
  }
  AddVariables(u"Variables=", parts.variables, body);
  AddVariables(u"VarsPassedByVal=", parts.varsByVal, body);
  AddVariables(u"VarsPassedByRef=", parts.varsByRef, body);
  AddVariables(u"VarsCreated=", parts.varsCreated, body);
  AddVariables(u"VarsReturnedByRef=", parts.varsReturned, body);
  return body;
}

}  // namespace ovs
