// What a mail costs, to a server on this machine that keeps nothing, without TLS.
#include <fstream>
#include <string>

#include "BenchDiagnostics.h"
#include "MailSink.h"
#include "config/ckCrypt_Config.h"
#include "mail/engines/MailComponent.h"
#include "mail/message/vtxEmail.h"
#include "os/Crypto.h"
#include "support/FakeSystem.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

constexpr std::size_t kBodyBytes = 1024;
constexpr std::size_t kAttachmentBytes = std::size_t{20} << 20;

// The greatest working set since the last call, in bytes.
double PeakMemory() {
  std::ifstream status("/proc/self/status");
  double kilobytes = 0;
  for (std::string word; status >> word;) {
    if (word == "VmHWM:") status >> kilobytes;
  }
  std::ofstream("/proc/self/clear_refs") << "5";
  return kilobytes * 1024;
}

class NobodyThere final : public os::Prompt {
 public:
  int Show(TextView, TextView, std::uint32_t) override { return 0; }
};

// Files are real ones: an attachment in memory would be counted.
struct Sender {
  Sender() {
    environment.SetAutomaticMode(true);
    engines->Start();
  }
  bool Send(const Text& attachment) {
    vtxEmail mail({fileSystem, environment, *engines, user, store});
    mail.SmtpHost = u"127.0.0.1";
    mail.SmtpPort = sink.Port();
    mail.SmtpUsername = u"user";
    mail.SmtpPassword = u"password";
    mail.SmtpAuthMethod = 5;
    mail.EmailFrom = u"\"PC\" <pc@example.com>";
    mail.EmailTo = u"technician@example.com";
    mail.EmailSubject = u"Event Alert!";
    mail.EmailBody = Text(kBodyBytes, u'x');
    if (!attachment.empty()) mail.AddFileAttachment(attachment);
    return mail.SendEmail();
  }

  const BenchDiagnostics diagnostics{false};
  MailSink sink;
  os::Files& files = os::SystemFiles();
  App_FileSystem fileSystem{files, os::ThisSystem()};
  App_Env environment{os::ThisSystem()};
  const ckCrypt_Config crypt{os::SystemCrypto()};
  const Config_Class store{fileSystem, crypt, environment.ApplicationFolder()};
  NobodyThere nobody;
  PlainMailUser user{nobody};
  std::unique_ptr<MailEngines> engines = SystemMailEngines(os::ThisMachine());
};

void Measure(benchmark::State& state, Sender& sender, const Text& attachment) {
  PeakMemory();
  const WorkingSet memory;
  for (auto _ : state) {
    if (!sender.Send(attachment)) state.SkipWithError("not sent");
  }
  state.counters["peak"] = PeakMemory();
  memory.Report(state);
  state.SetItemsProcessed(state.iterations());
}

void MailOf1KB(benchmark::State& state) {
  Sender sender;
  Measure(state, sender, {});
}
BENCHMARK(MailOf1KB)->Iterations(500)->UseRealTime()->Unit(benchmark::kMillisecond);

void MailWith20MB(benchmark::State& state) {
  Sender sender;
  Text path;
  sender.files.TempFolder(path).Ignore();
  path += u"ovs-bench-attachment.bin";
  {
    const std::string bytes(kAttachmentBytes, 'z');
    sender.files.Write(path, bytes).Ignore();
  }
  Measure(state, sender, path);
  sender.files.Delete(path).Ignore();
}
BENCHMARK(MailWith20MB)->Iterations(5)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ovs
