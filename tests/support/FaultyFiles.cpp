#include "support/FaultyFiles.h"

#include "base/Fold.h"

namespace ovs::fakes {

namespace {

// An open file of either kind.
template <class Base>
class Opened : public Base {
 public:
  Opened(FaultyFiles& owner, TextView path, std::unique_ptr<Base> inner)
      : owner_(owner), path_(path), inner_(std::move(inner)) {}
  os::Error Stamp(os::FileStamp& out) override {
    return owner_.Call(path_, [&] { return inner_->Stamp(out); });
  }

 protected:
  FaultyFiles& owner_;
  Text path_;
  std::unique_ptr<Base> inner_;
};

class FaultyReadFile final : public Opened<os::ReadFile> {
 public:
  using Opened::Opened;
  os::Error ReadAt(std::uint64_t offset, std::span<char> buffer, std::size_t& got) override {
    got = 0;
    return owner_.Call(path_, [&] { return inner_->ReadAt(offset, buffer, got); });
  }
};

class FaultyAppendFile final : public Opened<os::AppendFile> {
 public:
  using Opened::Opened;
  os::Error Append(std::string_view bytes) override {
    return owner_.Call(path_, [&] { return inner_->Append(bytes); });
  }
  os::Error Shorten(std::uint64_t from, std::uint64_t to) override {
    return owner_.Call(path_, [&] { return inner_->Shorten(from, to); });
  }
};

}  // namespace

void FaultyFiles::Heal() {
  badParts_.clear();
  badCalls_.clear();
}

os::Error FaultyFiles::Admit(TextView path) {
  if (onCall) onCall(path);
  if (const auto bad = badCalls_.find(++calls_); bad != badCalls_.end()) return bad->second;
  for (const auto& [part, error] : badParts_) {
    if (ContainsFolded(path, part)) return error;
  }
  return os::kSuccess;
}

os::Error FaultyFiles::OpenRead(TextView path, std::unique_ptr<os::ReadFile>& out) {
  std::unique_ptr<os::ReadFile> file;
  const os::Error error = Call(path, [&] { return inner_.OpenRead(path, file); });
  out = file ? std::make_unique<FaultyReadFile>(*this, path, std::move(file)) : nullptr;
  return error;
}

os::Error FaultyFiles::OpenAppend(TextView path, std::unique_ptr<os::AppendFile>& out) {
  std::unique_ptr<os::AppendFile> file;
  const os::Error error = Call(path, [&] { return inner_.OpenAppend(path, file); });
  out = file ? std::make_unique<FaultyAppendFile>(*this, path, std::move(file)) : nullptr;
  return error;
}

os::Error FaultyFiles::Write(TextView path, std::string_view bytes) {
  const os::Error error = Admit(path);
  if (error.Ok()) return inner_.Write(path, bytes);
  if (error == SystemError::kDiskFull) inner_.Write(path, bytes.substr(0, bytes.size() / 2)).Ignore();
  return error;
}

os::Error FaultyFiles::Rename(TextView from, TextView to) {
  // One call, whichever of the two paths is bad.
  return Call(Text(from).append(u"|").append(to), [&] { return inner_.Rename(from, to); });
}

}  // namespace ovs::fakes
