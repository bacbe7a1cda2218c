// The settings store at a size that no machine has.
#include "BenchDiagnostics.h"
#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "os/Crypto.h"
#include "support/FakeSystem.h"
#include "support/MemoryFiles.h"

namespace ovs {
namespace {

constexpr int kEntries = 100'000;
constexpr TextView kFile = u"C:\\App\\Svc.cfg";

std::string ManyEntries() {
  std::string text;
  for (int i = 0; i < kEntries; ++i) {
    const std::string number = std::to_string(i);
    text += "Group" + std::to_string(i % 100) + ".Setting." + number + "=value of setting " + number + "\r\n";
  }
  return text;
}

// A store over files in memory.
struct Machine {
  Machine() {
    files.CreateDir(u"C:\\App").Ignore();
    files.Write(kFile, ManyEntries()).Ignore();
    store.DefaultConfigFile = kFile;
  }
  const BenchDiagnostics diagnostics{false};
  fakes::MemoryFiles files;
  fakes::FakeSystem system;
  App_FileSystem fileSystem{files, system};
  const ckCrypt_Config crypt{os::SystemCrypto()};
  Config_Class store{fileSystem, crypt, u"C:\\App\\"};
};

void LoadSettings(benchmark::State& state) {
  Machine machine;
  const WorkingSet memory;
  for (auto _ : state) machine.store.LoadDir(u"C:\\App");
  memory.Report(state);
  state.SetItemsProcessed(state.iterations() * kEntries);
}
BENCHMARK(LoadSettings)->Iterations(1)->Unit(benchmark::kSecond);

void SaveSettings(benchmark::State& state) {
  Machine machine;
  machine.store.LoadDir(u"C:\\App");
  for (auto _ : state) machine.store.SaveConfig();
  state.SetItemsProcessed(state.iterations() * kEntries);
}
BENCHMARK(SaveSettings)->Iterations(5)->Unit(benchmark::kSecond);

void FindSetting(benchmark::State& state) {
  Machine machine;
  machine.store.LoadDir(u"C:\\App");
  for (auto _ : state) benchmark::DoNotOptimize(machine.store.Item(u"group42.SETTING.4242"));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(FindSetting);

}  // namespace
}  // namespace ovs
