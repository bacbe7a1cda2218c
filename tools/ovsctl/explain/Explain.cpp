#include "ovsctl/explain/Explain.h"

#include <optional>

#include "base/Encoding.h"
#include "events/EventRecord.h"
#include "events/files/Records.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Installation.h"
#include "ovsctl/explain/ExplainReport.h"
#include "ovsctl/live/LiveFailure.h"

namespace ovs {

namespace {

constexpr std::uint64_t kMostUnlessAll = 20;

class Explaining {
 public:
  Explaining(Installation& installation, const ExplainOptions& options)
      : installation_(installation),
        options_(options),
        explainer_({.fileSystem = installation.FileSystem(),
                    .ini = installation.Ini(),
                    .clock = installation.Machine().clock,
                    .watcher = installation.Machine().folderWatcher},
                   installation.Settings(), FromUtf8(options.rule)) {}

  int Run() {
    if (explainer_.RuleCount() == 0 && !options_.rule.empty()) {
      return Console::Fail("no rule is named " + options_.rule + "; rules are the files *.DAT in " +
                           Console::Shown(installation_.Settings().rulesFolder));
    }
    return options_.recordsFile.empty() ? RunLive() : RunFile();
  }

 private:
  int RunLive() {
    const LiveQuery query{.log = FromUtf8(options_.liveLog), .since = {}, .most = options_.last};
    ReadLive(query, Sink());
    if (number_ == 0) return Console::Fail("there is no record in the log " + options_.liveLog);
    return kDone;
  }

  int RunFile() {
    const std::optional<Text> path = TypedPath(options_.recordsFile);
    if (!path) return kFailed;
    const RecordReadResult read = ReadRecords(installation_.FileSystem().Files(), *path, Sink());
    if (!read.opened) return Console::Fail("cannot open " + options_.recordsFile, read.error);
    if (!read.complete) return Console::Fail("cannot read " + options_.recordsFile + " to its end", read.error);
    if (shown_ == 0) {
      const std::string count = std::to_string(read.records);
      return Console::Fail("the file has " + (read.records == 0 ? "no record" : "only " + count + " records"));
    }
    if (IsCutShort()) {
      Console::Say("There are more records than these " + std::to_string(kMostUnlessAll) +
                   "; --all explains every one, --record N only the N-th.");
    }
    return read.bad == 0 ? kDone : kFindings;
  }

  RecordSink Sink() {
    RecordSink sink;
    sink.onRecord = [this](const RawRecord& raw) { Take(raw); };
    sink.onBad = [this](const std::string& place, const std::string& reason) { SayBad(place, reason); };
    sink.onNote = [](const std::string& note) { Console::Say("ovsctl: " + note); };
    sink.isEnough = [this] { return IsCutShort() || (options_.record != 0 && number_ >= options_.record); };
    return sink;
  }

  void SayBad(const std::string& place, const std::string& reason) {
    constexpr std::uint64_t kMostSaid = 20;
    if (++bad_ <= kMostSaid) Console::Say("ovsctl: " + options_.recordsFile + ", " + place + ": " + reason + "; skipped");
    if (bad_ == kMostSaid) Console::Say("ovsctl: further pieces that are no records are skipped without a word");
  }

  // One record more than is shown has been seen.
  [[nodiscard]] bool IsCutShort() const { return HasLimit() && number_ > kMostUnlessAll; }
  [[nodiscard]] bool HasLimit() const { return !options_.all && options_.record == 0 && !options_.recordsFile.empty(); }

  void Take(const RawRecord& raw) {
    ++number_;
    if ((options_.record != 0 && number_ != options_.record) || IsCutShort()) return;
    const EventRecord record = ToEventRecord(raw);
    const Explanation explanation = explainer_.Explain(record);
    const Text timeText = RecordTimeText(installation_.Time(), record.timeGenerated, installation_.Settings().display);
    const ExplainedRecord explained{number_, record, timeText, explanation};
    if (options_.json) {
      Console::Print(ExplanationJson(explained));
    } else {
      Console::Print((shown_ == 0 ? "" : "\n") + ExplanationText(explained));
    }
    ++shown_;
  }

  Installation& installation_;
  const ExplainOptions& options_;
  Explainer explainer_;
  std::uint64_t number_ = 0;  // records seen
  std::uint64_t shown_ = 0;
  std::uint64_t bad_ = 0;
};

}  // namespace

int RunExplain(const ExplainOptions& options) {
  if (options.recordsFile.empty() == options.liveLog.empty()) {
    return Console::Fail("give either a file of records or --live LOG");
  }
  const std::unique_ptr<Installation> installation = Installation::Open(options.applicationFolder);
  if (!installation) return kFailed;
  Console::ShowDebugEntries();
  return Explaining(*installation, options).Run();
}

}  // namespace ovs
