// Port: the cipher of secrets that are kept in files, and random bytes.
//
// AES-256 in CBC mode with PKCS#7 padding, the same bytes on every system. A call that fails leaves its output empty: 87 for
// a key or an IV of another length or for more than kMostBytes, 13 for bytes that are no such cipher text under this key.
// Keys are wiped from the memory that the calls use. May be used from several threads.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "os/Error.h"

namespace ovs::os {

class Crypto {
 public:
  static constexpr std::size_t kKeyBytes = 32;
  static constexpr std::size_t kBlockBytes = 16;                   // of an IV as well
  static constexpr std::size_t kMostBytes = std::size_t{1} << 30;  // that one call takes

  virtual ~Crypto() = default;

  // Any text, the empty one too, becomes its padded blocks: 1 to 16 bytes more.
  Error Encrypt(std::string_view key, std::string_view iv, std::string_view plain, std::string& cipher);
  // All bytes of the padding are checked, so most damage is found; but nothing proves that the text is the one that was
  // encrypted.
  Error Decrypt(std::string_view key, std::string_view iv, std::string_view cipher, std::string& plain);

  // Fills `out` with bytes fit for keys.
  virtual Error RandomBytes(std::span<char> out) = 0;

 protected:
  enum class Direction { Encrypt, Decrypt };

 private:
  // Turns whole blocks, at least one, in place; key and IV have their lengths. Padding is none of its business.
  virtual Error Transform(Direction direction, std::string_view key, std::string_view iv, std::span<char> blocks) = 0;
};

Crypto& SystemCrypto();

}  // namespace ovs::os
