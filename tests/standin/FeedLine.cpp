// STAND-IN for tests.
#include "FeedLine.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

namespace ovs::standin {
namespace {

using nlohmann::json;

constexpr std::int32_t kGenericFailure = static_cast<std::int32_t>(0x80041001U);

// Thrown and caught within this file: what makes a line broken.
struct Broken {};

std::optional<std::int32_t> Int32(std::int64_t number) {
  if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) return {};
  return static_cast<std::int32_t>(number);
}

std::optional<std::int32_t> Decimal(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

Value ObjectValue(const json& item) {
  if (const auto date = item.find("date"); date != item.end() && date->is_number()) return Date{date->get<double>()};
  if (item.contains("object")) return Object{};
  throw Broken();
}

Value ToValue(const json& item) {
  switch (item.type()) {
    case json::value_t::null:
      return Null{};
    case json::value_t::boolean:
      return item.get<bool>();
    case json::value_t::string:
      return item.get<std::string>();
    case json::value_t::number_float:
      return item.get<double>();
    case json::value_t::object:
      return ObjectValue(item);
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
      // Automation has no 64-bit integers here: the real service delivers those as texts.
      if (const auto number = Int32(item.get<std::int64_t>())) return *number;
      return item.dump();
    default:
      throw Broken();
  }
}

std::int32_t Hresult(const json& line) {
  const auto found = line.find("hresult");
  if (found == line.end()) return kGenericFailure;
  const auto number = found->is_number_integer() ? Int32(found->get<std::int64_t>()) : std::nullopt;
  // Only failures can fail.
  if (!number || *number >= 0) throw Broken();
  return *number;
}

FeedLine ToOrder(const json& line) {
  const json& order = line.at("standin");
  if (order == "fail-nextevent") return FailNextEventLine{Hresult(line)};
  if (order != "fail-property") throw Broken();
  const std::string name = line.at("name").get<std::string>();
  const auto* const property = std::find(kProperties.begin(), kProperties.end(), name);
  if (property == kProperties.end()) throw Broken();
  return FailPropertyLine{static_cast<std::size_t>(property - kProperties.begin()), Hresult(line)};
}

FeedLine ToRecord(const json& line) {
  RecordLine record;
  bool any = false;
  for (std::size_t i = 0; i < kProperties.size(); ++i) {
    const auto found = line.find(kProperties[i]);
    if (found == line.end()) continue;
    any = true;
    record.values[i] = ToValue(*found);
  }
  if (!any) throw Broken();
  if (const auto* code = std::get_if<std::string>(&record.values[kEventCode])) {
    if (const auto number = Decimal(*code)) record.values[kEventCode] = *number;
  }
  return record;
}

}  // namespace

FeedLine ParseFeedLine(std::string_view line) try {
  const json parsed = json::parse(line);
  if (!parsed.is_object()) return BrokenLine{};
  return parsed.contains("standin") ? ToOrder(parsed) : ToRecord(parsed);
} catch (const Broken&) {
  return BrokenLine{};
} catch (const json::exception&) {
  return BrokenLine{};
}

}  // namespace ovs::standin
