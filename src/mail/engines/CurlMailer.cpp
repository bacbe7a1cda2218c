#include "mail/engines/CurlMailer.h"

#include <algorithm>
#include <array>
#include <limits>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Numbers.h"
#include "base/Version.h"
#include "diag/App_Debug.h"
#include "mail/engines/LibzipArchive.h"
#include "mail/engines/os/TlsFacts.h"
#include "platform/App_FilePath.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

constexpr std::int32_t kSsl3 = 6;
constexpr std::uint64_t kMaxCertificateBytes = 1u << 20;

bool IsHost(TextView host) {
  constexpr TextView kMarks = u"-._:[]";
  const auto fits = [&](char16_t unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z') ||
           kMarks.find(unit) != TextView::npos;
  };
  return !host.empty() && std::ranges::all_of(host, fits);
}

// A machine's name as a greeting can carry it.
std::string EhloName(TextView computerName) {
  const bool fits = IsHost(computerName) && computerName.find_first_of(u"_:[]") == TextView::npos;
  return fits ? ToUtf8(computerName) : "localhost";
}

// Every line break as CR LF, which is what a mail can carry; NULs as blanks.
Text MailText(TextView text) {
  Text out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool pair = text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n';
    if (text[i] == u'\r' || text[i] == u'\n') {
      out += kCrLf;
    } else {
      out += text[i] == kNul ? kBlank : text[i];
    }
    if (pair) ++i;
  }
  return out;
}

Text Shown(TextView text) { return u"[" + MailHeaders::OneLine(text) + u"]"; }

}  // namespace

std::vector<std::int32_t> CurlMailer::Configure(const SmtpServer& server) {
  server_ = server;
  return std::vector<std::int32_t>(kStatusFields, 0);
}

bool CurlMailer::Compose(const MailMessage& message) {
  message_ = message;
  if (!ComposeSender()) Note(senderProblem_);
  std::vector<MailAddress> to;
  std::vector<MailAddress> cc;
  std::vector<MailAddress> hidden;
  AddRecipients(message.to, to);
  AddRecipients(message.cc, cc);
  AddRecipients(message.bcc, hidden);
  ComposeHeaders(to, cc);
  std::erase_if(message_.attachments, [&](const Text& path) { return !CanRead(path); });
  if (message_.logoFile.empty()) return true;
  if (!CanRead(message_.logoFile)) {
    message_.logoFile.clear();
    return false;
  }
  const Text name = App_FilePath::FileNameOf(message_.logoFile);
  message_.body = App_Strings::ReplaceAll(message_.body, u"cid:" + name, u"cid:" + FromUtf8(MailHeaders::ContentId(name)));
  return true;
}

bool CurlMailer::ComposeSender() {
  sender_ = ParseAddress(message_.from);
  if (IsUsableAddress(sender_.address)) return true;
  senderProblem_ = u"The sender is no mail address: " + Shown(message_.from);
  return false;
}

void CurlMailer::AddRecipients(TextView addresses, std::vector<MailAddress>& shown) {
  for (MailAddress& address : SplitAddresses(addresses)) {
    if (!IsUsableAddress(address.address)) {
      Note(u"Recipient left out, it is no mail address: " + Shown(address.address));
      continue;
    }
    recipients_.push_back(address.address);
    shown.push_back(std::move(address));
  }
}

void CurlMailer::ComposeHeaders(const std::vector<MailAddress>& to, const std::vector<MailAddress>& cc) {
  const auto add = [&](std::string line) {
    if (!line.empty()) headers_.push_back(std::move(line));
  };
  add(MailHeaders::Date(DateTimeFromTicks(machine_.clock.UtcNow())));
  add(MailHeaders::Addresses("From", {sender_}));
  const MailAddress replyTo = ParseAddress(message_.replyTo);
  if (IsUsableAddress(replyTo.address)) add(MailHeaders::Addresses("Reply-To", {replyTo}));
  add(MailHeaders::Addresses("To", to));
  add(MailHeaders::Addresses("Cc", cc));
  add(MailHeaders::Unstructured("Subject", message_.subject));
  add(NewMessageId());
  if (message_.addPriorityHeader) add("X-Priority: 1");
  add(MailHeaders::Unstructured("X-Mailer", Text(kTitle) + u" " + Text(kVersion)));
  add("MIME-Version: 1.0");
}

std::string CurlMailer::NewMessageId() {
  std::array<char, 16> random{};
  // Without one the server adds an identity of its own.
  if (machine_.crypto.RandomBytes(random).Failed()) return {};
  return MailHeaders::MessageId({random.data(), random.size()}, sender_.address, machine_.system.ComputerName());
}

bool CurlMailer::CanRead(TextView path) {
  std::unique_ptr<os::ReadFile> file;
  const os::Error error = machine_.files.OpenRead(path, file);
  if (error.Ok()) return true;
  Note(LeftOut(path, Diagnostics().GetSystemMsg(error.Number(), true)));
  return false;
}

Text CurlMailer::Objection() const {
  if (!IsHost(server_.host)) return u"The mail server's name cannot be used: " + Shown(server_.host);
  if (server_.port < 1 || server_.port > std::numeric_limits<std::uint16_t>::max()) {
    return u"The mail server's port cannot be used: " + NumberText(server_.port);
  }
  if (server_.sslProtocol == kSsl3) return u"SSL 3.0 is no longer offered by the TLS library; allow TLS 1.2 or higher";
  if (!senderProblem_.empty()) return senderProblem_;
  return recipients_.empty() ? Text(u"The mail has no recipient that can be used") : Text();
}

bool CurlMailer::Send() {
  if (!start_) start_ = machine_.clock.Milliseconds();
  if (Text objection = Objection(); !objection.empty()) {
    report_.failReason = report_.lastErrorText = std::move(objection);
    return false;
  }
  const CurlJob job = NewJob();
  // libcurl would take 0 for "no limit".
  if (job.milliseconds < 1) {
    // After a first attempt its reason tells more.
    if (report_.failReason.empty()) report_.failReason = u"The time for this mail is used up";
    return false;
  }
  const CurlResult result = PerformTransfer(machine_.files, machine_.clock, job, session_);
  const bool sent = result.code == 0;
  // When the one method of a second attempt is not offered, the first attempt's reason tells more.
  if (!report_.failReason.empty() && IsLoginNotOffered(result, session_)) return false;
  report_.failReason = sent ? Text() : FailReason(job, result, session_);
  report_.lastErrorText = sent ? Text() : FailDetails(job, result, session_);
  report_.steps = StepsOf(job, result, session_, report_.failReason);
  return sent;
}

CurlJob CurlMailer::NewJob() {
  CurlJob job{server_};
  job.ehloName = EhloName(machine_.system.ComputerName());
  job.certificateAuthorities = CertificateAuthorities();
  job.milliseconds = MillisecondsLeft();
  job.sender = ToUtf8(sender_.address);
  for (const Text& recipient : recipients_) job.recipients.push_back(ToUtf8(recipient));
  job.headers = headers_;
  job.body = ToUtf8(MailText(message_.body));
  job.isHtml = message_.isHtml;
  job.logoFile = message_.logoFile;
  job.attachments = message_.attachments;
  return job;
}

std::int64_t CurlMailer::MillisecondsLeft() {
  const std::uint64_t passed = machine_.clock.Milliseconds() - start_.value_or(0);
  return std::int64_t{server_.sendSeconds} * 1000 - static_cast<std::int64_t>(passed);
}

// The TLS library may forget what the system trusts when it is given an authority, so it gets both.
std::string CurlMailer::CertificateAuthorities() {
  if (server_.caFile.empty() || server_.allowUntrusted) return {};
  std::string pem;
  const ReadOutcome outcome = ReadFileBytes(machine_.files, server_.caFile, pem, kMaxCertificateBytes);
  if (outcome == ReadOutcome::Ok) return pem + "\n" + TrustedRoots();
  Note(u"Cannot use Email.SMTP.CAFile " + Shown(server_.caFile) + u": " + DescribeReadOutcome(outcome));
  return {};
}

// Once for each mail, whatever the number of attempts.
void CurlMailer::Note(Text note) {
  if (std::ranges::find(report_.notes, note) == report_.notes.end()) report_.notes.push_back(std::move(note));
}

MailReport CurlMailer::Report() {
  for (const auto& refusal : session_.RefusedRecipients()) {
    Note(u"The mail server refused a recipient: " + refusal.address + u" (" + refusal.reply + u")");
  }
  if (session_.PasswordInClear()) Note(Text(kPasswordInClear));
  if (server_.allowUntrusted) Note(Text(kNotVerified));
  report_.lastStatus = session_.LastReply();
  report_.session = session_.Transcript();
  return report_;
}

std::unique_ptr<MailComponent> BuiltInEngines::NewComponent(const ClosedComponentOptions& /*options*/) {
  return std::make_unique<CurlMailer>(machine_);
}

std::unique_ptr<MailComponent> BuiltInEngines::NewSystemMessage() { return std::make_unique<CurlMailer>(machine_); }

std::unique_ptr<ZipArchive> BuiltInEngines::NewZip(TextView /*unlockCode*/) {
  return std::make_unique<LibzipArchive>(machine_.files);
}

}  // namespace ovs
