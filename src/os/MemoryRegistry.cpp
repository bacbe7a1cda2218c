#include "os/MemoryRegistry.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Fold.h"
#include "os/PendingError.h"
#include "os/RegExport.h"

namespace ovs {

namespace {

constexpr std::uint32_t kMayQuery = 0x1;
constexpr std::uint32_t kMaySet = 0x2;
constexpr std::uint32_t kBadPath = 161;
constexpr std::uint32_t kKeyDeleted = 1018;
constexpr std::size_t kLongestKeyName = 255;

std::uint32_t Result(std::uint32_t code) {
  if (code != 0) SetPendingSystemError(code);
  return code;
}

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

  std::uint32_t QueryLength(TextView name, std::uint32_t& type, std::uint32_t& bytes) override {
    const Value* value = nullptr;
    if (const std::uint32_t code = Find(name, value); code != 0) return code;
    type = value->type;
    bytes = static_cast<std::uint32_t>(value->data.size());
    return 0;
  }

  std::uint32_t QueryData(TextView name, std::uint32_t limit, std::uint32_t& type, std::string& data) override {
    data.clear();
    const Value* value = nullptr;
    if (const std::uint32_t code = Find(name, value); code != 0) return code;
    type = value->type;
    if (value->data.size() > limit) return Result(SystemErrorNumber::kMoreData);
    data = value->data;
    return 0;
  }

  std::uint32_t SetData(TextView name, std::uint32_t type, std::string_view data) override {
    if (const std::uint32_t code = Check(kMaySet); code != 0) return code;
    Value& value = node_->values.try_emplace(Fold(name), Value{Text(name), 0, {}}).first->second;
    value.type = type;
    value.data = data;
    return 0;
  }

  std::uint32_t DeleteValue(TextView name) override {
    if (const std::uint32_t code = Check(kMaySet); code != 0) return code;
    return node_->values.erase(Fold(name)) != 0 ? 0 : Result(SystemErrorNumber::kFileNotFound);
  }

 private:
  [[nodiscard]] std::uint32_t Check(std::uint32_t right) const {
    if ((access_ & right) == 0) return Result(SystemErrorNumber::kAccessDenied);
    return node_->deleted ? Result(kKeyDeleted) : 0;
  }

  std::uint32_t Find(TextView name, const Value*& out) const {
    if (const std::uint32_t code = Check(kMayQuery); code != 0) return code;
    const auto found = node_->values.find(Fold(name));
    if (found == node_->values.end()) return Result(SystemErrorNumber::kFileNotFound);
    out = &found->second;
    return 0;
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
  std::uint32_t Find(os::RootKey root, TextView path, bool create, std::shared_ptr<Node>& out,
                     std::shared_ptr<Node>* parent = nullptr) const {
    const auto start = roots.find(root);
    if (start == roots.end()) return Result(SystemErrorNumber::kInvalidHandle);
    const auto names = NamesOf(path);
    if (!names) return Result(kBadPath);
    std::shared_ptr<Node> node = start->second;
    for (const TextView name : *names) {
      if (name.size() > kLongestKeyName) return Result(SystemErrorNumber::kInvalidParameter);
      if (parent != nullptr) *parent = node;
      const Text folded = Fold(name);
      auto child = node->keys.find(folded);
      if (child == node->keys.end()) {
        if (!create) return Result(SystemErrorNumber::kFileNotFound);
        child = node->keys.emplace(folded, std::make_shared<Node>(Node{Text(name), false, {}, {}})).first;
      }
      node = child->second;
    }
    out = node;
    return 0;
  }

  std::uint32_t Delete(os::RootKey root, TextView path, bool withSubkeys) {
    std::shared_ptr<Node> node;
    std::shared_ptr<Node> parent;
    if (const std::uint32_t code = Find(root, path, false, node, &parent); code != 0) return code;
    if (!parent || (!withSubkeys && !node->keys.empty())) return Result(SystemErrorNumber::kAccessDenied);
    MarkDeleted(*node);
    parent->keys.erase(Fold(node->name));
    return 0;
  }
};

MemoryRegistry::MemoryRegistry() : tree_(std::make_unique<Tree>()) {}
MemoryRegistry::~MemoryRegistry() = default;

std::uint32_t MemoryRegistry::Open(os::RootKey root, TextView key, std::uint32_t access,
                                   std::unique_ptr<os::RegistryKey>& out) {
  out.reset();
  std::shared_ptr<Node> node;
  const std::uint32_t code = tree_->Find(root, key, false, node);
  if (code == 0) out = std::make_unique<MemoryKey>(std::move(node), access);
  return code;
}

std::uint32_t MemoryRegistry::Create(os::RootKey root, TextView key, std::uint32_t access,
                                     std::unique_ptr<os::RegistryKey>& out) {
  out.reset();
  std::shared_ptr<Node> node;
  const std::uint32_t code = tree_->Find(root, key, true, node);
  if (code == 0) out = std::make_unique<MemoryKey>(std::move(node), access);
  return code;
}

std::uint32_t MemoryRegistry::DeleteKey(os::RootKey root, TextView key, std::uint32_t /*access*/) {
  return tree_->Delete(root, key, false);
}

bool MemoryRegistry::LoadRegExport(TextView text) {
  // A key that the text deletes may be gone already; a miss is no error of anybody.
  const std::uint32_t pending = PendingSystemError();
  bool good = true;
  const bool parsed = ParseRegExport(text, [&](const RegExportEntry& entry) {
    using Action = RegExportEntry::Action;
    if (entry.action == Action::DeleteKey) {
      const std::uint32_t code = tree_->Delete(entry.root, entry.key, true);
      good = good && (code == 0 || code == SystemErrorNumber::kFileNotFound);
      return;
    }
    std::unique_ptr<os::RegistryKey> key;
    std::uint32_t code = Create(entry.root, entry.key, os::RegAccess::kWrite, key);
    if (key && entry.action == Action::SetValue) code = key->SetData(entry.name, entry.type, entry.data);
    if (key && entry.action == Action::DeleteValue) key->DeleteValue(entry.name);
    good = good && code == 0;
  });
  SetPendingSystemError(pending);
  return parsed && good;
}

}  // namespace ovs
