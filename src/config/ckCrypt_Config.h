// Encrypted configuration values: the markers that tell them from plain ones, and the conversion both ways.
//
// An encrypted value is "<ev~>" and the upper-case hexadecimal text (both cases are read) of AES-256-CBC over the value's
// UTF-8; key and IV are fixed, so equal values give equal texts. Values of the older form "~{" are read only. Whoever has
// the program can read them: they keep secrets from whoever sees a settings file.
//
// Plain values never reach a trace, only their lengths. Every procedure reports what fails under its own name and gives
// the answer named here; none raises.
#pragma once

#include <cstddef>
#include <optional>

#include "base/Text.h"
#include "os/Crypto.h"

namespace ovs {

class ckCrypt_Config {
 public:
  // `crypto` must outlive this object.
  explicit ckCrypt_Config(os::Crypto& crypto) : crypto_(crypto) {}

  // True when the value begins with a marker and more follows it; then the marker and its length are told, else "" and 0.
  static bool IsEncryptedValue_KVP(TextView sValue, Text& sMarker, int& lMarkerLen) noexcept;

  // The value in the form asked for; an empty one stays empty.
  // Encrypting: a value that begins with "<ev~>" stays, any other (one in the older form too) is encrypted as a whole. If
  // the cipher itself fails, the value stays as it is: a lost password would be worse than a readable one.
  // Decrypting: a marked value becomes plain, empty when it cannot be decrypted; one without marker, or with nothing
  // behind it, stays.
  // With a marker and its length this marker counts alone: encrypting puts it in front, unless the value begins with it;
  // decrypting takes "~{" for the older form, any other for an encrypted value whose first `lMarkerLen` characters are
  // the marker.
  [[nodiscard]] Text ConvertEncryptedValue(TextView sValue, bool bEncrypt, TextView sMarker = {},
                                           int lMarkerLen = 0) const noexcept;

  // Hexadecimal text; lone surrogates become U+FFFD. Empty when the cipher fails.
  [[nodiscard]] Text EncryptCfgValue(TextView sPlain) const noexcept;
  // The plain text; empty when it cannot be decrypted: no or odd hexadecimal text, no whole blocks, bad padding, no UTF-8.
  [[nodiscard]] Text DecryptCfgValue(TextView sHex) const noexcept;

  // The decrypted form of a stored value (its marker included), a plain value as it is; none when it cannot be decrypted.
  // The reason goes to the trace only: the caller knows whose value it is and how often to say so.
  [[nodiscard]] std::optional<Text> TryDecrypt(TextView value) const noexcept;

 private:
  // Spelled anew on every use.
  [[nodiscard]] static Text KeyHex();
  [[nodiscard]] static Text IvHex();
  [[nodiscard]] static Text OldKey();

  [[nodiscard]] Text Encrypted(TextView value, TextView marker) const;
  [[nodiscard]] std::optional<Text> Decrypted(TextView value, TextView marker, std::size_t markerLength) const;
  // DecryptCfgValue, but it tells whether it could.
  [[nodiscard]] std::optional<Text> Decipher(TextView sHex) const noexcept;
  [[nodiscard]] static std::optional<Text> DecodeOld(TextView body) noexcept;

  os::Crypto& crypto_;
};

}  // namespace ovs
