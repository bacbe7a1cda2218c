// Typed access: values to text and back.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <type_traits>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "config/Config_Class.h"
#include "diag/Proc.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"Config_Class";
constexpr TextView kSeparator = u"<sep>";

// The shortest text that reads back as the same number: digits while the number's type knows them all, else "1E+20".
template <class Number>
Text FloatText(Number value) {
  constexpr auto kMostDigits = static_cast<Number>(std::is_same_v<Number, float> ? 1e7 : 1e15);
  constexpr auto kLeast = static_cast<Number>(1e-4);
  const Number size = std::abs(value);
  const bool isPlain = size == 0 || (size >= kLeast && size < kMostDigits);
  char buffer[64];
  const auto format = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
  const auto end = std::to_chars(std::begin(buffer), std::end(buffer), value, format).ptr;
  Text text(std::begin(buffer), end);
  std::ranges::replace(text, u'e', u'E');
  return text;
}

Text CurrencyText(Currency amount) {
  constexpr std::int64_t kOne = 10'000;
  const std::int64_t fraction = amount.tenThousandths % kOne;
  const bool minus = amount.tenThousandths < 0;
  Text text = (minus ? u"-" : u"") + PaddedNumberText(std::abs(amount.tenThousandths / kOne), 1);
  if (fraction == 0) return text;
  text += u"." + PaddedNumberText(std::abs(fraction), 4);
  return text.substr(0, text.find_last_not_of(u'0') + 1);
}

// The general date: the time is left out at midnight, the date on the day from which dates are counted.
Text GeneralDate(const DateTime& date) {
  const bool midnight = date.hour == 0 && date.minute == 0 && date.second == 0;
  const Text text = FormatDate(date, {.includeTime = !midnight, .includeSeconds = true});
  const bool noDate = date.year == 1899 && date.month == 12 && date.day == 30;
  return noDate && !midnight ? text.substr(text.find(kBlank) + 1) : text;
}

// One overload for each type that a settings file can hold.
struct CfgText {
  Text operator()(const UnsupportedValue& /*value*/) const { return {}; }
  Text operator()(bool value) const { return value ? u"1" : u"0"; }
  Text operator()(float value) const { return FloatText(value); }
  Text operator()(double value) const { return FloatText(value); }
  Text operator()(Currency value) const { return CurrencyText(value); }
  Text operator()(const DateTime& value) const { return GeneralDate(value); }
  Text operator()(const Text& value) const { return value; }
  Text operator()(const std::vector<Text>& value) const { return App_Strings::Join(value, kSeparator); }
  template <class Integer>
  requires std::is_integral_v<Integer> Text operator()(Integer value) const { return NumberText(value); }
};

}  // namespace

Text Config_Class::VariantToCfgString(const ConfigValue& vValue) {
  Proc proc(kModule, u"VariantToCfgString", ProcKind::Function);
  return proc.Run(Text(), [&] {
    if (const auto* unsupported = std::get_if<UnsupportedValue>(&vValue)) {
      proc.Log(Text(u"Unsupported Cfg Value Type:  ").append(unsupported->typeName));
    }
    return std::visit(CfgText(), vValue);
  });
}

bool Config_Class::SetBool(TextView sKey, bool bValue, const ConfigSetOptions& options) {
  return SetString(sKey, bValue ? u"1" : u"0", options);
}

bool Config_Class::SetLong(TextView sKey, std::int32_t lValue, const ConfigSetOptions& options) {
  return SetString(sKey, NumberText(lValue), options);
}

bool Config_Class::SetVar(TextView sKey, const ConfigValue& vValue, const ConfigSetOptions& options) {
  return SetString(sKey, VariantToCfgString(vValue), options);
}

bool Config_Class::SetStringArray(TextView sKey, const std::vector<Text>& arrValue, const ConfigSetOptions& options) {
  return SetString(sKey, App_Strings::Join(arrValue, kSeparator), options);
}

bool Config_Class::SetLongOrDelete(TextView sKey, std::int32_t lValue, const ConfigSetOptions& options) {
  return SetVarOrDelete(sKey, ConfigValue(lValue), options);
}

bool Config_Class::SetVarOrDelete(TextView sKey, const std::optional<ConfigValue>& vValue, const ConfigSetOptions& options) {
  Proc proc(kModule, u"SetVarOrDelete", ProcKind::Function);
  proc.ByVal(u"sKey", sKey);
  return proc.Run(false, [&] {
    const Text value = vValue ? VariantToCfgString(*vValue) : Text();
    if (value.empty() || value == u"0") return Remove(sKey);
    ConfigSetOptions saved = options;
    saved.bNoSave = false;
    return SetString(sKey, value, saved);
  });
}

void Config_Class::Ensure_Encrypted(TextView sKey) {
  Proc proc(kModule, u"Ensure_Encrypted", ProcKind::Sub);
  proc.ByVal(u"sKey", sKey);
  proc.Run([&] {
    Config_KVP* const entry = Item(sKey);
    if (entry != nullptr && !entry->Encrypted()) entry->SetEncrypted(true);
  });
}

namespace {

void TellDefFile(const Config_KVP* entry, Text* defFile) {
  if (defFile != nullptr) *defFile = entry == nullptr ? Text() : entry->DefFile();
}

}  // namespace

Text Config_Class::GetString(TextView sKey, Text* sDefFile) const {
  Proc proc(kModule, u"GetString", ProcKind::Function);
  proc.ByVal(u"sKey", sKey);
  Text value;
  bool isSecret = IsSecretKey(sKey);
  proc.Run([&] {
    const Config_KVP* const entry = Item(sKey);
    TellDefFile(entry, sDefFile);
    if (entry == nullptr) return;
    isSecret = isSecret || entry->Encrypted();
    value = App_Strings::ReplaceAll(entry->ValueData(), u"<NL>", kCrLf);
  });
  const TextView shown = isSecret && !value.empty() ? TextView(u"***") : TextView(value);
  proc.Result(shown);
  return value;
}

Text Config_Class::GetStringRaw(TextView sKey, Text* sDefFile) const {
  Proc proc(kModule, u"GetStringRaw", ProcKind::Function);
  proc.ByVal(u"sKey", sKey);
  return proc.Run(Text(), [&] {
    const Config_KVP* const entry = Item(sKey);
    TellDefFile(entry, sDefFile);
    return entry == nullptr ? Text() : entry->ValueData_Save_State();
  });
}

std::int32_t Config_Class::GetLong(TextView sKey, bool bMinusOneIfMissing, Text* sDefFile) const {
  const Text text = GetString(sKey, sDefFile);
  return ParseInt32(App_Strings::TrimBlanks(text)).value_or(bMinusOneIfMissing ? -1 : 0);
}

bool Config_Class::GetBool(TextView sKey, bool bDefault, Text* sDefFile) const {
  const Text text = GetString(sKey, sDefFile);
  const TextView value = App_Strings::TrimBlanks(text);
  return value.empty() ? bDefault : value == u"1" || value == u"2";
}

bool Config_Class::GetStringArray(TextView sKey, std::vector<Text>& arrValue, const StringArrayOptions& options,
                                  Text* sDefFile) const {
  Proc proc(kModule, u"GetStringArray", ProcKind::Function);
  proc.ByVal(u"sKey", sKey);
  proc.ReturnedByRef(u"arrValue", arrValue);
  return proc.Run(false, [&] {
    Text all = GetString(sKey, sDefFile);
    if (!options.bReplace && !arrValue.empty()) {
      if (!all.empty()) all += kSeparator;
      all += App_Strings::Join(arrValue, kSeparator);
    }
    arrValue = all.empty() ? std::vector<Text>() : App_Strings::Split(all, kSeparator);
    if (options.bDropEmpty) std::erase_if(arrValue, [](const Text& element) { return element.empty(); });
    if (options.bSort) {
      std::ranges::sort(arrValue, [&](const Text& x, const Text& y) {
        const int order = options.bBinaryCompare ? 0 : CompareFolded(x, y);
        return order != 0 ? order < 0 : x < y;
      });
    }
    if (options.bRemoveDuplicates) RemoveDuplicatesFromStringArray(arrValue, options.bBinaryCompare);
    return !arrValue.empty();
  });
}

void Config_Class::RemoveDuplicatesFromStringArray(std::vector<Text>& arrValue, bool bBinaryCompare) {
  std::unordered_set<Text> seen;
  std::erase_if(arrValue,
                [&](const Text& element) { return !seen.insert(bBinaryCompare ? element : Fold(element)).second; });
}

bool Config_Class::InCfgStringArray(TextView sText, const std::vector<Text>& arrValue, std::size_t& lIndex) {
  const auto found =
      std::ranges::find_if(arrValue, [&](const Text& element) { return App_Strings::StringsMatch(element, sText); });
  if (found == arrValue.end()) return false;
  lIndex = static_cast<std::size_t>(found - arrValue.begin());
  return true;
}

}  // namespace ovs
