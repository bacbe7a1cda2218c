#include "diag/ProcSpool.h"

#include <algorithm>
#include <queue>
#include <span>
#include <type_traits>

namespace ovs {

namespace {

constexpr std::size_t kWriteSize = std::size_t{64} * 1024;
constexpr std::size_t kWindowSize = std::size_t{256} * 1024;
constexpr std::size_t kEntriesAtOnce = 128;
constexpr std::uint32_t kTriesSkipped = 256;

bool ReadAll(os::ReadFile& file, std::uint64_t offset, std::span<char> buffer) {
  while (!buffer.empty()) {
    std::size_t got = 0;
    if (file.ReadAt(offset, buffer, got).Failed() || got == 0) return false;
    offset += got;
    buffer = buffer.subspan(got);
  }
  return true;
}

}  // namespace

// Delivers the index entries of all runs in order. Each run is sorted, so the least entry of all is the least of the runs'
// next ones, which the heap holds; no more than kEntriesAtOnce of a run are in memory. The last run was never written: it
// comes from memory, and so it is there even when the file cannot be read.
class ProcSpool::Merge {
 public:
  Merge(os::ReadFile* file, const std::vector<Run>& runs, std::vector<Entry> last) : file_(file) {
    for (const Run& run : runs) sources_.push_back({run, {}, 0});
    sources_.push_back({{0, 0}, std::move(last), 0});
    for (std::size_t source = 0; source < sources_.size(); ++source) Offer(source);
  }

  bool Next(Entry& out) {
    if (heads_.empty()) return false;
    const std::size_t source = heads_.top().second;
    out = heads_.top().first;
    heads_.pop();
    Offer(source);
    return true;
  }
  [[nodiscard]] bool Failed() const { return failed_; }

 private:
  struct Source {
    Run rest;  // what is still on disk
    std::vector<Entry> held;
    std::size_t next;
  };
  using Head = std::pair<Entry, std::size_t>;
  struct Later {
    bool operator()(const Head& a, const Head& b) const { return a.first.Key() > b.first.Key(); }
  };

  void Offer(std::size_t index) {
    Source& source = sources_[index];
    if (source.next == source.held.size() && !Refill(source)) return;
    heads_.push({source.held[source.next++], index});
  }

  bool Refill(Source& source) {
    if (source.rest.count == 0 || file_ == nullptr) return false;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(source.rest.count, kEntriesAtOnce));
    source.held.resize(count);
    source.next = 0;
    const std::span<char> bytes(reinterpret_cast<char*>(source.held.data()), count * sizeof(Entry));
    if (!ReadAll(*file_, source.rest.offset, bytes)) {
      failed_ = true;
      source.rest.count = 0;
      source.held.clear();
      return false;
    }
    source.rest.offset += bytes.size();
    source.rest.count -= count;
    return true;
  }

  os::ReadFile* file_;
  std::vector<Source> sources_;
  std::priority_queue<Head, std::vector<Head>, Later> heads_;
  bool failed_ = false;
};

// Blocks that follow each other in ID order lie near each other in the file: a window spares most reads.
class ProcSpool::BlockReader {
 public:
  BlockReader(os::ReadFile* file, std::uint64_t fileSize, std::string_view tail)
      : file_(file), fileSize_(fileSize), tail_(tail) {}

  bool Read(const Entry& entry, std::string_view& out) {
    if (entry.offset >= fileSize_) {
      out = tail_.substr(static_cast<std::size_t>(entry.offset - fileSize_), entry.length);
      return true;
    }
    const bool inWindow = entry.offset >= start_ && entry.offset + entry.length <= start_ + window_.size();
    if (!inWindow && !Load(entry)) return false;
    out = std::string_view(window_).substr(static_cast<std::size_t>(entry.offset - start_), entry.length);
    return true;
  }

 private:
  bool Load(const Entry& entry) {
    start_ = entry.offset > kWindowSize / 2 ? entry.offset - kWindowSize / 2 : 0;
    const std::uint64_t end = std::max<std::uint64_t>(entry.offset + entry.length, start_ + kWindowSize);
    window_.resize(static_cast<std::size_t>(std::min(end, fileSize_) - start_));
    if (file_ != nullptr && ReadAll(*file_, start_, window_)) return true;
    window_.clear();
    return false;
  }

  os::ReadFile* file_;
  std::uint64_t fileSize_;
  std::string_view tail_;
  std::uint64_t start_ = 0;
  std::string window_;
};

ProcSpool::~ProcSpool() = default;

void ProcSpool::SetPath(TextView path) {
  if (file_ != nullptr) return;
  path_ = path;
  triesToSkip_ = 0;
}

// A block's place is fixed before it is on disk: bytes that wait follow the written ones without a gap. That is why a failed
// append may not move `written_`, and why nothing but waiting bytes may be written before them.
void ProcSpool::Add(const Block& block, std::string_view utf8) {
  if (waiting_.size() + utf8.size() > kMostWaiting && !Flush()) {
    ++lost_;
    return;
  }
  entries_.push_back(
      {block.id, block.part, written_ + waiting_.size(), static_cast<std::uint32_t>(utf8.size()), block.problem ? 1U : 0U});
  waiting_.append(utf8);
  if (waiting_.size() >= kWriteSize) Flush();
  if (entries_.size() >= runLength_) WriteRun();
}

bool ProcSpool::OpenFile() {
  if (file_ != nullptr) return true;
  if (files_ == nullptr || path_.empty()) return false;
  // A file that an earlier run left behind is emptied first.
  os::Error error = files_->Write(path_, {});
  if (error.IsNotFound() && files_->MakeSureDirectoryPathExists(path_.substr(0, path_.rfind(u'\\') + 1)).Ok()) {
    error = files_->Write(path_, {});
  }
  return error.Ok() && files_->OpenAppend(path_, file_).Ok();
}

bool ProcSpool::WriteBytes(std::string_view bytes) {
  if (file_->Append(bytes).Failed()) return false;
  written_ += bytes.size();
  return true;
}

// A file that refuses is tried again after kTriesSkipped more blocks only: each try may cost milliseconds, and the traced
// procedures wait for it.
bool ProcSpool::Flush() {
  if (triesToSkip_ > 0) {
    --triesToSkip_;
    return false;
  }
  if (!OpenFile() || !WriteBytes(waiting_)) {
    triesToSkip_ = kTriesSkipped;
    return false;
  }
  waiting_.clear();
  return true;
}

// The run is written behind all waiting bytes. When either append fails the entries stay and the run is written, larger,
// with one of the next blocks. The file is private to this process, so entries are written as they are in memory.
void ProcSpool::WriteRun() {
  static_assert(std::is_trivially_copyable_v<Entry>);
  if (!Flush()) return;
  std::ranges::sort(entries_, {}, &Entry::Key);
  const std::uint64_t offset = written_;
  if (!WriteBytes({reinterpret_cast<const char*>(entries_.data()), entries_.size() * sizeof(Entry)})) return;
  runs_.push_back({offset, entries_.size()});
  entries_.clear();
}

bool ProcSpool::ForEach(const Visitor& visit) {
  std::unique_ptr<os::ReadFile> file;
  if (file_ != nullptr) files_->OpenRead(path_, file).Ignore();
  std::vector<Entry> last = entries_;
  std::ranges::sort(last, {}, &Entry::Key);
  Merge merge(file.get(), runs_, std::move(last));
  BlockReader reader(file.get(), written_, waiting_);
  bool complete = runs_.empty() || file != nullptr;
  Entry entry{};
  while (merge.Next(entry)) {
    std::string_view text;
    if (reader.Read(entry, text)) {
      visit({entry.id, entry.part, entry.problem != 0}, text);
    } else {
      complete = false;
    }
  }
  return complete && !merge.Failed();
}

void ProcSpool::Remove() {
  if (file_ != nullptr) {
    file_.reset();
    files_->Delete(path_).Ignore();
  }
  waiting_.clear();
  waiting_.shrink_to_fit();
  entries_.clear();
  entries_.shrink_to_fit();
  runs_.clear();
  written_ = lost_ = 0;
}

}  // namespace ovs
