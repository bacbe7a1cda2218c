#include "base/App_Strings.h"

#include <algorithm>

#include "base/Encoding.h"
#include "base/Fold.h"

namespace ovs::App_Strings {

namespace {

constexpr TextView kOneNul(&kNul, 1);

constexpr TextView kNullTag = u"<NULL>";
constexpr TextView kNullPair = u"<NULL><NULL>";
constexpr TextView kManyNullsTag = u"<M_NULL>";
constexpr TextView kManyNullsPair = u"<M_NULL><M_NULL>";

// The characters that separate the numbers of a date, each followed by a NUL.
constexpr char16_t kDateSeparators[] = u"/\0\\\0-\0a\0p\0m\0 \0 \0:\0.\0h\0s";
constexpr TextView kDateSeparatorList(kDateSeparators, std::size(kDateSeparators) - 1);

bool Same(TextView a, TextView b, bool caseSensitive) { return caseSensitive ? a == b : EqualsFolded(a, b); }

std::size_t FindFirst(TextView text, TextView part, std::size_t from, bool caseSensitive) {
  return caseSensitive ? text.find(part, from) : FindFolded(text, part, from);
}

std::size_t FindLast(TextView text, TextView part, bool caseSensitive) {
  return caseSensitive ? text.rfind(part) : FindLastFolded(text, part);
}

TextView FirstUnits(TextView text, std::size_t count) { return text.substr(0, count); }
TextView LastUnits(TextView text, std::size_t count) { return text.substr(text.size() - std::min(count, text.size())); }

using EndPart = TextView (*)(TextView text, std::size_t count);

// The count of times that `part` stands, one after the other, at the end of the text that `endPart` takes.
int CountAtEnd(TextView text, TextView part, int maxCount, bool caseSensitive, EndPart endPart) {
  int count = 0;
  if (part.empty()) return count;
  while (count != maxCount && maxCount >= -1 && text.size() >= part.size() &&
         Same(endPart(text, part.size()), part, caseSensitive)) {
    ++count;
    if (endPart == FirstUnits) {
      text.remove_prefix(part.size());
    } else {
      text.remove_suffix(part.size());
    }
  }
  return count;
}

void ReplaceUntilGone(Text& text, TextView what, TextView with) {
  while (text.find(what) != Text::npos) text = ReplaceAll(text, what, with);
}

int TrimBothOnce(Text& string, TextView text) {
  int atStart = 0;
  int atEnd = 0;
  TrimLeft(string, text, 1, atStart);
  TrimRight(string, text, 1, atEnd);
  return atStart + atEnd;
}

bool IsBetweenWords(char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n'; }

bool HasOuterBlank(TextView text) { return !text.empty() && (text.front() == kBlank || text.back() == kBlank); }

}  // namespace

TextView TrimBlanksLeft(TextView text) { return text.substr(std::min(text.find_first_not_of(kBlank), text.size())); }

TextView TrimBlanksRight(TextView text) { return text.substr(0, text.find_last_not_of(kBlank) + 1); }

TextView TrimBlanks(TextView text) {
  // Most texts have nothing to trim.
  return HasOuterBlank(text) ? TrimBlanksLeft(TrimBlanksRight(text)) : text;
}

bool StringsMatch(TextView a, TextView b, bool caseSensitive) {
  // Nearly all comparisons end here: different lengths and nothing to trim.
  if (a.size() != b.size() && !HasOuterBlank(a) && !HasOuterBlank(b)) return false;
  return Same(TrimBlanks(a), TrimBlanks(b), caseSensitive);
}

bool StringStartsWith(TextView string, TextView prefix, bool caseSensitive, bool trim) {
  if (trim) {
    string = TrimBlanksLeft(string);
    prefix = TrimBlanks(prefix);
  }
  return StringsMatch(FirstUnits(string, prefix.size()), prefix, caseSensitive);
}

bool StringEndsWith(TextView string, TextView suffix, bool caseSensitive, bool trim) {
  if (trim) {
    string = TrimBlanksRight(string);
    suffix = TrimBlanks(suffix);
  }
  return StringsMatch(LastUnits(string, suffix.size()), suffix, caseSensitive);
}

bool OccursMoreThanOnce(TextView string, TextView part, bool caseSensitive) {
  if (part.empty()) return false;
  return FindFirst(string, part, 0, caseSensitive) != FindLast(string, part, caseSensitive);
}

bool HasUnicodeCharacters(TextView sString) { return !IsWindows1252(sString); }

bool UseWideAPI(TextView sString) { return HasUnicodeCharacters(sString); }

const Text& TrimLeft(Text& string, TextView text, int maxCount, int& count, bool caseSensitive) {
  count = CountAtEnd(string, text, maxCount, caseSensitive, FirstUnits);
  string.erase(0, static_cast<std::size_t>(count) * text.size());
  return string;
}

const Text& TrimRight(Text& string, TextView text, int maxCount, int& count, bool caseSensitive) {
  count = CountAtEnd(string, text, maxCount, caseSensitive, LastUnits);
  string.resize(string.size() - static_cast<std::size_t>(count) * text.size());
  return string;
}

int TrimBothEnds(Text& string, TextView text, bool once, bool bothRequired, bool keepIfWhole) {
  if (text.empty() || (keepIfWhole && EqualsFolded(string, text))) return 0;
  if (!bothRequired) {
    const int maxCount = once ? 1 : -1;
    int atStart = 0;
    int atEnd = 0;
    TrimLeft(string, text, maxCount, atStart);
    TrimRight(string, text, maxCount, atEnd);
    return atStart + atEnd;
  }
  int removals = 0;
  while (string.size() >= text.size() && EqualsFolded(FirstUnits(string, text.size()), text) &&
         EqualsFolded(LastUnits(string, text.size()), text)) {
    removals += TrimBothOnce(string, text);
    if (once) break;
  }
  return removals;
}

void EnsureStringEndsWith(Text& string, TextView suffix) {
  if (!EqualsFolded(LastUnits(string, suffix.size()), suffix)) string.append(suffix);
}

std::size_t StripString(Text& string, TextView delimiter, StripReturn returnType, bool includeDelimiterInOutput,
                        bool trimSpacesFromRemovalPoint) {
  const bool keepsEnd = returnType == StripReturn::AfterFirst || returnType == StripReturn::AfterLast;
  const bool usesFirst = returnType == StripReturn::AfterFirst || returnType == StripReturn::BeforeFirst;
  if (delimiter.empty()) return 0;
  const std::size_t at = usesFirst ? FindFolded(string, delimiter) : FindLastFolded(string, delimiter);
  if (at == kTextNotFound) return 0;
  const std::size_t cut = keepsEnd != includeDelimiterInOutput ? at + delimiter.size() : at;
  TextView kept = keepsEnd ? TextView(string).substr(cut) : TextView(string).substr(0, cut);
  if (trimSpacesFromRemovalPoint) kept = keepsEnd ? TrimBlanksLeft(kept) : TrimBlanksRight(kept);
  string = Text(kept);
  return at + 1;
}

bool SplitString(TextView sFullStr, TextView sDelimiter, bool bUseFirstDelimiter, bool bTrimSpaces, Text& sPrefix,
                 Text& sSuffix) {
  std::size_t at = kTextNotFound;
  if (!sDelimiter.empty()) {
    at = bUseFirstDelimiter ? FindFolded(sFullStr, sDelimiter) : FindLastFolded(sFullStr, sDelimiter);
  }
  const bool found = at != kTextNotFound;
  TextView before = sFullStr.substr(0, at);
  TextView behind = found ? sFullStr.substr(at + sDelimiter.size()) : TextView();
  if (bTrimSpaces) {
    before = TrimBlanks(before);
    behind = TrimBlanks(behind);
  }
  Text prefix(before);
  Text suffix(behind);
  sPrefix = std::move(prefix);
  sSuffix = std::move(suffix);
  return found;
}

std::vector<TextView> SplitViews(TextView text, TextView delimiter) {
  std::vector<TextView> pieces;
  std::size_t begin = 0;
  if (!delimiter.empty()) {
    for (std::size_t at = text.find(delimiter); at != kTextNotFound; at = text.find(delimiter, begin)) {
      pieces.push_back(text.substr(begin, at - begin));
      begin = at + delimiter.size();
    }
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

std::vector<Text> Split(TextView text, TextView delimiter) {
  const std::vector<TextView> views = SplitViews(text, delimiter);
  return {views.begin(), views.end()};
}

Text Join(std::span<const Text> pieces, TextView delimiter) {
  Text joined;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i != 0) joined.append(delimiter);
    joined.append(pieces[i]);
  }
  return joined;
}

std::size_t WordCount(TextView text) {
  std::size_t words = 0;
  bool inWord = false;
  for (const char16_t unit : text) {
    const bool wasInWord = inWord;
    inWord = !IsBetweenWords(unit);
    if (inWord && !wasInWord) ++words;
  }
  return words;
}

Text StripFileExtension(TextView sFileName) {
  const std::size_t nameAt = sFileName.rfind(u'\\') + 1;
  Text name(sFileName.substr(nameAt));
  StripString(name, u".", StripReturn::BeforeLast);
  return Text(sFileName.substr(0, nameAt)) + name;
}

Text StripPath(TextView sFullPathAndFileName) {
  Text name(sFullPathAndFileName);
  StripString(name, u"\\", StripReturn::AfterLast);
  return name;
}

Text StripTrailingBackslash(TextView sDir) {
  if (sDir.ends_with(u'\\')) sDir.remove_suffix(1);
  return Text(sDir);
}

Text ReplaceAll(TextView text, TextView what, TextView with, bool caseSensitive) {
  if (what.empty()) return Text(text);
  Text replaced;
  replaced.reserve(text.size());
  std::size_t begin = 0;
  for (std::size_t at = FindFirst(text, what, 0, caseSensitive); at != kTextNotFound;
       at = FindFirst(text, what, begin, caseSensitive)) {
    replaced.append(text.substr(begin, at - begin)).append(with);
    begin = at + what.size();
  }
  return replaced.append(text.substr(begin));
}

Text RemoveNuls(TextView text) {
  Text kept(text);
  std::erase(kept, kNul);
  return kept;
}

Text VisualizeLineBreaks(TextView text, bool visualize) {
  struct Tag {
    TextView characters;
    TextView name;
  };
  constexpr Tag kTags[] = {{kCrLf, u"<CRLF>"}, {u"\r", u"<CR>"}, {u"\n", u"<LF>"}};
  Text shown(text);
  for (const Tag& tag : kTags) {
    shown = visualize ? ReplaceAll(shown, tag.characters, tag.name) : ReplaceAll(shown, tag.name, tag.characters);
  }
  return shown;
}

void VisualizeNulls(Text& text) {
  if (text.find(kNul) == Text::npos) return;
  const bool several = OccursMoreThanOnce(text, kOneNul, true);
  text = ReplaceAll(text, kOneNul, kNullTag);
  if (!several) return;
  ReplaceUntilGone(text, kNullPair, kManyNullsTag);
  ReplaceUntilGone(text, kManyNullsPair, kManyNullsTag);
}

void StripNonNumericValuesFromTimeDateString(Text& strDateString, TextView strDelimiterReplacement) {
  for (const TextView separator : SplitViews(kDateSeparatorList, kOneNul)) {
    strDateString = ReplaceAll(strDateString, separator, strDelimiterReplacement, false);
  }
}

}  // namespace ovs::App_Strings
