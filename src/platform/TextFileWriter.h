// Writing text files: appends in the encoding a file has, appends without duplicates, and replaces whole.
//
// All that is known of a file (its encoding, the index of its lines) is kept between calls and proven fresh by the file's
// stamp before each use, so that an append reads nothing.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "base/Text.h"
#include "os/Files.h"
#include "platform/FileContent.h"
#include "platform/NoDuplicateIndex.h"

namespace ovs {

struct SaveOutcome {
  bool alreadyThere = false;  // nothing needed to be written
  bool lossless = true;       // false: what the encoding cannot carry was written in another form
  bool cutOff = false;        // half a character at the end of the file gave way
  os::Error error;            // why it failed
};

class TextFileWriter {
 public:
  // `files` must outlive this object. `processId` makes the names of files beside the replaced ones unique.
  TextFileWriter(os::Files& files, std::uint32_t processId) : files_(files), processId_(processId) {}

  SaveOutcome Append(TextView path, TextView text);
  // For the rule see App_FileSystem::SaveTextToFile.
  SaveOutcome AppendNoDuplicates(TextView path, TextView text);
  SaveOutcome Replace(TextView path, TextView text);

 private:
  // The facts about one file as it was at `stamp`.
  struct Known {
    os::FileStamp stamp;
    EncodingFinder encoding;
    std::unique_ptr<NoDuplicateIndex> index;  // only where it was asked for
  };

  // The entry of a file at `stamp`; null when there is no fresh one.
  Known* Fresh(TextView path, const os::FileStamp& stamp);
  // The same, learnt from `file` when there is none.
  os::Error Learn(TextView path, os::ReadFile& file, const os::FileStamp& stamp, Known*& out);
  // The facts that an append in the right encoding needs.
  os::Error KnowForAppend(TextView path, const os::FileStamp& stamp, Known*& out);
  os::Error AppendTo(TextView path, TextView text, SaveOutcome& outcome);
  os::Error IsThere(TextView path, os::ReadFile& file, TextView text, bool& found);
  void Renew(TextView path, std::string_view appended);

  // The service writes two files; the bound is for tools.
  static constexpr std::size_t kMaxKnown = 16;

  os::Files& files_;
  std::uint32_t processId_;
  std::map<Text, Known> known_;  // by folded path
};

}  // namespace ovs
