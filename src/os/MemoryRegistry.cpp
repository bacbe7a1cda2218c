#include "os/MemoryRegistry.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Fold.h"

namespace ovs {

namespace {

constexpr std::uint32_t kMayQuery = 0x1;
constexpr std::uint32_t kMaySet = 0x2;
constexpr os::Error kBadPath{161};
constexpr os::Error kKeyDeleted{1018};
constexpr std::size_t kLongestKeyName = 255;

struct Value {
  Text name;
  std::uint32_t type = 0;
  std::string data;
};

// Keys and values are found by their folded names.
struct Node {
  Text name;
  bool deleted = false;
  std::map<Text, std::shared_ptr<Node>> keys;
  std::map<Text, Value> values;
};

void MarkDeleted(Node& node) {
  node.deleted = true;
  for (const auto& [name, child] : node.keys) MarkDeleted(*child);
}

// The names of a key's path; none when it begins with "\". A "\" at its end does not count.
std::optional<std::vector<TextView>> NamesOf(TextView path) {
  std::vector<TextView> names;
  if (path.starts_with(u'\\')) return std::nullopt;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    if (end > 0) names.push_back(path.substr(0, end));
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return names;
}

class MemoryKey : public os::RegistryKey {
 public:
  MemoryKey(std::shared_ptr<Node> node, std::uint32_t access) : node_(std::move(node)), access_(access) {}

  os::Error QueryLength(TextView name, std::uint32_t& type, std::uint32_t& bytes) override {
    const Value* value = nullptr;
    if (const os::Error error = Find(name, value); error.Failed()) return error;
    type = value->type;
    bytes = static_cast<std::uint32_t>(value->data.size());
    return os::kSuccess;
  }

  os::Error QueryData(TextView name, std::uint32_t limit, std::uint32_t& type, std::string& data) override {
    data.clear();
    const Value* value = nullptr;
    if (const os::Error error = Find(name, value); error.Failed()) return error;
    type = value->type;
    if (value->data.size() > limit) return SystemError::kMoreData;
    data = value->data;
    return os::kSuccess;
  }

  os::Error SetData(TextView name, std::uint32_t type, std::string_view data) override {
    if (const os::Error error = Check(kMaySet); error.Failed()) return error;
    Value& value = node_->values.try_emplace(Fold(name), Value{Text(name), 0, {}}).first->second;
    value.type = type;
    value.data = data;
    return os::kSuccess;
  }

  os::Error DeleteValue(TextView name) override {
    if (const os::Error error = Check(kMaySet); error.Failed()) return error;
    return node_->values.erase(Fold(name)) != 0 ? os::kSuccess : SystemError::kFileNotFound;
  }

 private:
  os::Error Check(std::uint32_t right) const {
    if ((access_ & right) == 0) return SystemError::kAccessDenied;
    return node_->deleted ? kKeyDeleted : os::kSuccess;
  }

  os::Error Find(TextView name, const Value*& out) const {
    if (const os::Error error = Check(kMayQuery); error.Failed()) return error;
    const auto found = node_->values.find(Fold(name));
    if (found == node_->values.end()) return SystemError::kFileNotFound;
    out = &found->second;
    return os::kSuccess;
  }

  std::shared_ptr<Node> node_;
  std::uint32_t access_;
};

}  // namespace

struct MemoryRegistry::Tree {
  std::map<os::RootKey, std::shared_ptr<Node>> roots;

  Tree() {
    for (auto value = static_cast<std::uint32_t>(os::RootKey::ClassesRoot);
         value <= static_cast<std::uint32_t>(os::RootKey::DynData); ++value) {
      roots[static_cast<os::RootKey>(value)] = std::make_shared<Node>();
    }
  }

  // Follows the path, making what is missing with `create`. `parent`, when given, gets the key above.
  os::Error Find(os::RootKey root, TextView path, bool create, std::shared_ptr<Node>& out,
                 std::shared_ptr<Node>* parent = nullptr) const {
    const auto start = roots.find(root);
    if (start == roots.end()) return SystemError::kInvalidHandle;
    const auto names = NamesOf(path);
    if (!names) return kBadPath;
    std::shared_ptr<Node> node = start->second;
    for (const TextView name : *names) {
      if (name.size() > kLongestKeyName) return SystemError::kInvalidParameter;
      if (parent != nullptr) *parent = node;
      const Text folded = Fold(name);
      auto child = node->keys.find(folded);
      if (child == node->keys.end()) {
        if (!create) return SystemError::kFileNotFound;
        child = node->keys.emplace(folded, std::make_shared<Node>(Node{Text(name), false, {}, {}})).first;
      }
      node = child->second;
    }
    out = node;
    return os::kSuccess;
  }

  os::Error Delete(os::RootKey root, TextView path) {
    std::shared_ptr<Node> node;
    std::shared_ptr<Node> parent;
    if (const os::Error error = Find(root, path, false, node, &parent); error.Failed()) return error;
    if (!parent || !node->keys.empty()) return SystemError::kAccessDenied;
    MarkDeleted(*node);
    parent->keys.erase(Fold(node->name));
    return os::kSuccess;
  }
};

MemoryRegistry::MemoryRegistry() : tree_(std::make_unique<Tree>()) {}
MemoryRegistry::~MemoryRegistry() = default;

os::Error MemoryRegistry::Open(os::RootKey root, TextView key, std::uint32_t access, std::unique_ptr<os::RegistryKey>& out) {
  out.reset();
  std::shared_ptr<Node> node;
  const os::Error error = tree_->Find(root, key, false, node);
  if (error.Ok()) out = std::make_unique<MemoryKey>(std::move(node), access);
  return error;
}

os::Error MemoryRegistry::Create(os::RootKey root, TextView key, std::uint32_t access,
                                 std::unique_ptr<os::RegistryKey>& out) {
  out.reset();
  std::shared_ptr<Node> node;
  const os::Error error = tree_->Find(root, key, true, node);
  if (error.Ok()) out = std::make_unique<MemoryKey>(std::move(node), access);
  return error;
}

os::Error MemoryRegistry::DeleteKey(os::RootKey root, TextView key, std::uint32_t /*access*/) {
  return tree_->Delete(root, key);
}

}  // namespace ovs
