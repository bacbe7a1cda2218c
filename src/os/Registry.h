// Port: the registry. Every call returns how it ended: IsNotFound when there is no such key or value, 5 where the
// rights of the key as it was opened do not suffice, others that only a log shows. Native builds have a registry in memory
// (see MemoryRegistry) so that the rest can be tried there.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::os {

// Predefined roots, with the handle values of the platform.
enum class RootKey : std::uint32_t {
  ClassesRoot = 0x80000000,
  CurrentUser = 0x80000001,
  LocalMachine = 0x80000002,
  Users = 0x80000003,
  PerformanceData = 0x80000004,
  CurrentConfig = 0x80000005,
  DynData = 0x80000006,
};

namespace RegAccess {
inline constexpr std::uint32_t kRead = 0x20019;
inline constexpr std::uint32_t kWrite = 0x20006;
inline constexpr std::uint32_t kView64 = 0x100;
inline constexpr std::uint32_t kView32 = 0x200;
}  // namespace RegAccess

namespace RegType {
inline constexpr std::uint32_t kString = 1;
inline constexpr std::uint32_t kExpandString = 2;
inline constexpr std::uint32_t kBinary = 3;
inline constexpr std::uint32_t kDword = 4;
inline constexpr std::uint32_t kMultiString = 7;
}  // namespace RegType

// An open key; closed by its destructor.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;
  // Type and length in bytes of a value; an empty name is the key's default value.
  virtual Error QueryLength(TextView name, std::uint32_t& type, std::uint32_t& bytes) = 0;
  // Type and data, at most `limit` bytes; a failure leaves `data` empty, 234 when there is more. Texts are UTF-16LE as
  // stored, terminators included.
  virtual Error QueryData(TextView name, std::uint32_t limit, std::uint32_t& type, std::string& data) = 0;
  virtual Error SetData(TextView name, std::uint32_t type, std::string_view data) = 0;
  virtual Error DeleteValue(TextView name) = 0;
};

class Registry {
 public:
  virtual ~Registry() = default;
  // `access` is a set of RegAccess bits. A failure leaves `out` null, here and in Create.
  virtual Error Open(RootKey root, TextView key, std::uint32_t access, std::unique_ptr<RegistryKey>& out) = 0;
  // Opens the key, making it and missing parents first.
  virtual Error Create(RootKey root, TextView key, std::uint32_t access, std::unique_ptr<RegistryKey>& out) = 0;
  // Deletes a key without subkeys; one that has some stays (5).
  virtual Error DeleteKey(RootKey root, TextView key, std::uint32_t access) = 0;
};

// The registry of the machine; natively an empty one in memory that lives as long as the program.
Registry& SystemRegistry();

}  // namespace ovs::os
