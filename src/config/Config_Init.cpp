#include "config/Config_Init.h"

#include "diag/App_Debug.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"Config_Init";

void LoadAll(Config_Class& config, const App_Env& environment, bool singleFile) {
  if (!singleFile) config.LoadDir(environment.ApplicationFolder(), {}, -1);
  // Also when the folder could not be listed: what is not read now would be written over later.
  if (!config.HasTried(config.DefaultConfigFile)) config.LoadFile({config.DefaultConfigFile});
}

// True when there was one in plain text.
bool EncryptPasswords(Config_Class& config) {
  bool any = false;
  for (const Config_KVP& entry : config.NewEnum()) {
    if (entry.Encrypted() || !Config_Class::IsSecretKey(entry.Key())) continue;
    config.Ensure_Encrypted(entry.Key());
    any = any || entry.Encrypted();
  }
  return any;
}

void SwitchOn(const Config_Class& config, const SettingName& setting, bool& feature) {
  if (config.GetBool(setting)) feature = true;
}

// The switch tells what is the case: on only when the file could be opened. What is logged meanwhile follows the switches
// read so far.
void StartRealTime(const Config_Class& config, DebugSwitches& switches) {
  bool wanted = false;
  SwitchOn(config, ProgramSettings::kLogRealTime, wanted);
  Diagnostics().SetSwitches(switches);
  if (wanted && !switches.realTime) switches.realTime = Diagnostics().DebugLogStartRealTime();
}

void ReadSwitches(const Config_Class& config, DebugSwitches& switches) {
  SwitchOn(config, ProgramSettings::kLogVerbose, switches.verbose);
  StartRealTime(config, switches);
  SwitchOn(config, ProgramSettings::kSystemOutput, switches.systemOutput);
  if (Text prefix = config.GetString(ProgramSettings::kSystemOutputPrefix); !prefix.empty()) {
    switches.systemOutputPrefix = std::move(prefix);
  }
  SwitchOn(config, ProgramSettings::kEnvDump, switches.envDump);
  SwitchOn(config, ProgramSettings::kProcDump, switches.procDump);
  SwitchOn(config, ProgramSettings::kProcDumpIncompleteOnly, switches.procDumpIncompleteOnly);
  SwitchOn(config, ProgramSettings::kProcDumpIncludeTimers, switches.procDumpIncludeProcTimers);
  const std::int32_t eventTypes = config.GetLong(ProgramSettings::kProcDumpEventTypes, true);
  if (eventTypes != -1) switches.procDumpEventTypes = eventTypes;
  SwitchOn(config, ProgramSettings::kPerfTimer, switches.perfTimer);
}

}  // namespace

std::unique_ptr<Config_Class> Config_Init(App_FileSystem& fileSystem, App_Env& environment, const ckCrypt_Config& crypt,
                                          const ConfigInitOptions& options) {
  auto config = std::make_unique<Config_Class>(fileSystem, crypt, environment.ApplicationFolder());
  Proc proc(kModule, u"Config_Init", ProcKind::Sub);
  proc.ByVal(u"bNoReleaseSave", options.bNoReleaseSave);
  proc.ByVal(u"bLoadDebugSettings", options.bLoadDebugSettings);
  proc.ByVal(u"bSingleFile", options.bSingleFile);
  proc.Run([&] {
    config->DefaultConfigFile = App_FilePath::JoinPath(environment.ApplicationFolder(), environment.ProgramName() + u".cfg");
    LoadAll(*config, environment, options.bSingleFile);
    const bool wasPlain = EncryptPasswords(*config);
    if (const Text address = config->GetString(ProgramSettings::kWanAddress); !address.empty())
      environment.SetWanAddress(address);
    config->SaveOnRelease = !options.bNoReleaseSave && options.bStartedAsService;
    // Not only at the end, which may be months away, or none that is orderly.
    if (wasPlain && config->SaveOnRelease) config->SaveConfig();
    if (options.bLoadDebugSettings) LoadDebugSettings(config.get(), true);
  });
  return config;
}

void LoadDebugSettings(const Config_Class* config, bool bReset) {
  Proc proc(kModule, u"LoadDebugSettings", ProcKind::Sub);
  proc.ByVal(u"bReset", bReset);
  proc.Run([&] {
    DebugSwitches switches = Diagnostics().Switches();
    if (bReset) {
      const DebugSwitches initial;
      switches.verbose = initial.verbose;
      switches.systemOutput = initial.systemOutput;
      switches.systemOutputPrefix = initial.systemOutputPrefix;
    }
    if (config != nullptr) ReadSwitches(*config, switches);
    Diagnostics().SetSwitches(switches);
  });
}

}  // namespace ovs
