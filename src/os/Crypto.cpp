// The part that both ciphers share: checks and padding, so that both give the same answers.
#include "os/Crypto.h"

#include <algorithm>
#include <utility>

#include "base/Wipe.h"
#include "os/PendingError.h"

namespace ovs::os {

namespace {

bool Refuse(std::uint32_t number) {
  SetPendingSystemError(number);
  return false;
}

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

bool Crypto::Encrypt(std::string_view key, std::string_view iv, std::string_view plain, std::string& cipher) {
  std::string blocks;
  const WipeAtEnd wiped(blocks);
  const bool usable = AreUsable(key, iv, plain);
  if (usable) {
    blocks.reserve(plain.size() + kBlockBytes);
    blocks = plain;
    AddPadding(blocks);
  }
  cipher.clear();
  if (!usable) return Refuse(SystemErrorNumber::kInvalidParameter);
  if (!Transform(Direction::Encrypt, key, iv, blocks)) return false;
  cipher = std::move(blocks);
  return true;
}

bool Crypto::Decrypt(std::string_view key, std::string_view iv, std::string_view cipher, std::string& plain) {
  const bool usable = AreUsable(key, iv, cipher);
  std::string blocks(usable ? cipher : std::string_view());
  const WipeAtEnd wiped(blocks);
  plain.clear();
  if (!usable) return Refuse(SystemErrorNumber::kInvalidParameter);
  if (blocks.empty() || blocks.size() % kBlockBytes != 0) return Refuse(SystemErrorNumber::kInvalidData);
  if (!Transform(Direction::Decrypt, key, iv, blocks)) return false;
  if (!RemovePadding(blocks)) return Refuse(SystemErrorNumber::kInvalidData);
  plain = std::move(blocks);
  return true;
}

}  // namespace ovs::os
