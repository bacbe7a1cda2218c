#include "diag/DebugMessage.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

constexpr TextView kLineBreak = u"\r\n";
// More numbers than any run meets; the cache starts over rather than growing with hostile input.
constexpr std::size_t kMostCached = 4096;

void AddLine(TextView label, TextView text, Text& body) {
  if (text.empty()) return;
  body.append(kLineBreak).append(label).append(text);
}

void AddVariables(TextView label, TextView text, Text& body) {
  if (!text.empty()) AddLine(label, u"[" + Visualized(text) + u"]", body);
}

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

Text ConstructDebugMsg(const DebugMessage& parts) {
  const TextView message = parts.message.empty() ? kNoMessage : parts.message;
  Text shown(message);
  App_Strings::VisualizeNulls(shown);
  if (IsFlow(parts.type)) return shown;

  Text body = FirstLine(parts);
  AddLine({}, shown, body);
  const DebugErrors& errors = parts.errors;
  if (errors.apiNumber != 0) {
    AddLine(u"APIError=", Visualized(ApiErrorText(errors.apiNumber, errors.apiText)), body);
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

void SystemMessages::Clear() noexcept {
  for (auto& cache : caches_) cache.clear();
}

Text SystemMessages::Get(std::uint32_t number, SystemMsgFlavour flavour, bool forceLookup, bool bracketed) {
  auto& cache = caches_[static_cast<std::size_t>(flavour)];
  const auto found = cache.find(number);
  const Text text = found != cache.end() && !forceLookup ? found->second : LookUp(number, cache);
  return bracketed ? u"[" + NumberText(number) + u"=" + text + u"]" : text;
}

Text SystemMessages::LookUp(std::uint32_t number, std::map<std::uint32_t, Text>& cache) {
  std::optional<Text> text = system_ != nullptr ? system_->MessageText(number) : std::nullopt;
  if (!text) return Text(kFailure);
  const Text withoutNuls = App_Strings::RemoveNuls(*text);
  Text trimmed(App_Strings::TrimBlanks(withoutNuls));
  if (cache.size() >= kMostCached) cache.clear();
  cache[number] = trimmed;
  return trimmed;
}

}  // namespace ovs
