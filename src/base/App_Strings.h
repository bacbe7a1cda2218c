// Text helpers: comparing, trimming, cutting, and making control characters visible.
//
// Positions and lengths count UTF-16 code units; positions are 1-based, 0 stands for "not found". Text compare ignores
// case (see Fold.h), binary compare does not. Blanks are U+0020 alone. Nothing here fails: an argument without meaning
// gives the empty text, false or 0.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "base/Text.h"

namespace ovs::App_Strings {

// --- Trimming blanks. The views lie within the given text.

[[nodiscard]] TextView TrimBlanksLeft(TextView text);
[[nodiscard]] TextView TrimBlanksRight(TextView text);
[[nodiscard]] TextView TrimBlanks(TextView text);

// --- Comparing

// Equality of the two texts trimmed of blanks.
[[nodiscard]] bool StringsMatch(TextView a, TextView b, bool caseSensitive = false);

// True when StringsMatch holds between as many first characters as the prefix has (all, when there are fewer) and the
// prefix; so blanks at the ends of both are ignored and an empty prefix always matches. With `trim` the string is first
// trimmed on the left and the prefix on both sides.
[[nodiscard]] bool StringStartsWith(TextView string, TextView prefix, bool caseSensitive = false, bool trim = false);

// The mirror image: last characters, right trim.
[[nodiscard]] bool StringEndsWith(TextView string, TextView suffix, bool caseSensitive = false, bool trim = false);

// True when the first and the last position of `part` differ (occurrences may overlap). False for an empty part.
[[nodiscard]] bool OccursMoreThanOnce(TextView string, TextView part, bool caseSensitive = false);

// True when a character does not exist in Windows-1252.
[[nodiscard]] bool HasUnicodeCharacters(TextView sString);

// True when a text, such as a path, cannot be handed to a system call of the ANSI kind: HasUnicodeCharacters.
[[nodiscard]] bool UseWideAPI(TextView sString);

// --- Trimming texts. "Starts" and "ends" mean the text exactly as given, its blanks included.

// Removes leading occurrences of `text`: with maxCount -1 all that follow one another, else at most maxCount (none when
// that is below 1). `count` is the number of removals. Returns `string`.
const Text& TrimLeft(Text& string, TextView text, int maxCount, int& count, bool caseSensitive = false);
const Text& TrimRight(Text& string, TextView text, int maxCount, int& count, bool caseSensitive = false);

// Removes `text` (text compare) from both ends and returns the number of removals. Without bothRequired: from the start,
// once or repeatedly, then from the end likewise. With bothRequired: one occurrence at each end while the string both
// starts and ends with the text, at most one such round with `once`; a string that is the text alone, once, becomes empty
// by one removal. keepIfWhole: a string that equals the text stays.
int TrimBothEnds(Text& string, TextView text, bool once, bool bothRequired, bool keepIfWhole);

// Appends the suffix unless the string ends with it (text compare).
void EnsureStringEndsWith(Text& string, TextView suffix);

// --- Cutting

enum class StripReturn {
  AfterFirst = 0,  // keep what follows the first delimiter
  AfterLast = 1,
  BeforeFirst = 2,  // keep what precedes the first delimiter
  BeforeLast = 3,
};

// Cuts the string at a delimiter (text compare) and returns the delimiter's position; 0, and the string unchanged, when
// it does not occur or is empty. includeDelimiterInOutput: the delimiter stays with the kept part.
// trimSpacesFromRemovalPoint: the kept part loses its blanks at the end where it was cut.
std::size_t StripString(Text& string, TextView delimiter, StripReturn returnType, bool includeDelimiterInOutput = false,
                        bool trimSpacesFromRemovalPoint = false);

// Splits at the first or the last delimiter (text compare) into what precedes and what follows it. Without a delimiter
// the result is false, the prefix is the whole text and the suffix empty. bTrimSpaces: both parts lose the blanks at
// both their ends. The outputs may be the object sFullStr views.
bool SplitString(TextView sFullStr, TextView sDelimiter, bool bUseFirstDelimiter, bool bTrimSpaces, Text& sPrefix,
                 Text& sSuffix);

// Pieces between the delimiters (binary compare): one more than there are delimiters, so one for an empty text. An empty
// delimiter gives the whole text as one piece. The views lie within `text`.
[[nodiscard]] std::vector<TextView> SplitViews(TextView text, TextView delimiter);
[[nodiscard]] std::vector<Text> Split(TextView text, TextView delimiter);
[[nodiscard]] Text Join(std::span<const Text> pieces, TextView delimiter);

// Words are what stands between blanks, tabs, CRs and LFs.
[[nodiscard]] std::size_t WordCount(TextView text);

// The path up to the last "." of the file name; a "." in a folder of the path does not count. No "." leaves all.
[[nodiscard]] Text StripFileExtension(TextView sFileName);

// The file name: what follows the last "\"; all when there is none.
[[nodiscard]] Text StripPath(TextView sFullPathAndFileName);

// Without one "\" at its end.
[[nodiscard]] Text StripTrailingBackslash(TextView sDir);

// --- Replacing

// Every occurrence, from left to right, never looking again at what was put in. An empty `what` leaves the text.
[[nodiscard]] Text ReplaceAll(TextView text, TextView what, TextView with, bool caseSensitive = true);

[[nodiscard]] Text RemoveNuls(TextView text);

// With `visualize` each CR LF becomes "<CRLF>", each other CR "<CR>", each other LF "<LF>"; without it these tags (exactly
// so written) are turned back.
[[nodiscard]] Text VisualizeLineBreaks(TextView text, bool visualize);

// One NUL becomes "<NULL>". Of more than one, each becomes "<NULL>", then each pair of these "<M_NULL>", then neighbouring
// "<M_NULL>" become one: a run of two or four reads "<M_NULL>", a run of three "<M_NULL><NULL>".
void VisualizeNulls(Text& text);

// Replaces each "/", "\", "-", "a", "p", "m", blank, ":", ".", "h" and "s" (capitals too), one kind after the other.
void StripNonNumericValuesFromTimeDateString(Text& strDateString, TextView strDelimiterReplacement);

}  // namespace ovs::App_Strings
