// The table itself: finding, adding, overwriting and removing entries.
#include "config/Config_Class.h"

#include "base/App_Strings.h"
#include "base/Fold.h"
#include "diag/Proc.h"
#include "os/WindowsPath.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"Config_Class";

std::int32_t PartCount(TextView key) {
  std::int32_t parts = 1;
  for (const char16_t unit : key) parts += unit == u'.' ? 1 : 0;
  return parts;
}

}  // namespace

bool Config_Class::IsSecretKey(TextView sKey) { return App_Strings::StringEndsWith(sKey, u".Password"); }

Config_Class::Config_Class(App_FileSystem& fileSystem, const ckCrypt_Config& crypt, TextView programFolder)
    : fileSystem_(fileSystem), crypt_(crypt), programFolder_(programFolder) {}

Config_Class::~Config_Class() { Release(); }

void Config_Class::Release() noexcept {
  Proc proc(kModule, u"Release", ProcKind::Sub);
  proc.Run([&] {
    const bool save = active_ && SaveOnRelease;
    active_ = false;
    if (save) SaveConfig();
  });
}

Config_KVP* Config_Class::Item(TextView sKey) {
  const auto found = byKey_.find(sKey);
  return found == byKey_.end() ? nullptr : &*found->second;
}

const Config_KVP* Config_Class::Item(TextView sKey) const {
  const auto found = byKey_.find(sKey);
  return found == byKey_.end() ? nullptr : &*found->second;
}

bool Config_Class::Remove(TextView sKey) {
  const auto found = byKey_.find(sKey);
  if (found == byKey_.end()) return false;
  entries_.erase(found->second);
  byKey_.erase(found);
  return true;
}

template <class Predicate>
void Config_Class::RemoveWhere(Predicate predicate) {
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    const auto next = std::next(entry);
    if (predicate(*entry)) Remove(Text(entry->Key()));
    entry = next;
  }
}

void Config_Class::WipeSetting(TextView sPartialKey, std::int32_t lLevel, bool bExact) {
  Proc proc(kModule, u"WipeSetting", ProcKind::Sub);
  proc.ByVal(u"sPartialKey", sPartialKey);
  proc.ByVal(u"lLevel", lLevel);
  proc.ByVal(u"bExact", bExact);
  proc.Run([&] {
    if (sPartialKey.empty()) return;
    // The text may be the key of an entry that goes.
    const Text partialKey(sPartialKey);
    RemoveWhere([&](const Config_KVP& entry) {
      const bool matches = bExact ? EqualsFolded(entry.Key(), partialKey) : ContainsFolded(entry.Key(), partialKey);
      return matches && (lLevel == -1 || PartCount(entry.Key()) >= lLevel);
    });
  });
}

void Config_Class::WipeSettingsByDefFileName(TextView sFile) {
  Proc proc(kModule, u"WipeSettingsByDefFileName", ProcKind::Sub);
  proc.ByVal(u"sFile", sFile);
  proc.Run([&] {
    const Text name = App_FilePath::FileNameOf(sFile);
    if (name.empty()) return;
    RemoveWhere([&](const Config_KVP& entry) {
      const Text& file = entry.DefFile().empty() ? DefaultConfigFile : entry.DefFile();
      return EqualsFolded(App_FilePath::FileNameOf(file), name);
    });
  });
}

void Config_Class::WipeWindowMetrics(TextView sWindowName) {
  // An item without name: the prefix of all others.
  constexpr std::int32_t kNoItem = 3;
  WipeSetting(GetMetricSettingName(sWindowName, kNoItem), -1, false);
}

bool Config_Class::SetString(TextView sKey, TextView sValue, const ConfigSetOptions& options) {
  Proc proc(kModule, u"SetString", ProcKind::Function);
  const bool secret = options.bEncrypted || IsSecretKey(sKey);
  const TextView shown = secret ? TextView(u"***") : sValue;
  proc.ByVal(u"sKey", sKey);
  proc.ByVal(u"sValue", shown);
  proc.ByVal(u"bEncrypted", options.bEncrypted);
  proc.ByVal(u"bOverwrite", options.bOverwrite);
  proc.ByVal(u"sDefFile", options.sDefFile);
  proc.ByVal(u"bNoSave", options.bNoSave);
  return proc.Run(false, [&] {
    if (!CanBeStored(sKey, sValue)) {
      proc.Log(Text(u"Setting [").append(sKey) + u"] cannot be kept: it holds characters that no settings file can carry");
      return false;
    }
    const Text defFile = options.sDefFile.empty() ? Text() : ProgramPath(options.sDefFile);
    const Text value = App_Strings::ReplaceAll(sValue, kCrLf, u"<NL>");
    if (secret) Config_KVP::MaskSecret(value);
    Config_KVP* const entry = Item(sKey);
    if (entry == nullptr) return Add(sKey, value, options, defFile);
    if (!options.bOverwrite) return false;
    if (!value.empty()) return Overwrite(*entry, value, options, defFile);
    proc.Log(Text(u"SetString on key:  [").append(sKey) +
             u"]  triggered with no value to overwrite existing value; deleting value entirely...");
    return Remove(sKey);
  });
}

bool Config_Class::Add(TextView key, TextView value, const ConfigSetOptions& options, TextView defFile) {
  if (value.empty()) return false;
  Entries one;
  Config_KVP& entry = one.emplace_back(crypt_);
  entry.SetKey(key);
  Overwrite(entry, value, options, defFile);
  // Both or none: what can fail comes before the list takes the entry over.
  byKey_.emplace(Text(key), one.begin());
  entries_.splice(entries_.end(), one);
  return true;
}

bool Config_Class::Overwrite(Config_KVP& entry, TextView value, const ConfigSetOptions& options, TextView defFile) {
  entry.SetValueData(value);
  entry.SetNoSave(options.bNoSave);
  if (!defFile.empty()) entry.SetDefFile(defFile);
  if (options.bEncrypted) entry.SetEncrypted(true);
  return true;
}

Text Config_Class::ProgramPath(TextView path) const {
  return App_FilePath::IsFullPath(path) ? Text(path) : App_FilePath::JoinPath(programFolder_, path);
}

Text Config_Class::Identity(TextView path) {
  WindowsPath parts;
  const bool isPath = SplitWindowsPath(path, u"C:\\", parts).Ok();
  return Fold(isPath ? JoinWindowsPath(parts) : path);
}

void Config_Class::NoteDefinitionFile(TextView path) {
  if (!path.empty() && knownDefinitionFiles_.emplace(path).second) definitionFiles_.emplace_back(path);
}

}  // namespace ovs
