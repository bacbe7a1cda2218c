#include "config/App_Common.h"

#include "base/App_Strings.h"
#include "base/Encoding.h"
#include "diag/Proc.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

// The limit and the number in the message differ on purpose: the message is the known one.
constexpr std::size_t kLongestNarrowPath = 259;
constexpr std::size_t kMaxNotedPaths = 4096;
// The service reads one file by its keys; the bound is for tools.
constexpr std::size_t kMaxLast = 16;

}  // namespace

void App_Common::NoteWideFormat(Proc& proc, TextView sFile) {
  TextView note;
  if (sFile.size() > kLongestNarrowPath) {
    note = u"Using Wide format for path > 256";
  } else if (App_Strings::UseWideAPI(sFile)) {
    note = u"Using Wide format for path containing unicode characters!";
  } else {
    return;
  }
  // Files are read for every record: one ordinary note for each path, the rest only for whoever asks for everything.
  const bool first = !notedPaths_.contains(sFile);
  if (first && notedPaths_.size() < kMaxNotedPaths) notedPaths_.emplace(sFile);
  proc.Log(note, first ? EventType::Normal : EventType::Verbose);
}

Text App_Common::ReadINI(TextView sFile, TextView sSection, TextView sKey) {
  Proc proc(u"App_Common", u"ReadINI", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"sSection", sSection);
  proc.ByVal(u"sKey", sKey);
  return proc.Run(Text(), [&] {
    NoteWideFormat(proc, sFile);
    PlainIni content;
    LoadIniOrLast(sFile, content);
    return ProfileValue(content.RawValue(sSection, sKey).value_or(TextView()));
  });
}

Text App_Common::ReadINI(const PlainIni& content, TextView sFile, TextView sSection, TextView sKey) {
  Proc proc(u"App_Common", u"ReadINI", ProcKind::Function);
  proc.ByVal(u"sFile", sFile);
  proc.ByVal(u"sSection", sSection);
  proc.ByVal(u"sKey", sKey);
  return proc.Run(Text(), [&] {
    NoteWideFormat(proc, sFile);
    return ProfileValue(content.RawValue(sSection, sKey).value_or(TextView()));
  });
}

IniLoad App_Common::LoadIni(TextView sFile, PlainIni& out) {
  std::string bytes;
  const ReadOutcome outcome = ReadFileBytes(files_, sFile, bytes);
  if (outcome == ReadOutcome::Missing) {
    problems_.Gone(sFile);
    return IniLoad::Missing;
  }
  if (outcome != ReadOutcome::Ok) {
    problems_.Report(FileKind::SettingsFile, sFile, DescribeReadOutcome(outcome));
    return outcome == ReadOutcome::Failed ? IniLoad::Refused : IniLoad::Unusable;
  }
  Text text = DecodeFile(bytes);
  if (text.find(u'\0') != Text::npos) {
    problems_.Report(FileKind::SettingsFile, sFile, u"it is not text (it holds NUL characters)");
    return IniLoad::Unusable;
  }
  problems_.Usable(sFile);
  out = PlainIni(std::move(text));
  return IniLoad::Ok;
}

IniLoad App_Common::LoadIniOrLast(TextView sFile, PlainIni& out) {
  PlainIni content;
  const IniLoad load = LoadIni(sFile, content);
  if (load != IniLoad::Refused) {
    KeepLast(sFile, load, content);
  } else if (const auto last = last_.find(sFile); last != last_.end()) {
    content = last->second;
  }
  out = std::move(content);
  return load;
}

void App_Common::KeepLast(TextView sFile, IniLoad load, const PlainIni& content) {
  const auto last = last_.find(sFile);
  if (load != IniLoad::Ok) {
    if (last != last_.end()) last_.erase(last);
    return;
  }
  // Taken over whole or not at all, whatever memory there is.
  PlainIni copy = content;
  if (last != last_.end()) {
    last->second = std::move(copy);
    return;
  }
  if (last_.size() >= kMaxLast) last_.clear();
  last_.emplace(sFile, std::move(copy));
}

}  // namespace ovs
