#include "config/FileProblems.h"

#include "diag/App_Debug.h"

namespace ovs {

namespace {

TextView ActionOn(FileKind kind) {
  switch (kind) {
    case FileKind::SettingsFile:
      return u"use settings file";
    case FileKind::RuleFile:
      return u"use rule file";
    case FileKind::ExclusionList:
      return u"use exclusion list";
    case FileKind::RulesFolder:
      return u"list rules folder";
  }
  return {};
}

}  // namespace

Text FileProblem::Sentence() const { return u"Cannot " + Text(ActionOn(kind)) + u" [" + path + u"]: " + reason; }

void FileProblems::Report(FileKind kind, TextView path, TextView reason) {
  const auto known = byPath_.find(path);
  if (known != byPath_.end() && known->second.reason == reason) return;
  if (byPath_.size() >= kMaxRemembered) byPath_.clear();
  byPath_.insert_or_assign(Text(path), Known{kind, Text(reason)});
  Debug::dLog(kNoProc, FileProblem{kind, Text(path), Text(reason)}.Sentence());
}

std::optional<FileProblems::Known> FileProblems::Take(TextView path) {
  const auto found = byPath_.find(path);
  if (found == byPath_.end()) return std::nullopt;
  Known known = std::move(found->second);
  byPath_.erase(found);
  return known;
}

void FileProblems::Usable(TextView path) {
  const std::optional<Known> known = Take(path);
  if (known) Debug::dLog(kNoProc, u"Can " + Text(ActionOn(known->kind)).append(u" [").append(path).append(u"] again"));
}

void FileProblems::Gone(TextView path) {
  const std::optional<Known> known = Take(path);
  if (known) Debug::dLog(kNoProc, FileProblem{known->kind, Text(path), u"it is gone"}.Sentence());
}

std::vector<FileProblem> FileProblems::Current() const {
  std::vector<FileProblem> problems;
  problems.reserve(byPath_.size());
  for (const auto& [path, known] : byPath_) problems.push_back({known.kind, path, known.reason});
  return problems;
}

}  // namespace ovs
