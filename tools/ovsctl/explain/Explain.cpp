// ovsctl explain: what the service would do with a record, rule by rule, and why.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

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

struct ExplainOptions {
  std::string applicationFolder;
  std::string recordsFile;  // empty: the live log
  std::string liveLog;
  std::uint64_t last = 1;    // of the live log
  std::uint64_t record = 0;  // only that one of the file; 0: every one
  std::string rule;          // only that rule; empty: all
  bool all = false;          // not only the first 20 records
  bool json = false;
};

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

// kDone; kFindings when a piece of the file was no record; kFailed when nothing could be explained.
int RunExplain(const ExplainOptions& options) {
  if (options.recordsFile.empty() == options.liveLog.empty()) {
    return Console::Fail("give either a file of records or --live LOG");
  }
  const std::unique_ptr<Installation> installation = Installation::OpenToRead(options.applicationFolder);
  if (!installation) return kFailed;
  Console::ShowDebugEntries();
  return Explaining(*installation, options).Run();
}

}  // namespace

void AddExplainCommand(Program& program) {
  const auto options = std::make_shared<ExplainOptions>();
  CLI::App* const command = AddCommand(
      program,
      {.name = "explain",
       .purpose = "Tell what the service would do with a record and why: for each rule that does not match the first "
                  "condition that failed, then exclusions and the disk check.",
       .examples = "ovsctl explain --app C:\\Orvanta records.jsonl\n"
                   "ovsctl explain exported.xml --record 3 --rule \"Failed logon\"\n"
                   "ovsctl explain --live System --last 5"},
      [options] { return RunExplain(*options); });
  AddAppOption(*command, options->applicationFolder);
  command->add_option("records", options->recordsFile,
                      "File of records: one JSON object a line, or the XML of wevtutil qe LOG /f:RenderedXml");
  command->add_option("--record", options->record, "Only the N-th record of the file")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command->add_flag("--all", options->all, "Every record of the file, not only the first 20");
  command->add_option("--live", options->liveLog, "Take records of this log of the machine (Windows)")->type_name("LOG");
  command->add_option("--last", options->last, "With --live: the newest N records, oldest first (default: 1)")
      ->type_name("N")
      ->check(CLI::Range(1, 100000));
  command->add_option("--rule", options->rule, "Only the rule of this name")->type_name("NAME");
  command->add_flag("--json", options->json, "Print one JSON object a record");
}

}  // namespace ovs
