#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <memory>

#include "os/Crypto.h"

namespace ovs::os {

namespace {

struct FreeContext {
  // Wipes the key schedule as well.
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, FreeContext>;

// The library keeps its reasons in a queue of its own; none of them has a number of the system.
Error FailureOfOpenSsl() {
  ERR_clear_error();
  return SystemError::kGeneralFailure;
}

const unsigned char* BytesOf(std::string_view text) { return reinterpret_cast<const unsigned char*>(text.data()); }

class PosixCrypto final : public Crypto {
 public:
  Error RandomBytes(std::span<char> out) override {
    if (out.size() > kMostBytes) return SystemError::kInvalidParameter;
    if (out.empty()) return kSuccess;
    const int count = static_cast<int>(out.size());
    return RAND_bytes(reinterpret_cast<unsigned char*>(out.data()), count) == 1 ? kSuccess : FailureOfOpenSsl();
  }

 private:
  Error Transform(Direction direction, std::string_view key, std::string_view iv, std::span<char> blocks) override {
    const Context context(EVP_CIPHER_CTX_new());
    if (context == nullptr) return SystemError::kOutOfMemory;
    const int encrypts = direction == Direction::Encrypt ? 1 : 0;
    auto* const bytes = reinterpret_cast<unsigned char*>(blocks.data());
    const int size = static_cast<int>(blocks.size());
    int done = 0;
    if (EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, BytesOf(key), BytesOf(iv), encrypts) != 1 ||
        EVP_CIPHER_CTX_set_padding(context.get(), 0) != 1 ||
        EVP_CipherUpdate(context.get(), bytes, &done, bytes, size) != 1 || done != size) {
      return FailureOfOpenSsl();
    }
    return kSuccess;
  }
};

}  // namespace

Crypto& SystemCrypto() {
  static PosixCrypto crypto;
  return crypto;
}

}  // namespace ovs::os
