#include "ovsctl/replay/Replay.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "diag/App_Debug.h"
#include "events/files/Records.h"
#include "monitor/AlertSink.h"
#include "monitor/EventLogFiles.h"
#include "monitor/modFilterEvents.h"
#include "ovsctl/cli/Commands.h"
#include "ovsctl/cli/Console.h"
#include "ovsctl/cli/Progress.h"
#include "ovsctl/live/LiveFailure.h"
#include "ovsctl/mail/ServiceMail.h"
#include "ovsctl/os/Terminal.h"
#include "ovsctl/replay/ReplayReport.h"

namespace ovs {

namespace {

// Says each thing once. While it lives, the errors that the service's code meets are said as well.
class Notes {
 public:
  Notes() {
    Diagnostics().SetEntryListener([this](TextView entry, EventType type) {
      if (IsErrorType(type)) TakeError(entry);
    });
  }
  ~Notes() { Diagnostics().SetEntryListener({}); }
  Notes(const Notes&) = delete;
  Notes& operator=(const Notes&) = delete;

  void Say(TextView note) {
    if (IsNew(note)) Console::Say("ovsctl: " + Console::Shown(note));
  }
  void Say(const std::vector<FileProblem>& problems) {
    for (const FileProblem& each : problems) Say(each.Sentence());
  }

 private:
  bool IsNew(TextView note) {
    constexpr std::size_t kMostKnown = 10'000;
    if (known_.size() >= kMostKnown) known_.clear();
    return known_.emplace(note).second;
  }

  // The first two lines of an entry tell when and where it was made.
  void TakeError(TextView entry) {
    const std::size_t where = entry.find(kCrLf);
    const std::size_t what = entry.find(kCrLf, where == TextView::npos ? where : where + kCrLf.size());
    if (!IsNew(what == TextView::npos ? entry : entry.substr(what))) return;
    std::string shown;
    for (const Text& line : App_Strings::Split(entry, kCrLf)) shown += Console::Shown(line) + "\n";
    Console::Say(shown);
  }

  std::unordered_set<Text> known_;
};

// Takes the alerts that the rule engine hands to e-mail, and sends them when told to.
class ReplayMailer final : public AlertMailer {
 public:
  ReplayMailer(ReplayStatistics& statistics, ServiceMail& mail, Notes& notes, bool send)
      : statistics_(statistics), mail_(mail), notes_(notes), send_(send) {}

  Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) override {
    statistics_.AlertMailed();
    if (!send_) return {};
    mail_.Module().SendEventsEmail(subject, body, attachmentPath);
    for (const MailOutcome& each : mail_.TakeOutcomes()) {
      ++(each.sent ? sent_ : notSent_);
      if (!each.sent) notes_.Say(u"no mail to " + each.to + u": " + each.reason);
    }
    return {};
  }

  [[nodiscard]] std::uint64_t Sent() const { return sent_; }
  [[nodiscard]] std::uint64_t NotSent() const { return notSent_; }

 private:
  ReplayStatistics& statistics_;
  ServiceMail& mail_;
  Notes& notes_;
  bool send_;
  std::uint64_t sent_ = 0;
  std::uint64_t notSent_ = 0;
};

// The input that was typed, made ready.
struct Input {
  Text file;
  LiveQuery query;
  Text page;
};

std::optional<Input> InputOf(const ReplayOptions& options) {
  Input input;
  if (options.live != options.recordsFile.empty()) {
    static_cast<void>(Console::Fail("name either a file of records or --live"));
    return std::nullopt;
  }
  if (!options.since.empty()) {
    input.query.since = DurationSeconds(options.since);
    if (!input.query.since) {
      static_cast<void>(Console::Fail("--since needs a time such as 12h, 30d or 4w"));
      return std::nullopt;
    }
  }
  if (!options.log.empty()) input.query.log = FromUtf8(options.log);
  for (const auto& [typed, path] : {std::pair{&options.recordsFile, &input.file}, {&options.htmlFile, &input.page}}) {
    if (typed->empty()) continue;
    std::optional<Text> full = TypedPath(*typed);
    if (!full) return std::nullopt;
    *path = std::move(*full);
  }
  return input;
}

// False when nothing may be sent; the reason was said.
bool MaySend(const ReplayOptions& options, Installation& installation, ServiceMail& mail) {
  const std::vector<modEmailSvc::Copy> copies = mail.Module().AlertCopies();
  if (!IsOn(MonitorSwitch::EventEmails, installation.Ini(), installation.Settings()) || copies.empty()) {
    static_cast<void>(Console::Fail("with these settings no alert is mailed; run without --send-mails to see why"));
    return false;
  }
  if (options.yes) return true;
  if (!os::IsTerminal(os::Stream::Messages)) {
    static_cast<void>(Console::Fail("nobody can be asked here; give --yes to send the mails without asking"));
    return false;
  }
  for (const modEmailSvc::Copy& copy : copies) Console::Say("Each alert is mailed to " + Console::Shown(copy.to) + ".");
  Console::Say("There can be thousands; without --send-mails the number is told. Type \"yes\" to send them:");
  std::string answer;
  if (std::getline(std::cin, answer) && (answer == "yes" || answer == "yes\r")) return true;
  static_cast<void>(Console::Fail("nothing was sent"));
  return false;
}

// The records on their way through the rule engine.
class Run {
 public:
  Run(const ReplayOptions& options, Installation& installation, ServiceMail& mail, Notes& notes)
      : options_(options),
        installation_(installation),
        mail_(mail),
        files_(installation.FileSystem(), installation.Machine().clock, installation.Settings()),
        statistics_(options.writeLogs ? &files_ : nullptr),
        mailer_(statistics_, mail, notes, options.sendMails),
        action_(installation.Ini(), mailer_, installation.Settings()),
        alerts_({action_, statistics_}),
        filter_({.fileSystem = installation.FileSystem(),
                 .ini = installation.Ini(),
                 .time = installation.Time(),
                 .clock = installation.Machine().clock,
                 .watcher = installation.Machine().folderWatcher,
                 .alerts = alerts_},
                installation.Settings()) {}

  // False when there was nothing to read from, which was said.
  bool Read(const Input& input) {
    Progress progress("records");
    const RecordSink sink{
        .onRecord = [&](const RawRecord& raw) { Take(raw, progress); },
        .onBad =
            [&](const std::string& place, const std::string& reason) {
              Console::Say("ovsctl: " + options_.recordsFile + ", " + place + ": " + reason + "; skipped");
            },
        .onProgress = [&](std::uint64_t done, std::uint64_t total) { progress.Update(done, total, statistics_.Records()); },
        .onNote = [](const std::string& note) { Console::Say("ovsctl: " + note); }};
    if (options_.live) {
      result_ = {.opened = true, .complete = true, .error = {}, .records = ReadLive(input.query, sink), .bad = 0};
      return true;
    }
    result_ = ReadRecords(installation_.FileSystem().Files(), input.file, sink);
    if (!result_.opened) {
      static_cast<void>(Console::Fail("cannot open " + options_.recordsFile, result_.error));
    } else if (!result_.complete) {
      static_cast<void>(Console::Fail("cannot read " + options_.recordsFile + " to its end", result_.error));
    }
    return result_.opened;
  }

  [[nodiscard]] std::vector<FileProblem> Problems() { return filter_.Problems(); }

  [[nodiscard]] ReplayReport Report() {
    return MakeReplayReport(
        statistics_,
        {.recordsFrom = options_.live ? Text(u"the event logs of this machine") : FromUtf8(options_.recordsFile),
         .bad = result_.bad,
         .complete = result_.complete,
         .stopPhrases = filter_.StopPhrases(),
         .ruleNames = filter_.RuleNames(),
         .diskCheckOn = filter_.DiskEventsOn(),
         .mailsOfAlert = mail_.Module().AlertCopies()},
        installation_);
  }

  [[nodiscard]] int ExitCode() const {
    if (!result_.complete || files_.Unwritten() != 0) return kFailed;
    return result_.bad == 0 && mailer_.NotSent() == 0 ? kDone : kFindings;
  }

  // The last try to write the logs.
  void FinishLogs() {
    files_.Finish();
    if (files_.Unwritten() == 0) return;
    static_cast<void>(Console::Fail(Counted(files_.Unwritten(), "log entry", "log entries") + " could not be written"));
  }

  void SayWhatWasSent() const {
    if (!options_.sendMails) return;
    Console::Say(Counted(mailer_.Sent(), "mail was", "mails were") + " taken by the mail server, " +
                 std::to_string(mailer_.NotSent()) + " not.");
  }

  // The speed of matching alone: records come from memory.
  void Measure() {
    const std::uint64_t start = installation_.Machine().clock.Milliseconds();
    for (int round = 0; round < options_.repeat; ++round) {
      for (const EventRecord& record : kept_) filter_.FindEvents(record);
    }
    const std::uint64_t passed = std::max<std::uint64_t>(installation_.Machine().clock.Milliseconds() - start, 1);
    const std::uint64_t count = kept_.size() * static_cast<std::uint64_t>(options_.repeat);
    Console::Print("matched " + std::to_string(count) + " records again, " + std::to_string(count * 1000 / passed) +
                   " a second");
  }

 private:
  // Past records hold a stop phrase for every stop of the service; replay goes on behind them.
  void Take(const RawRecord& raw, Progress& progress) {
    constexpr std::uint64_t kLiveRecordsAtOnce = 256;
    EventRecord record = ToEventRecord(raw);
    statistics_.Take(record);
    filter_.FindEvents(record);
    if (options_.repeat > 0) kept_.push_back(std::move(record));
    if (options_.live && statistics_.Records() % kLiveRecordsAtOnce == 0) progress.Update(0, 0, statistics_.Records());
  }

  const ReplayOptions& options_;
  Installation& installation_;
  ServiceMail& mail_;
  EventLogFiles files_;
  ReplayStatistics statistics_;
  ReplayMailer mailer_;
  AlertAction action_;
  AlertSequence alerts_;
  modFilterEvents filter_;
  RecordReadResult result_;
  std::vector<EventRecord> kept_;
};

void Print(const ReplayReport& report, ReplayForm form) {
  switch (form) {
    case ReplayForm::Text:
      return PrintReplayText(report);
    case ReplayForm::Json:
      return PrintReplayJson(report);
    case ReplayForm::Csv:
      return PrintReplayCsv(report);
  }
}

}  // namespace

int RunReplay(const ReplayOptions& options) {
  const std::unique_ptr<Installation> installation = Installation::OpenToRead(options.applicationFolder);
  if (!installation) return kFailed;
  const std::optional<Input> input = InputOf(options);
  if (!input) return kFailed;
  Notes notes;
  ServiceMail mail(*installation);
  notes.Say(mail.Store().Problems());
  if (options.sendMails && !MaySend(options, *installation, mail)) return kFailed;
  Run run(options, *installation, mail, notes);
  if (!run.Read(*input)) return kFailed;
  notes.Say(run.Problems());
  const ReplayReport report = run.Report();
  Print(report, options.form);
  run.SayWhatWasSent();
  if (options.repeat > 0) run.Measure();
  run.FinishLogs();
  if (input->page.empty()) return run.ExitCode();
  const os::Error error = installation->FileSystem().Files().Write(input->page, HtmlReport(report));
  return error.Ok() ? run.ExitCode() : Console::Fail("cannot write " + options.htmlFile, error);
}

}  // namespace ovs
