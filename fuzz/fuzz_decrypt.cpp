// Stored values: whatever stands in a file, reading it gives a text or none, and what was encrypted comes back.
#include <cstdint>
#include <cstdlib>

#include "base/Encoding.h"
#include "config/ckCrypt_Config.h"
#include "os/Crypto.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ovs;
  const ckCrypt_Config crypt(os::SystemCrypto());
  const Text value = DecodeFile({reinterpret_cast<const char*>(data), size});
  static_cast<void>(crypt.TryDecrypt(value));
  static_cast<void>(crypt.TryDecrypt(u"<ev~>" + value));
  static_cast<void>(crypt.TryDecrypt(u"~{" + value));
  // Lone surrogates are no text that UTF-8 could carry.
  const Text carried = FromUtf8(ToUtf8(value));
  if (crypt.DecryptCfgValue(crypt.EncryptCfgValue(value)) != carried) std::abort();
  return 0;
}
