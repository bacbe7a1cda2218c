#include "config/Config_KVP.h"

#include "base/App_Strings.h"
#include "config/ckCrypt_Config.h"
#include "diag/App_Debug.h"

namespace ovs {

void Config_KVP::SetKey(TextView key) {
  if (key_.empty()) key_ = key;
}

void Config_KVP::MaskSecret(TextView plain) {
  Diagnostics().AddSecret(plain);
  if (plain.find(u"<NL>") != TextView::npos) Diagnostics().AddSecret(App_Strings::ReplaceAll(plain, u"<NL>", kCrLf));
}

bool Config_KVP::IsMarked(TextView value) {
  Text marker;
  int length = 0;
  return ckCrypt_Config::IsEncryptedValue_KVP(value, marker, length);
}

bool Config_KVP::Decrypt(Text& plain) const {
  if (std::optional<Text> decrypted = crypt_->TryDecrypt(stored_)) {
    plain = std::move(*decrypted);
    MaskSecret(plain);
    return true;
  }
  if (!reported_) {
    Debug::dLog(kNoProc, u"The value of setting [" + key_ + u"] cannot be decrypted; it counts as empty and stays as it is");
  }
  reported_ = true;
  return false;
}

Text Config_KVP::ValueData() const {
  if (!encrypted_ || stored_.empty()) return stored_;
  Text plain;
  return Decrypt(plain) ? plain : Text();
}

void Config_KVP::SetValueData(TextView value) {
  stored_ = value;
  reported_ = false;
  if (!value.empty()) encrypted_ = IsMarked(value);
}

void Config_KVP::SetEncrypted(bool encrypted) {
  if (stored_.empty()) {
    encrypted_ = encrypted;
  } else if (encrypted) {
    Encrypt();
  } else if (encrypted_ && Decrypt(stored_)) {
    encrypted_ = false;
  }
}

void Config_KVP::Encrypt() {
  Text converted = crypt_->ConvertEncryptedValue(stored_, true);
  // A text in the older form that resists comes back unchanged, marker and all.
  if (!converted.starts_with(u"<ev~>") || !IsMarked(converted)) {
    MaskSecret(stored_);
    Debug::dLog(kNoProc, u"The value of setting [" + key_ + u"] cannot be encrypted; it stays as it is");
    return;
  }
  if (converted != stored_) MaskSecret(stored_);
  stored_ = std::move(converted);
  encrypted_ = true;
}

}  // namespace ovs
