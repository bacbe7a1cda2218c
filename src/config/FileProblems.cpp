#include "config/FileProblems.h"

#include "diag/App_Debug.h"

namespace ovs {

namespace {

TextView Complaint(FileKind kind) {
  switch (kind) {
    case FileKind::SettingsFile:
      return u"Cannot use settings file";
    case FileKind::RuleFile:
      return u"Cannot use rule file";
    case FileKind::ExclusionList:
      return u"Cannot use exclusion list";
    case FileKind::RulesFolder:
      return u"Cannot list rules folder";
  }
  return {};
}

}  // namespace

Text FileProblem::Sentence() const { return Text(Complaint(kind)) + u" [" + path + u"]: " + reason; }

void FileProblems::Report(FileKind kind, TextView path, TextView reason) {
  const auto known = byPath_.find(path);
  if (known != byPath_.end() && known->second.reason == reason) return;
  if (byPath_.size() >= kMaxRemembered) byPath_.clear();
  byPath_.insert_or_assign(Text(path), Known{kind, Text(reason)});
  Debug::dLog(kNoProc, FileProblem{kind, Text(path), Text(reason)}.Sentence());
}

void FileProblems::Clear(TextView path) {
  if (byPath_.empty()) return;
  const auto known = byPath_.find(path);
  if (known != byPath_.end()) byPath_.erase(known);
}

std::vector<FileProblem> FileProblems::Current() const {
  std::vector<FileProblem> problems;
  problems.reserve(byPath_.size());
  for (const auto& [path, known] : byPath_) problems.push_back({known.kind, path, known.reason});
  return problems;
}

}  // namespace ovs
