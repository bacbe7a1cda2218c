#include <windows.h>
#include <bcrypt.h>
#include <ntsecapi.h>

#include <memory>

#include "os/Crypto.h"

namespace ovs::os {

namespace {

struct CloseAlgorithm {
  void operator()(BCRYPT_ALG_HANDLE handle) const { BCryptCloseAlgorithmProvider(handle, 0); }
};
struct DestroyKey {
  // Wipes the key schedule as well.
  void operator()(BCRYPT_KEY_HANDLE handle) const { BCryptDestroyKey(handle); }
};
using Algorithm = std::unique_ptr<void, CloseAlgorithm>;
using Key = std::unique_ptr<void, DestroyKey>;

Error OutcomeOf(NTSTATUS status) { return BCRYPT_SUCCESS(status) ? kSuccess : Error(LsaNtStatusToWinError(status)); }

PUCHAR BytesOf(std::span<char> bytes) { return reinterpret_cast<PUCHAR>(bytes.data()); }
// Declared as if it could be written to; it is only read.
PUCHAR BytesOf(std::string_view bytes) { return reinterpret_cast<PUCHAR>(const_cast<char*>(bytes.data())); }

Error OpenCbc(Algorithm& out) {
  BCRYPT_ALG_HANDLE handle = nullptr;
  const Error error = OutcomeOf(BCryptOpenAlgorithmProvider(&handle, BCRYPT_AES_ALGORITHM, nullptr, 0));
  if (error.Failed()) return error;
  out.reset(handle);
  std::wstring mode(BCRYPT_CHAIN_MODE_CBC);
  const auto size = static_cast<ULONG>((mode.size() + 1) * sizeof(wchar_t));
  return OutcomeOf(BCryptSetProperty(handle, BCRYPT_CHAINING_MODE, reinterpret_cast<PUCHAR>(mode.data()), size, 0));
}

Error MakeKey(const Algorithm& algorithm, std::string_view key, Key& out) {
  BCRYPT_KEY_HANDLE handle = nullptr;
  const auto size = static_cast<ULONG>(key.size());
  const NTSTATUS status = BCryptGenerateSymmetricKey(algorithm.get(), &handle, nullptr, 0, BytesOf(key), size, 0);
  if (BCRYPT_SUCCESS(status)) out.reset(handle);
  return OutcomeOf(status);
}

class Win32Crypto final : public Crypto {
 public:
  Error RandomBytes(std::span<char> out) override {
    if (out.size() > kMostBytes) return SystemError::kInvalidParameter;
    if (out.empty()) return kSuccess;
    const auto size = static_cast<ULONG>(out.size());
    return OutcomeOf(BCryptGenRandom(nullptr, BytesOf(out), size, BCRYPT_USE_SYSTEM_PREFERRED_RNG));
  }

 private:
  Error Transform(Direction direction, std::string_view key, std::string_view iv, std::span<char> blocks) override {
    Algorithm algorithm;
    Key made;  // goes before the algorithm does
    Error error = OpenCbc(algorithm);
    if (error.Ok()) error = MakeKey(algorithm, key, made);
    if (error.Failed()) return error;
    std::string chain(iv);  // the call leaves the last block there
    const PUCHAR bytes = BytesOf(blocks);
    const auto size = static_cast<ULONG>(blocks.size());
    const auto turn = direction == Direction::Encrypt ? BCryptEncrypt : BCryptDecrypt;
    ULONG done = 0;
    const NTSTATUS status =
        turn(made.get(), bytes, size, nullptr, BytesOf(std::span(chain)), kBlockBytes, bytes, size, &done, 0);
    if (BCRYPT_SUCCESS(status) && done != size) return SystemError::kGeneralFailure;
    return OutcomeOf(status);
  }
};

}  // namespace

Crypto& SystemCrypto() {
  static Win32Crypto crypto;
  return crypto;
}

}  // namespace ovs::os
