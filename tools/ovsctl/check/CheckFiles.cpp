#include "ovsctl/check/CheckFiles.h"

#include <algorithm>

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "base/Fold.h"
#include "config/Config_Class.h"
#include "monitor/Rule.h"
#include "ovsctl/check/FileChecks.h"
#include "ovsctl/cli/Console.h"
#include "platform/App_FilePath.h"
#include "platform/FS_DirList.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

constexpr TextView kMainSettings = u"Orvanta.ini";

constexpr GlobalExclusions::List kLists[] = {GlobalExclusions::kIds, GlobalExclusions::kSources, GlobalExclusions::kTexts};

std::optional<GlobalExclusions::List> ListOfName(TextView name) {
  for (const auto list : kLists) {
    if (EqualsFolded(GlobalExclusions::FileName(list), name)) return list;
  }
  return std::nullopt;
}

// The list that this name was probably meant to be.
TextView NearestList(TextView name) {
  constexpr TextView kStem = u"GlobalExclusion";
  std::vector<TextView> names;
  for (const auto list : kLists) names.push_back(GlobalExclusions::FileName(list));
  const bool sameStem = EqualsFolded(name.substr(0, kStem.size()), kStem);
  constexpr std::size_t kFar = 4;
  TextView nearest;
  std::size_t least = sameStem ? kTextNotFound : kFar + 1;
  for (const TextView each : names) {
    const std::size_t distance = EditDistance(name, each);
    if (distance < least) nearest = each;
    least = std::min(least, distance);
  }
  return nearest;
}

std::vector<Text> FilesBelow(os::Files& files, TextView folder, TextView mask, std::int32_t levels) {
  FS_DirList search(files);
  search.RecursionLevel = levels;
  search.AddSearchPath(folder);
  search.AddFileMask(mask);
  search.StartSearch();
  std::vector<Text> found = search.MatchingFilesOnDisk();
  std::ranges::sort(found, [](const Text& a, const Text& b) { return CompareFolded(a, b) < 0; });
  return found;
}

std::vector<Text> FoldersNamedAsRules(os::Files& files, TextView folder) {
  FS_DirList search(files);
  search.IncludeFiles = false;
  search.IncludeDirs = true;
  search.RecursionLevel = 0;
  search.AddSearchPath(folder);
  search.StartSearch();
  std::vector<Text> found = search.MatchingDirsOnDisk();
  std::erase_if(found, [](const Text& each) { return !App_Strings::StringEndsWith(each, u".DAT"); });
  return found;
}

}  // namespace

FilesCheck::FilesCheck(Installation& installation, Findings& findings)
    : installation_(installation),
      files_(installation.FileSystem().Files()),
      findings_(findings),
      programSettings_(files_, findings) {}

Text FilesCheck::ShownPath(TextView path) const {
  const Text& folder = installation_.Settings().applicationFolder;
  return Text(EqualsFolded(path.substr(0, folder.size()), folder) ? path.substr(folder.size()) : path);
}

GlobalExclusions& FilesCheck::ListsOf(TextView folder) {
  for (const auto& [known, lists] : lists_) {
    if (EqualsFolded(known, folder)) return *lists;
  }
  lists_.emplace_back(folder, std::make_unique<GlobalExclusions>(installation_.FileSystem(), problems_, folder));
  return *lists_.back().second;
}

bool FilesCheck::TellProblem(const std::vector<FileProblem>& problems, TextView path) {
  const auto found = std::ranges::find_if(problems, [&](const FileProblem& each) { return EqualsFolded(each.path, path); });
  if (found == problems.end()) return false;
  findings_.Error(
      0, "this file cannot be used: " + Console::Shown(found->reason),
      "Only text files below 16 MB that may be read count. Save it as UTF-8, or as UTF-16 with a byte-order mark; "
      "give a folder another name.");
  return true;
}

void FilesCheck::CheckRuleFile(TextView path) {
  const std::size_t file = findings_.BeginFile(ShownPath(path));
  PlainIni content;
  // A file without [LogFile] is unusable as well; its lines tell the same and more.
  const IniLoad outcome = LoadRuleFile(installation_.Ini(), problems_, path, content);
  if (TellProblem(installation_.Ini().Problems().Current(), path) || outcome == IniLoad::Missing) return;
  rules_.push_back(MakeCheckedRule(file, std::move(content)));
  folders_.push_back(App_FilePath::ParentOf(path));
  CheckRule(files_, rules_.back(), findings_);
}

void FilesCheck::CheckMainSettings(TextView path) {
  findings_.BeginFile(ShownPath(path));
  PlainIni content;
  if (installation_.Ini().LoadIni(path, content) == IniLoad::Missing) {
    findings_.Warning(0, "there is no main settings file: the disk check and e-mail are off, times are local",
                      "Make the file; the manual lists its keys.");
    return;
  }
  if (TellProblem(installation_.Ini().Problems().Current(), path)) return;
  CheckIniLines(files_, content, MainSettings::kAll, findings_);
  CheckMailSettings(installation_, content, findings_);
}

void FilesCheck::CheckProgramSettings(TextView path) {
  const std::size_t file = findings_.BeginFile(ShownPath(path));
  Config_Class store(installation_.FileSystem(), installation_.Parts().crypt, installation_.Settings().applicationFolder);
  store.LoadFiles({Text(path)});
  Text content;
  if (TellProblem(store.Problems(), path) || !installation_.FileSystem().GetFileToString(path, content)) return;
  programSettings_.Check(content, findings_.NameOf(file));
}

void FilesCheck::CheckListFile(TextView path) {
  findings_.BeginFile(ShownPath(path));
  const auto list = ListOfName(App_FilePath::FileNameOf(path));
  if (!list) return;
  CheckList(ListsOf(App_FilePath::ParentOf(path)), *list, findings_);
  static_cast<void>(TellProblem(problems_.Current(), path));
}

bool FilesCheck::LooksLikeRule(TextView path) {
  std::string bytes;
  if (ReadFileBytes(files_, path, bytes) != ReadOutcome::Ok) return false;
  const PlainIni content(DecodeFile(bytes));
  return std::ranges::any_of(SectionsOf(RuleSettings::kAll), [&](TextView each) { return content.HasSection(each); });
}

void FilesCheck::CheckOne(TextView path) {
  const Text name = App_FilePath::FileNameOf(path);
  os::FileInfo info;
  if (files_.Info(path, info).IsNotFound()) {
    findings_.BeginFile(ShownPath(path));
    findings_.Error(0, "there is no such file", "Give the name of a file that exists.");
  } else if (GlobalExclusions::IsListName(name)) {
    CheckListFile(path);
  } else if (MatchesMask(name, u"*.DAT")) {
    CheckRuleFile(path);
  } else if (MatchesMask(name, u"*.cfg")) {
    CheckProgramSettings(path);
  } else if (EqualsFolded(name, kMainSettings)) {
    CheckMainSettings(path);
  } else {
    CheckUnknown(path);
  }
}

void FilesCheck::CheckUnknown(TextView path) {
  if (LooksLikeRule(path)) {
    CheckRuleFile(path);
    findings_.Warning(0, "this looks like a rule, but its name does not end in .DAT", "Rename it when it is to be read.");
    return;
  }
  findings_.BeginFile(ShownPath(path));
  findings_.Error(0, "the service reads no file of this name",
                  DidYouMean(NearestList(App_FilePath::FileNameOf(path)),
                             "It reads rules (.DAT), the three exclusion lists, Orvanta.ini and .cfg files."));
}

void FilesCheck::CheckAll() {
  CheckMainSettings(installation_.Settings().configIniPath);
  CheckConfigFolder();
  CheckRulesFolder();
  Config_Class store(installation_.FileSystem(), installation_.Parts().crypt, installation_.Settings().applicationFolder);
  for (const Text& path : store.FilesIn(installation_.Settings().applicationFolder)) CheckProgramSettings(path);
}

void FilesCheck::CheckRulesFolder() {
  const Text& folder = installation_.Settings().rulesFolder;
  if (!installation_.FileSystem().DirExist(folder)) {
    findings_.BeginFile(ShownPath(folder));
    findings_.Warning(0, "there is no folder of rules, so no rule alerts", "The service makes the folder when it starts.");
    return;
  }
  for (const Text& path : FilesBelow(files_, folder, u"*.DAT", 0)) CheckRuleFile(path);
  for (const Text& path : FoldersNamedAsRules(files_, folder)) CheckRuleFile(path);
  if (rules_.empty()) {
    findings_.BeginFile(ShownPath(folder));
    findings_.Warning(0, "there is no rule that can be used here, so no rule alerts", "Make a rule file, NAME.DAT.");
  }
  for (const auto list : kLists) {
    const Text path = folder + u"\\" + Text(GlobalExclusions::FileName(list));
    os::FileInfo info;
    if (files_.Info(path, info).Ok()) CheckListFile(path);
  }
  for (const Text& path : FilesBelow(files_, folder, u"*.*", -1)) CheckStray(path);
}

// A file that was probably meant to be read and is not.
void FilesCheck::CheckStray(TextView path) {
  const Text name = App_FilePath::FileNameOf(path);
  const bool isRule = MatchesMask(name, u"*.DAT");
  const bool isList = GlobalExclusions::IsListName(name);
  const bool isHere = EqualsFolded(App_FilePath::ParentOf(path), installation_.Settings().rulesFolder);
  const auto warn = [&](const std::string& what, const std::string& mend) {
    findings_.BeginFile(ShownPath(path));
    findings_.Warning(0, what, mend);
  };
  if (isRule || isList) {
    if (!isHere) {
      warn(std::string("this ") + (isRule ? "rule" : "list") + " is not read: it does not lie in Config\\Rules itself",
           "Move it there, or give it another ending.");
    }
  } else if (const TextView list = NearestList(name); !list.empty()) {
    warn("this file is not read; it looks like an exclusion list under a wrong name",
         "Rename it to " + Console::Shown(list) + ".");
  } else if (MatchesMask(name, u"*.dat.*;*.txt;*.ini") && LooksLikeRule(path)) {
    warn("this rule is not read: its name does not end in .DAT", "Rename it when it is to be read.");
  }
}

// A level too high, or the settings file under another name.
void FilesCheck::CheckConfigFolder() {
  const Text folder = App_FilePath::ParentOf(installation_.Settings().configIniPath);
  if (!installation_.FileSystem().DirExist(folder)) return;
  for (const Text& path : FilesBelow(files_, folder, u"*.*", 0)) {
    constexpr std::size_t kNear = 4;
    const Text name = App_FilePath::FileNameOf(path);
    if (MatchesMask(name, u"*.DAT") || GlobalExclusions::IsListName(name)) {
      CheckStray(path);
    } else if (!EqualsFolded(name, kMainSettings) && !MatchesMask(name, u"*.cfg;*.bak;*.new") &&
               EditDistance(name, kMainSettings) <= kNear) {
      findings_.BeginFile(ShownPath(path));
      findings_.Warning(0, "this file is not read; it looks like the main settings file under a wrong name",
                        "Rename it to Orvanta.ini when it is to be read.");
    }
  }
}

void FilesCheck::CheckTogether() {
  for (std::size_t i = 0; i < rules_.size(); ++i) CheckRuleAgainstLists(rules_[i], ListsOf(folders_[i]), findings_);
  CheckRulesAgainstEachOther(rules_, findings_);
}

}  // namespace ovs
