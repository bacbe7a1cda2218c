// One entry of the configuration store: a key, its value in the form that is written to disk, and where it is written.
#pragma once

#include "base/Text.h"

namespace ovs {

class ckCrypt_Config;

class Config_KVP {
 public:
  // `crypt` must outlive this object.
  explicit Config_KVP(const ckCrypt_Config& crypt) : crypt_(&crypt) {}

  // The full dotted key, such as "Debug.Log.Verbose".
  [[nodiscard]] const Text& Key() const { return key_; }
  // Ignored when the entry has a key already.
  void SetKey(TextView key);

  // The plain value, "<NL>" left as it is. A value that cannot be decrypted reads as empty; the debug log then names the
  // key, once. What is decrypted is masked by the diagnostics from then on.
  [[nodiscard]] Text ValueData() const;
  // Stores the text as it is; a text that is not empty decides whether the entry counts as encrypted.
  void SetValueData(TextView value);

  // The stored form, exactly as it is written to disk.
  [[nodiscard]] const Text& ValueData_Save_State() const { return stored_; }

  [[nodiscard]] bool Encrypted() const { return encrypted_; }
  // Turns the stored value into its encrypted or its plain form. A value that resists stays as it is, and so does the flag.
  // Encrypting takes the stored text for a plain one unless it has the marker that is written today.
  void SetEncrypted(bool encrypted);

  // Never written to disk. Once set it stays.
  [[nodiscard]] bool NoSave() const { return noSave_; }
  void SetNoSave(bool noSave) { noSave_ = noSave_ || noSave; }

  // Full path of the file it belongs to; empty for the default configuration file.
  [[nodiscard]] const Text& DefFile() const { return defFile_; }
  void SetDefFile(TextView file) { defFile_ = file; }

  // From now on the diagnostics mask this plain value, also as it reads with real line breaks.
  static void MaskSecret(TextView plain);

 private:
  [[nodiscard]] static bool IsMarked(TextView value);
  [[nodiscard]] bool Decrypt(Text& plain) const;
  void Encrypt();

  const ckCrypt_Config* crypt_;
  Text key_;
  Text stored_;
  Text defFile_;
  bool encrypted_ = false;
  bool noSave_ = false;
  mutable bool reported_ = false;  // that it cannot be decrypted
};

}  // namespace ovs
