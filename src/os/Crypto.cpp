// The part that both ciphers share: checks and padding, so that both give the same answers.
#include "os/Crypto.h"

#include <algorithm>
#include <utility>

#include "base/Wipe.h"

namespace ovs::os {

namespace {

bool AreUsable(std::string_view key, std::string_view iv, std::string_view text) {
  return key.size() == Crypto::kKeyBytes && iv.size() == Crypto::kBlockBytes && text.size() <= Crypto::kMostBytes;
}

// Each pad byte holds the number of pad bytes; there is always at least one.
void AddPadding(std::string& text) {
  const std::size_t count = Crypto::kBlockBytes - text.size() % Crypto::kBlockBytes;
  text.append(count, static_cast<char>(count));
}

bool RemovePadding(std::string& text) {
  const char last = text.back();
  const auto count = static_cast<std::size_t>(static_cast<unsigned char>(last));
  if (count == 0 || count > Crypto::kBlockBytes) return false;
  const auto pad = std::string_view(text).substr(text.size() - count);
  if (!std::ranges::all_of(pad, [last](char byte) { return byte == last; })) return false;
  text.resize(text.size() - count);
  return true;
}

}  // namespace

Error Crypto::Encrypt(std::string_view key, std::string_view iv, std::string_view plain, std::string& cipher) {
  std::string blocks;
  const WipeAtEnd wiped(blocks);
  const bool usable = AreUsable(key, iv, plain);
  if (usable) {
    blocks.reserve(plain.size() + kBlockBytes);
    blocks = plain;
    AddPadding(blocks);
  }
  cipher.clear();
  if (!usable) return SystemError::kInvalidParameter;
  if (const Error error = Transform(Direction::Encrypt, key, iv, blocks); error.Failed()) return error;
  cipher = std::move(blocks);
  return kSuccess;
}

Error Crypto::Decrypt(std::string_view key, std::string_view iv, std::string_view cipher, std::string& plain) {
  const bool usable = AreUsable(key, iv, cipher);
  std::string blocks(usable ? cipher : std::string_view());
  const WipeAtEnd wiped(blocks);
  plain.clear();
  if (!usable) return SystemError::kInvalidParameter;
  if (blocks.empty() || blocks.size() % kBlockBytes != 0) return SystemError::kInvalidData;
  if (const Error error = Transform(Direction::Decrypt, key, iv, blocks); error.Failed()) return error;
  if (!RemovePadding(blocks)) return SystemError::kInvalidData;
  plain = std::move(blocks);
  return kSuccess;
}

}  // namespace ovs::os
