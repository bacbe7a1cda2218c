// Saving: every entry to the file that it came from.
#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "config/Config_Class.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"Config_Class";

void AppendLine(const Config_KVP& entry, Text& text) {
  text.append(entry.Key()).append(u"=").append(entry.ValueData_Save_State()).append(kCrLf);
}

void DropLastLineBreak(Text& text) {
  if (text.ends_with(kCrLf)) text.resize(text.size() - kCrLf.size());
}

Text AllLines(const std::list<Config_KVP>& entries) {
  Text text;
  for (const Config_KVP& entry : entries) {
    if (!entry.NoSave()) AppendLine(entry, text);
  }
  return text;
}

Text SectionLine(TextView section) {
  Text line = section.starts_with(u'[') ? Text() : Text(u"[");
  line += section;
  return section.ends_with(u']') ? line : line + u"]";
}

}  // namespace

// The first target is the default configuration file. Each file is one target however its path is spelled: two would
// overwrite one another.
std::vector<Config_Class::Target> Config_Class::Targets() const {
  std::vector<Target> targets{{DefaultConfigFile, {}}};
  std::unordered_map<Text, std::size_t> byIdentity;
  if (!DefaultConfigFile.empty()) byIdentity.emplace(Identity(ProgramPath(DefaultConfigFile)), 0);
  std::unordered_map<TextView, std::size_t> bySpelling{{TextView(), 0}};
  for (const Config_KVP& entry : entries_) {
    if (entry.NoSave()) continue;
    auto known = bySpelling.find(entry.DefFile());
    if (known == bySpelling.end()) {
      const auto [target, isNew] = byIdentity.emplace(Identity(ProgramPath(entry.DefFile())), targets.size());
      if (isNew) targets.push_back({entry.DefFile(), {}});
      known = bySpelling.emplace(entry.DefFile(), target->second).first;
    }
    AppendLine(entry, targets[known->second].text);
  }
  for (Target& target : targets) DropLastLineBreak(target.text);
  return targets;
}

bool Config_Class::IsDebugFile(TextView path) { return ContainsFolded(path, u"_Debug.cfg"); }

bool Config_Class::SaveConfig() {
  Proc proc(kModule, u"SaveConfig", ProcKind::Function);
  return proc.Run(false, [&] {
    if (RequireExistingFile && (DefaultConfigFile.empty() || !fileSystem_.FileExist(ProgramPath(DefaultConfigFile)))) {
      return false;
    }
    bool allSaved = true;
    for (const Target& target : Targets()) {
      if (target.path.empty()) {
        proc.Log(u"Error saving config; no default config file!");
      } else if (!IsDebugFile(target.path) && !SaveTarget(proc, target)) {
        allSaved = false;
      }
    }
    return allSaved;
  });
}

bool Config_Class::SaveTarget(Proc& proc, const Target& target) {
  const bool saved = ReplaceFile(proc, target.path, target.text);
  if (saved) proc.Log(u"SaveConfig success:  " + ProgramPath(target.path), EventType::Verbose);
  return saved;
}

bool Config_Class::ReplaceFile(Proc& proc, TextView file, TextView text) {
  if (file.empty()) {
    proc.Log(u"Error saving config; no file!");
    return false;
  }
  const Text path = ProgramPath(file);
  const bool saved = MayReplace(proc, path, text) && fileSystem_.SaveTextToFile(text, path, SaveMode::Replace);
  if (saved) {
    readState_.erase(Identity(path));
  } else {
    proc.Log(u"SaveConfig failed:  " + path);
  }
  return saved;
}

// A file that could not be read is not written over, and a text that could not be read again is not written.
bool Config_Class::MayReplace(Proc& proc, TextView path, TextView text) {
  if (ToUtf8(text).size() > kMaxTextFileBytes) {
    proc.Log(Text(u"Settings file [").append(path) + u"] would become too large to be read again");
    return false;
  }
  const auto state = readState_.find(Identity(path));
  if (state == readState_.end() || state->second) return true;
  os::FileInfo info;
  if (fileSystem_.Files().Info(path, info).IsNotFound()) return true;
  proc.Log(Text(u"Settings file [").append(path) + u"] is not replaced: it could not be read");
  return false;
}

bool Config_Class::SaveAsNewConfigFile(TextView sFile) {
  Proc proc(kModule, u"SaveAsNewConfigFile", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  return proc.Run(false, [&] { return ReplaceFile(proc, sFile, AllLines(entries_)); });
}

bool Config_Class::SaveAsINI(TextView sFile, TextView sSection) {
  Proc proc(kModule, u"SaveAsINI", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"sSection", sSection);
  return proc.Run(false, [&] {
    Text text = SectionLine(sSection).append(kCrLf) + AllLines(entries_);
    DropLastLineBreak(text);
    return ReplaceFile(proc, sFile, text);
  });
}

Text Config_Class::GetConfigAsString() const {
  Proc proc(kModule, u"GetConfigAsString", ProcKind::Function);
  return proc.Run(Text(), [&] {
    std::vector<Text> texts;
    for (Target& target : Targets()) {
      if (!IsDebugFile(target.path) && !target.text.empty()) texts.push_back(std::move(target.text));
    }
    return App_Strings::Join(texts, kCrLf);
  });
}

}  // namespace ovs
