// The form in which the SMTP password stands in the main settings file: hexadecimal text, two digits a character
// (Windows-1252). One random character is put before the password and one behind it, then each character is combined with
// one of a key that every program of the family knows. This only keeps a password from being read over a shoulder.
#pragma once

#include "base/Text.h"
#include "os/Crypto.h"

namespace ovs::StoredPassword {

inline constexpr TextView kKey = u"4190726";

struct Unscrambled {
  Text text;         // empty when there is a problem
  TextView problem;  // the fault in the stored text; a literal that tells nothing of its content
};

// Decodes a stored text. An empty one gives an empty text. `key` has at least one character and only such as Windows-1252
// has.
[[nodiscard]] Unscrambled UnscrambleText(TextView stored, TextView key);

// Encodes a text. 13 when Windows-1252 lacks a character of the text, else how asking for random bytes ended.
os::Error ScrambleText(TextView text, TextView key, os::Crypto& crypto, Text& stored);

}  // namespace ovs::StoredPassword
