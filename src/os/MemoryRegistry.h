// A registry in memory: what native builds have in place of the machine's, and what tests fill as they like.
//
// Names of keys and values are found without regard to case and kept as first written. The 32-bit and the 64-bit view
// are one. A value whose key was deleted meanwhile answers 1018. Called from one thread at a time.
#pragma once

#include <memory>

#include "base/Text.h"
#include "os/Registry.h"

namespace ovs {

class MemoryRegistry : public os::Registry {
 public:
  MemoryRegistry();
  ~MemoryRegistry() override;

  os::Error Open(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) override;
  // Open keys may outlive the registry.
  os::Error Create(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) override;
  os::Error DeleteKey(os::RootKey root, TextView key, std::uint32_t access) override;

 private:
  struct Tree;
  std::unique_ptr<Tree> tree_;
};

}  // namespace ovs
