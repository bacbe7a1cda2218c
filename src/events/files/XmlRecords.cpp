#include <algorithm>
#include <pugixml.hpp>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Numbers.h"
#include "events/files/EventCutter.h"

namespace ovs {

namespace {

constexpr std::uint64_t kAuditFailure = 0x10'0000'0000'0000;
constexpr std::uint64_t kAuditSuccess = 0x20'0000'0000'0000;

struct EventKind {
  std::int64_t number;
  TextView text;
};

Text Trimmed(const char* utf8) {
  const std::string_view text(utf8);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return FromUtf8(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

// Texts and CDATA of one element, in their order.
std::string ContentOf(const pugi::xml_node& node) {
  std::string content;
  for (const pugi::xml_node& child : node.children()) {
    if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) content += child.value();
  }
  return content;
}

Text WithWindowsLineEnds(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size() + 16);
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const bool isPair = utf8[i] == '\r' && i + 1 < utf8.size() && utf8[i + 1] == '\n';
    if (isPair) ++i;
    if (utf8[i] == '\r' || utf8[i] == '\n') {
      out += "\r\n";
    } else {
      out += utf8[i];
    }
  }
  return FromUtf8(out);
}

// Stands in for the message of a record that was not rendered: the texts it would have been made of.
void AppendTexts(const pugi::xml_node& node, std::string& out) {
  struct Walker final : pugi::xml_tree_walker {
    explicit Walker(std::string& text) : out(text) {}
    bool for_each(pugi::xml_node& child) override {
      if (child.type() == pugi::node_element) {
        const std::string content = ContentOf(child);
        if (!content.empty()) out += (out.empty() ? "" : "\n") + content;
      }
      return true;
    }
    std::string& out;
  };
  Walker walker(out);
  pugi::xml_node start = node;
  start.traverse(walker);
}

std::uint64_t KeywordBits(const pugi::xml_node& system) {
  const std::string text = system.child("Keywords").text().as_string();
  return std::strtoull(text.c_str(), nullptr, 16);
}

EventKind KindOf(const pugi::xml_node& system) {
  const std::uint64_t keywords = KeywordBits(system);
  if ((keywords & kAuditFailure) != 0) return {5, u"Audit Failure"};
  if ((keywords & kAuditSuccess) != 0) return {4, u"Audit Success"};
  const Text level = Trimmed(system.child("Level").text().as_string());
  if (level == u"1" || level == u"2") return {1, u"Error"};
  return level == u"3" ? EventKind{2, u"Warning"} : EventKind{3, u"Information"};
}

// "2025-06-03T10:32:40.6287701Z" gives "20250603103240.628770-000".
Text WmiTime(TextView systemTime) {
  constexpr std::size_t kToSecond = 14;
  constexpr std::size_t kToMicrosecond = 20;
  const std::size_t point = systemTime.find(u'.');
  Text digits;
  for (const char16_t unit : systemTime.substr(0, point)) {
    if (unit >= u'0' && unit <= u'9') digits += unit;
  }
  if (digits.size() != kToSecond) return {};
  for (std::size_t i = point; i < systemTime.size() && digits.size() < kToMicrosecond; ++i) {
    if (systemTime[i] >= u'0' && systemTime[i] <= u'9') digits += systemTime[i];
  }
  digits.resize(kToMicrosecond, u'0');
  return digits.substr(0, kToSecond) + u"." + digits.substr(kToSecond) + u"-000";
}

// The event's number without the qualifiers that old logs keep above it.
std::optional<Text> EventCode(const pugi::xml_node& system) {
  const auto number = ParseUnsigned(Trimmed(system.child("EventID").text().as_string()), 0xFFFF'FFFF);
  if (!number) return std::nullopt;
  return NumberText(static_cast<std::int64_t>(*number & 0xFFFF));
}

Text SourceName(const pugi::xml_node& system) {
  const pugi::xml_node provider = system.child("Provider");
  const Text classic = FromUtf8(provider.attribute("EventSourceName").value());
  return classic.empty() ? FromUtf8(provider.attribute("Name").value()) : classic;
}

class XmlReader final : public PieceReader {
 public:
  XmlReader(RecordTally& tally, SourceMeasure measure, std::uint64_t start)
      : tally_(tally),
        cutter_({[this](std::string_view element, std::uint64_t at) { Take(element, at); },
                 [this](std::uint64_t at, const std::string& reason) { Bad(at, reason); }},
                measure, start) {}

  void Feed(std::string_view utf8) override { cutter_.Feed(utf8); }
  void Finish() override { cutter_.Finish(); }

 private:
  void Bad(std::uint64_t at, const std::string& reason) {
    if (!tally_.IsEnough()) tally_.Bad("byte " + std::to_string(at), reason);
  }

  void Take(std::string_view element, std::uint64_t at) {
    if (tally_.IsEnough()) return;
    pugi::xml_document document;
    const pugi::xml_parse_result outcome =
        document.load_buffer(element.data(), element.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!outcome) return Bad(at, std::string("not well-formed XML: ") + outcome.description());
    const pugi::xml_node event = document.child("Event");
    const pugi::xml_node system = event.child("System");
    const std::optional<Text> code = EventCode(system);
    if (!system || !code) return Bad(at, system ? "the event has no EventID" : "the event has no System part");
    if (!isUtf8Told_ && !IsValidUtf8(element)) TellNotUtf8();
    const EventKind kind = KindOf(system);
    tally_.Good({.eventType = kind.number,
                 .type = Text(kind.text),
                 .eventCode = *code,
                 .sourceName = SourceName(system),
                 .message = MessageOf(event),
                 .logfile = Trimmed(system.child("Channel").text().as_string()),
                 .timeGenerated = WmiTime(FromUtf8(system.child("TimeCreated").attribute("SystemTime").value()))});
  }

  Text MessageOf(const pugi::xml_node& event) {
    const pugi::xml_node rendering = event.child("RenderingInfo");
    if (rendering) return WithWindowsLineEnds(ContentOf(rendering.child("Message")));
    if (!isUnrenderedTold_) {
      tally_.Note(
          "some records carry no message text (they were not rendered: use /f:RenderedXml); their data stands in for it");
      isUnrenderedTold_ = true;
    }
    std::string texts;
    for (const char* const part : {"EventData", "UserData"}) AppendTexts(event.child(part), texts);
    return WithWindowsLineEnds(texts);
  }

  void TellNotUtf8() {
    isUtf8Told_ = true;
    tally_.Note("some characters are not UTF-8 and were lost; let wevtutil write the file with /uni:true");
  }

  RecordTally& tally_;
  EventCutter cutter_;
  bool isUtf8Told_ = false;
  bool isUnrenderedTold_ = false;
};

}  // namespace

std::unique_ptr<PieceReader> NewXmlReader(RecordTally& tally, SourceMeasure measure, std::uint64_t start) {
  return std::make_unique<XmlReader>(tally, measure, start);
}

}  // namespace ovs
