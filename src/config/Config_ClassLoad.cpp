// The loaders: from files, folders and texts, each with its own way of cutting lines.
#include "base/App_Strings.h"
#include "base/Fold.h"
#include "base/Numbers.h"
#include "config/Config_Class.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"Config_Class";

struct KeyAndValue {
  TextView key;
  TextView value;
};

bool IsSectionLine(TextView line) {
  const TextView trimmed = App_Strings::TrimBlanks(line);
  return trimmed.starts_with(u'[') && trimmed.ends_with(u']');
}

// None when the line is no entry.
std::optional<KeyAndValue> SplitEntry(TextView line) {
  const std::size_t equals = line.find(u'=');
  if (equals == TextView::npos || App_Strings::TrimBlanksLeft(line).front() == u';') return std::nullopt;
  if (IsSectionLine(line)) return std::nullopt;
  return KeyAndValue{line.substr(0, equals), line.substr(equals + 1)};
}

// Calls `take` for each line between CR LFs. Views only: a file may consist of millions of empty lines.
template <class Take>
void ForEachLine(TextView content, Take take) {
  for (;;) {
    const std::size_t end = content.find(kCrLf);
    take(content.substr(0, end));
    if (end == TextView::npos) return;
    content.remove_prefix(end + kCrLf.size());
  }
}

Text FilePrefix(TextView file) {
  const Text name = App_FilePath::NameWithoutExtension(App_FilePath::FileNameOf(file));
  return name.empty() ? name : App_Strings::ReplaceAll(name, u" ", u"_") + u".";
}

// The name of a section line and "."; none when it is no section line.
std::optional<Text> SectionPrefix(TextView line) {
  const TextView trimmed = App_Strings::TrimBlanks(line);
  if (!trimmed.starts_with(u'[')) return std::nullopt;
  return Text(trimmed.size() < 2 ? TextView() : trimmed.substr(1, trimmed.size() - 2)).append(u".");
}

Text WithPrefix(const Text& prefix, TextView key) {
  return EqualsFolded(key.substr(0, prefix.size()), prefix) ? Text(key) : Text(prefix).append(key);
}

Text DottedPrefix(TextView prefix) {
  const bool needsDot = prefix.size() > 1 && !prefix.ends_with(u'.');
  return needsDot ? Text(prefix).append(u".") : Text(prefix);
}

std::size_t LastLineIndex(TextView text) {
  std::size_t index = 0;
  for (std::size_t at = text.find(kCrLf); at != TextView::npos; at = text.find(kCrLf, at + kCrLf.size())) ++index;
  return index;
}

}  // namespace

bool Config_Class::ReadSettingsFile(TextView path, Text& content) {
  Proc proc(kModule, u"ReadSettingsFile", ProcKind::Function);
  proc.ByVal(u"sFile", path);
  return proc.Run(false, [&] {
    bool& succeeded = readState_[Identity(path)];
    succeeded = false;
    FileProblem problem{FileKind::SettingsFile, Text(path), {}};
    if (fileSystem_.GetFileToString(path, content, &problem.reason)) {
      succeeded = content.find(kNul) == Text::npos;
      if (succeeded) return true;
      problem.reason = u"it is not text (it holds NUL characters)";
      proc.Log(problem.Sentence());
    }
    if (!problem.reason.empty()) problems_.push_back(std::move(problem));
    return false;
  });
}

// A line that is written has to come back as the same entry, and a NUL would make the whole file unusable.
bool Config_Class::CanBeStored(TextView key, TextView value) {
  const Text line = Text(key).append(u"=").append(value);
  if (line.find(kNul) != Text::npos || key.find(kCrLf) != TextView::npos) return false;
  const auto entry = SplitEntry(line);
  return value.empty() || (entry && entry->key == key);
}

bool Config_Class::TakeLine(TextView key, TextView value, LineSink& sink) {
  const bool set = SetString(key, value, {.sDefFile = sink.defFile, .bNoSave = sink.noSave});
  sink.anySet = sink.anySet || set;
  return set;
}

void Config_Class::LoadLines(TextView content, LineSink& sink) {
  ForEachLine(content, [&](TextView line) {
    if (const auto entry = SplitEntry(line)) TakeLine(Text(sink.prefix).append(entry->key), entry->value, sink);
  });
}

void Config_Class::LoadOne(TextView path, const ConfigLoadOptions& options) {
  Text content;
  if (!ReadSettingsFile(path, content)) return;
  LineSink sink{options.bPrefixFileName ? FilePrefix(path) : Text(), options.bNoDefFile ? Text() : Text(path),
                options.bNoSave};
  LoadLines(content, sink);
  if (sink.anySet && !options.bNoDefFile && !options.bNoSave) NoteDefinitionFile(path);
}

void Config_Class::ForEachFileLine(TextView content, const std::function<void(const FileLine&)>& take) {
  ForEachLine(content, [&](TextView line) {
    const auto entry = SplitEntry(line);
    take(entry ? FileLine{line, true, entry->key, entry->value} : FileLine{line, false, {}, {}});
  });
}

std::vector<Text> Config_Class::FilesIn(TextView sDir, std::int32_t lRecursionLevel) {
  FS_DirList search(fileSystem_.Files());
  search.AddSearchPath(sDir);
  search.AddFileMask(u"*.cfg");
  search.RecursionLevel = lRecursionLevel;
  search.StartSearch();
  return search.MatchingFilesOnDisk();
}

bool Config_Class::LoadDir(TextView sDir, const ConfigLoadOptions& options, std::int32_t lRecursionLevel) {
  Proc proc(kModule, u"LoadDir", ProcKind::Function);
  proc.ByVal(u"sDir", sDir);
  proc.ByVal(u"bNoDefFile", options.bNoDefFile);
  proc.ByVal(u"bPrefixFileName", options.bPrefixFileName);
  proc.ByVal(u"bNoSave", options.bNoSave);
  proc.ByVal(u"lRecursionLevel", lRecursionLevel);
  return proc.Run(false, [&] {
    if (!fileSystem_.DirExist(sDir)) return false;
    return LoadFiles(FilesIn(sDir, lRecursionLevel), options);
  });
}

bool Config_Class::LoadFiles(const std::vector<Text>& colFiles, const ConfigLoadOptions& options) {
  Proc proc(kModule, u"LoadFiles", ProcKind::Function);
  proc.ByVal(u"colFiles", colFiles);
  proc.ByVal(u"bNoDefFile", options.bNoDefFile);
  proc.ByVal(u"bPrefixFileName", options.bPrefixFileName);
  proc.ByVal(u"bNoSave", options.bNoSave);
  return proc.Run(false, [&] {
    bool complete = true;
    for (const Text& path : colFiles) {
      if (path.empty()) {
        complete = false;
      } else {
        LoadOne(path, options);
      }
    }
    return complete;
  });
}

bool Config_Class::LoadFile(const std::vector<Text>& arrFiles) {
  Proc proc(kModule, u"LoadFile", ProcKind::Function);
  proc.ByVal(u"arrFiles", arrFiles);
  return proc.Run(false, [&] {
    for (const Text& path : arrFiles) {
      Text content;
      if (path.empty() || !ReadSettingsFile(path, content)) continue;
      LineSink sink{{}, path, false};
      LoadLines(content, sink);
      if (Identity(path) != Identity(ProgramPath(DefaultConfigFile))) NoteDefinitionFile(path);
    }
    return true;
  });
}

void Config_Class::LoadSections(TextView content, TextView prefix, bool useSections, LineSink& sink) {
  sink.prefix = prefix;
  ForEachLine(content, [&](TextView line) {
    if (const std::optional<Text> section = SectionPrefix(line)) {
      if (useSections) sink.prefix = Text(prefix) + *section;
    } else if (const auto entry = SplitEntry(line)) {
      TakeLine(WithPrefix(sink.prefix, entry->key), entry->value, sink);
    }
  });
}

bool Config_Class::LoadINIText(TextView text, TextView fileOfPrefix, TextView defFile, const ConfigIniOptions& options) {
  if (App_Strings::TrimBlanks(text).empty()) return false;
  LineSink sink{{}, options.bNoDefFile ? Text() : Text(defFile), options.bNoSave};
  const Text prefix = DottedPrefix(options.sPrefix) + (options.bPrefixFileName ? FilePrefix(fileOfPrefix) : Text());
  LoadSections(text, prefix, options.bUseSections, sink);
  if (!sink.defFile.empty() && !options.bNoSave) NoteDefinitionFile(ProgramPath(sink.defFile));
  return true;
}

bool Config_Class::LoadINI(TextView sFile, const ConfigIniOptions& options) {
  Proc proc(kModule, u"LoadINI", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"sPrefix", options.sPrefix);
  proc.ByVal(u"bNoDefFile", options.bNoDefFile);
  proc.ByVal(u"bPrefixFileName", options.bPrefixFileName);
  proc.ByVal(u"bNoSave", options.bNoSave);
  proc.ByVal(u"sDefFile", options.sDefFile);
  proc.ByVal(u"bUseSections", options.bUseSections);
  return proc.Run(false, [&] {
    Text content;
    if (App_Strings::TrimBlanks(sFile).empty() || !ReadSettingsFile(sFile, content)) return false;
    proc.Log(u"UBound(Array) = " + NumberText(static_cast<std::int64_t>(LastLineIndex(content))), EventType::Verbose);
    return LoadINIText(content, sFile, options.sDefFile.empty() ? sFile : TextView(options.sDefFile), options);
  });
}

bool Config_Class::LoadINIFromString(TextView sText, const ConfigIniOptions& options) {
  Proc proc(kModule, u"LoadINIFromString", ProcKind::Function);
  proc.ByVal(u"sPrefix", options.sPrefix);
  proc.ByVal(u"bNoDefFile", options.bNoDefFile);
  proc.ByVal(u"bPrefixFileName", options.bPrefixFileName);
  proc.ByVal(u"bNoSave", options.bNoSave);
  proc.ByVal(u"sDefFile", options.sDefFile);
  proc.ByVal(u"bUseSections", options.bUseSections);
  return proc.Run(false, [&] {
    proc.Log(u"UBound(Array) = " + NumberText(static_cast<std::int64_t>(LastLineIndex(sText))), EventType::Verbose);
    return LoadINIText(sText, options.sDefFile, options.sDefFile, options);
  });
}

bool Config_Class::LoadString(TextView sText, const ConfigIniOptions& options) {
  Proc proc(kModule, u"LoadString", ProcKind::Function);
  proc.ByVal(u"sDefFile", options.sDefFile);
  proc.ByVal(u"sPrefix", options.sPrefix);
  proc.ByVal(u"bNoDefFile", options.bNoDefFile);
  proc.ByVal(u"bNoSave", options.bNoSave);
  return proc.Run(false, [&] {
    if (App_Strings::TrimBlanks(sText).empty()) return false;
    const bool manyLines = sText.find(kCrLf) != TextView::npos;
    LineSink sink{DottedPrefix(options.sPrefix), options.bNoDefFile ? Text() : options.sDefFile, options.bNoSave};
    if (options.bPrefixFileName) sink.prefix += FilePrefix(options.sDefFile);
    ForEachLine(sText, [&](TextView line) {
      const auto entry = SplitEntry(line);
      if (!entry) return;
      const TextView value = manyLines ? entry->value.substr(0, entry->value.find(u'=')) : entry->value;
      TakeLine(WithPrefix(sink.prefix, entry->key), value, sink);
    });
    const Text file = sink.defFile.empty() ? Text() : ProgramPath(sink.defFile);
    const bool tracked = !file.empty() && !options.bNoSave && Identity(file) != Identity(ProgramPath(DefaultConfigFile));
    if (tracked) NoteDefinitionFile(file);
    return true;
  });
}

}  // namespace ovs
