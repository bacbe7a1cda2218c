#include "platform/TextFileWriter.h"

#include "base/Fold.h"
#include "base/Numbers.h"
#include "os/PendingError.h"

namespace ovs {

namespace {

SaveOutcome Failed() {
  SaveOutcome outcome;
  outcome.systemError = TakePendingSystemError();
  return outcome;
}

bool IsGrownBy(const os::FileStamp& now, const os::FileStamp& before, std::size_t bytes) {
  return now.volume == before.volume && now.index == before.index && now.size == before.size + bytes;
}

}  // namespace

TextFileWriter::Known* TextFileWriter::Knowledge(TextView path, os::ReadFile& file, const os::FileStamp& stamp) {
  const Text key = Fold(path);
  const auto at = known_.find(key);
  if (at != known_.end() && at->second.stamp == stamp) return &at->second;
  Known learnt;
  learnt.stamp = stamp;
  if (!FindEncoding(file, learnt.encoding)) return nullptr;
  if (at == known_.end() && known_.size() >= kMaxKnown) known_.clear();
  return &known_.insert_or_assign(key, std::move(learnt)).first->second;
}

TextFileWriter::Known* TextFileWriter::KnowledgeForAppend(TextView path, const os::FileStamp& stamp) {
  const auto at = known_.find(Fold(path));
  if (at != known_.end() && at->second.stamp == stamp) return &at->second;
  const std::unique_ptr<os::ReadFile> file = files_.OpenRead(path);
  return file ? Knowledge(path, *file, stamp) : nullptr;
}

SaveOutcome TextFileWriter::Append(TextView path, TextView text) {
  std::unique_ptr<os::AppendFile> file = files_.OpenAppend(path);
  os::FileStamp before;
  if (!file || !file->Stamp(before)) return Failed();
  const Known* known = KnowledgeForAppend(path, before);
  if (!known) return Failed();
  SaveOutcome outcome;
  const FileEncoding encoding = known->encoding.Encoding();
  std::string bytes = EncodeFor(encoding, text, &outcome.lossless);
  // A lone last byte would shift every character behind it.
  if (encoding == FileEncoding::Utf16Le && before.size % 2 != 0) bytes.insert(bytes.begin(), '\0');
  if (!file->Append(bytes)) return Failed();
  outcome.ok = true;
  // Some systems set a file's times only when it is closed.
  file.reset();
  Renew(path, bytes);
  return outcome;
}

void TextFileWriter::Renew(TextView path, std::string_view appended) {
  const auto at = known_.find(Fold(path));
  if (at == known_.end()) return;
  Known& known = at->second;
  const std::unique_ptr<os::ReadFile> file = files_.OpenRead(path);
  os::FileStamp now;
  if (!file || !file->Stamp(now) || !IsGrownBy(now, known.stamp, appended.size())) {
    TakePendingSystemError();
    known_.erase(at);
    return;
  }
  const FileEncoding encoding = known.encoding.Encoding();
  known.encoding.Feed(appended);
  known.stamp = now;
  // A broken last character may have become a whole one: the file then reads as another encoding.
  const bool sameEncoding = known.encoding.Encoding() == encoding;
  if (known.index && (!sameEncoding || !known.index->Feed(appended))) known.index.reset();
}

bool TextFileWriter::IsThere(TextView path, os::ReadFile& file, TextView text, bool& found) {
  os::FileStamp stamp;
  if (!file.Stamp(stamp)) return false;
  Known* known = Knowledge(path, file, stamp);
  if (!known) return false;
  const FileEncoding encoding = known->encoding.Encoding();
  if (!known->index) {
    auto index = std::make_unique<NoDuplicateIndex>(encoding);
    if (!index->Build(file)) return false;
    known->index = std::move(index);
  }
  if (text.ends_with(kCrLf)) text.remove_suffix(kCrLf.size());
  bool lossless = true;
  const std::string bytes = EncodeFor(encoding, text, &lossless);
  // Compared is what an earlier call has left in the file.
  return known->index->Contains(file, lossless ? Text(text) : DecodeBytes(bytes, encoding), found);
}

SaveOutcome TextFileWriter::AppendNoDuplicates(TextView path, TextView text) {
  if (const std::unique_ptr<os::ReadFile> file = files_.OpenRead(path)) {
    SaveOutcome outcome;
    if (!IsThere(path, *file, text, outcome.alreadyThere)) return Failed();
    outcome.ok = outcome.alreadyThere;
    if (outcome.ok) return outcome;
  } else {
    const SaveOutcome outcome = Failed();
    if (outcome.systemError != SystemErrorNumber::kFileNotFound) return outcome;
  }
  return Append(path, text);
}

SaveOutcome TextFileWriter::Replace(TextView path, TextView text) {
  known_.erase(Fold(path));
  SaveOutcome outcome;
  const std::string bytes = EncodeFor(FileEncoding::Utf8, text, &outcome.lossless);
  const Text beside = Text(path) + u"." + NumberText(processId_) + u".new";
  if (!files_.Write(beside, bytes) || !files_.Rename(beside, path)) {
    outcome = Failed();
    files_.Delete(beside);
    TakePendingSystemError();
    return outcome;
  }
  outcome.ok = true;
  return outcome;
}

}  // namespace ovs
