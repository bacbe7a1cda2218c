#include "platform/TextFileWriter.h"

#include "base/Fold.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

bool IsGrownBy(const os::FileStamp& now, const os::FileStamp& before, std::size_t bytes) {
  return now.volume == before.volume && now.index == before.index && now.size == before.size + bytes;
}

}  // namespace

TextFileWriter::Known* TextFileWriter::Fresh(TextView path, const os::FileStamp& stamp) {
  const auto at = known_.find(Fold(path));
  return at != known_.end() && at->second.stamp == stamp ? &at->second : nullptr;
}

os::Error TextFileWriter::Learn(TextView path, os::ReadFile& file, const os::FileStamp& stamp, Known*& out) {
  out = Fresh(path, stamp);
  if (out) return os::kSuccess;
  const Text key = Fold(path);
  Known learnt;
  learnt.stamp = stamp;
  if (const os::Error error = FindEncoding(file, learnt.encoding); error.Failed()) return error;
  if (!known_.contains(key) && known_.size() >= kMaxKnown) known_.clear();
  out = &known_.insert_or_assign(key, std::move(learnt)).first->second;
  return os::kSuccess;
}

os::Error TextFileWriter::KnowForAppend(TextView path, const os::FileStamp& stamp, Known*& out) {
  out = Fresh(path, stamp);
  if (out) return os::kSuccess;
  std::unique_ptr<os::ReadFile> file;
  const os::Error error = files_.OpenRead(path, file);
  return error.Failed() ? error : Learn(path, *file, stamp, out);
}

SaveOutcome TextFileWriter::Append(TextView path, TextView text) {
  SaveOutcome outcome;
  outcome.error = AppendTo(path, text, outcome);
  // What was not written lost nothing.
  if (outcome.error.Failed()) outcome.lossless = true;
  return outcome;
}

os::Error TextFileWriter::AppendTo(TextView path, TextView text, SaveOutcome& outcome) {
  std::unique_ptr<os::AppendFile> file;
  os::FileStamp before;
  if (const os::Error error = files_.OpenAppend(path, file); error.Failed()) return error;
  if (const os::Error error = file->Stamp(before); error.Failed()) return error;
  Known* known = nullptr;
  if (const os::Error error = KnowForAppend(path, before, known); error.Failed()) return error;
  const FileEncoding encoding = known->encoding.Encoding();
  std::string bytes = EncodeFor(encoding, text, &outcome.lossless);
  if (const std::size_t torn = known->encoding.UnfinishedBytes(); torn != 0) {
    if (const os::Error error = file->Shorten(before.size, before.size - torn); error.Failed()) return error;
    outcome.cutOff = true;
  }
  // A lone last byte would shift every character behind it.
  if (encoding == FileEncoding::Utf16Le && before.size % 2 != 0) bytes.insert(bytes.begin(), '\0');
  if (const os::Error error = file->Append(bytes); error.Failed()) return error;
  // Some systems set a file's times only when it is closed.
  file.reset();
  Renew(path, bytes);
  return os::kSuccess;
}

void TextFileWriter::Renew(TextView path, std::string_view appended) {
  const auto at = known_.find(Fold(path));
  if (at == known_.end()) return;
  Known& known = at->second;
  std::unique_ptr<os::ReadFile> file;
  os::FileStamp now;
  const bool seen = files_.OpenRead(path, file).Ok() && file->Stamp(now).Ok();
  if (!seen || !IsGrownBy(now, known.stamp, appended.size())) {
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

os::Error TextFileWriter::IsThere(TextView path, os::ReadFile& file, TextView text, bool& found) {
  os::FileStamp stamp;
  Known* known = nullptr;
  if (const os::Error error = file.Stamp(stamp); error.Failed()) return error;
  if (const os::Error error = Learn(path, file, stamp, known); error.Failed()) return error;
  const FileEncoding encoding = known->encoding.Encoding();
  if (!known->index) {
    auto index = std::make_unique<NoDuplicateIndex>(encoding);
    if (const os::Error error = index->Build(file); error.Failed()) return error;
    known->index = std::move(index);
  }
  if (text.ends_with(kCrLf)) text.remove_suffix(kCrLf.size());
  bool lossless = true;
  const std::string bytes = EncodeFor(encoding, text, &lossless);
  // Compared is what an earlier call has left in the file.
  return known->index->Contains(file, lossless ? Text(text) : DecodeBytes(bytes, encoding), found);
}

SaveOutcome TextFileWriter::AppendNoDuplicates(TextView path, TextView text) {
  SaveOutcome outcome;
  std::unique_ptr<os::ReadFile> file;
  outcome.error = files_.OpenRead(path, file);
  if (outcome.error.Ok()) outcome.error = IsThere(path, *file, text, outcome.alreadyThere);
  if (!file && outcome.error == SystemError::kFileNotFound) return Append(path, text);
  if (outcome.error.Failed()) return {.error = outcome.error};
  file.reset();
  return outcome.alreadyThere ? outcome : Append(path, text);
}

SaveOutcome TextFileWriter::Replace(TextView path, TextView text) {
  known_.erase(Fold(path));
  SaveOutcome outcome;
  const std::string bytes = EncodeFor(FileEncoding::Utf8, text, &outcome.lossless);
  const Text beside = Text(path) + u"." + NumberText(processId_) + u".new";
  outcome.error = files_.Write(beside, bytes);
  if (outcome.error.Ok()) outcome.error = files_.Rename(beside, path);
  if (outcome.error.Failed()) {
    outcome.lossless = true;
    files_.Delete(beside).Ignore();
  }
  return outcome;
}

}  // namespace ovs
