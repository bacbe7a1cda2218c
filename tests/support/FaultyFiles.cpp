#include "support/FaultyFiles.h"

#include "base/Fold.h"
#include "os/PendingError.h"

namespace ovs::fakes {

namespace {

// An open file of either kind.
template <class Base>
class Opened : public Base {
 public:
  Opened(FaultyFiles& owner, TextView path, std::unique_ptr<Base> inner)
      : owner_(owner), path_(path), inner_(std::move(inner)) {}
  bool Stamp(os::FileStamp& out) override { return Admit() && inner_->Stamp(out); }

 protected:
  [[nodiscard]] bool Admit() { return owner_.Admit(path_); }
  FaultyFiles& owner_;
  Text path_;
  std::unique_ptr<Base> inner_;
};

class FaultyReadFile final : public Opened<os::ReadFile> {
 public:
  using Opened::Opened;
  bool ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    return Admit() && inner_->ReadAt(offset, buffer, got);
  }
};

class FaultyAppendFile final : public Opened<os::AppendFile> {
 public:
  using Opened::Opened;
  bool Append(std::string_view bytes) override { return Admit() && inner_->Append(bytes); }
};

}  // namespace

void FaultyFiles::Heal() {
  badParts_.clear();
  badCalls_.clear();
}

bool FaultyFiles::Admit(TextView path) {
  if (const auto bad = badCalls_.find(++calls_); bad != badCalls_.end()) {
    SetPendingSystemError(bad->second);
    return false;
  }
  for (const auto& [part, number] : badParts_) {
    if (!ContainsFolded(path, part)) continue;
    SetPendingSystemError(number);
    return false;
  }
  return true;
}

std::unique_ptr<os::ReadFile> FaultyFiles::OpenRead(TextView path) {
  if (!Admit(path)) return nullptr;
  auto file = inner_.OpenRead(path);
  return file ? std::make_unique<FaultyReadFile>(*this, path, std::move(file)) : nullptr;
}

std::unique_ptr<os::AppendFile> FaultyFiles::OpenAppend(TextView path) {
  if (!Admit(path)) return nullptr;
  auto file = inner_.OpenAppend(path);
  return file ? std::make_unique<FaultyAppendFile>(*this, path, std::move(file)) : nullptr;
}

bool FaultyFiles::Write(TextView path, std::string_view bytes) {
  if (Admit(path)) return inner_.Write(path, bytes);
  const std::uint32_t number = PendingSystemError();
  if (number == SystemErrorNumber::kDiskFull) inner_.Write(path, bytes.substr(0, bytes.size() / 2));
  SetPendingSystemError(number);
  return false;
}

bool FaultyFiles::Rename(TextView from, TextView to) {
  // One call, whichever of the two paths is bad.
  return Admit(Text(from).append(u"|").append(to)) && inner_.Rename(from, to);
}

}  // namespace ovs::fakes
