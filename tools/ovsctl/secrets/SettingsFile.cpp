#include "ovsctl/secrets/SettingsFile.h"

#include <algorithm>
#include <optional>

#include "base/Fold.h"
#include "base/Wipe.h"
#include "config/Config_Class.h"
#include "config/PlainIni.h"
#include "os/Files.h"
#include "ovsctl/cli/Console.h"
#include "platform/FileContent.h"

namespace ovs {

namespace {

using Line = PlainIni::Line;

std::size_t OffsetIn(TextView whole, TextView part) { return static_cast<std::size_t>(part.data() - whole.data()); }

// The line end that the file uses first; CR LF where it has none.
TextView LineEndOf(TextView text) {
  const std::size_t at = text.find_first_of(u"\r\n");
  if (at == TextView::npos) return kCrLf;
  return text.substr(at, text.substr(at, kCrLf.size()) == kCrLf ? kCrLf.size() : 1);
}

std::size_t EndOfLine(TextView text, std::size_t from) { return std::min(text.find_first_of(u"\r\n", from), text.size()); }

// The place of an INI key's value.
struct IniPlace {
  std::optional<Line> section;
  std::optional<Line> last;  // line of the section that is no remark, the section's own among them
  std::optional<Line> key;
};

IniPlace FindPlace(const PlainIni& ini, const SettingName& setting) {
  IniPlace place;
  for (const Line& line : ini.Lines()) {
    if (line.kind == Line::Kind::Section) {
      if (place.section) break;
      if (!EqualsFolded(line.name, setting.section)) continue;
      place.section = line;
      place.last = line;
    } else if (place.section && line.kind == Line::Kind::Key) {
      place.last = line;
      if (!place.key && EqualsFolded(line.name, setting.key)) place.key = line;
    }
  }
  return place;
}

}  // namespace

SettingsFile::~SettingsFile() {
  Wipe(bytes_);
  Wipe(text_);
}

bool SettingsFile::Refuse(const std::string& why) const {
  static_cast<void>(Console::Fail(Console::Shown(path_) + " is left as it is: " + why));
  return false;
}

bool SettingsFile::Read() {
  const ReadOutcome outcome = ReadFileBytes(files_, path_, bytes_);
  exists_ = outcome != ReadOutcome::Missing;
  if (!exists_) return true;
  if (outcome != ReadOutcome::Ok) return Refuse(Console::Shown(DescribeReadOutcome(outcome)));
  encoding_ = DetectEncoding(bytes_);
  text_ = DecodeFile(bytes_);
  return text_.find(kNul) == Text::npos || Refuse("it is not text (it holds NUL characters)");
}

// The bytes outside the place are not converted there and back: not every file would come out of it as it was.
void SettingsFile::Splice(std::size_t at, std::size_t length, TextView text) {
  const auto sizeOf = [&](TextView part) { return EncodeFor(encoding_, part).size(); };
  const std::size_t start = MarkOf(encoding_).size() + sizeOf(TextView(text_).substr(0, at));
  const std::size_t size = sizeOf(TextView(text_).substr(at, length));
  std::string changed;
  changed.reserve(bytes_.size() + EncodeFor(encoding_, text).size());
  changed.append(bytes_, 0, start).append(EncodeFor(encoding_, text)).append(bytes_, start + size);
  bytes_.swap(changed);
  Wipe(changed);
  Text all;
  all.reserve(text_.size() + text.size());
  all.append(text_, 0, at).append(text).append(text_, at + length);
  text_.swap(all);
  Wipe(all);
}

bool SettingsFile::PutIntoSection(const SettingName& setting, TextView value) {
  {
    const PlainIni ini(text_);
    const TextView content = ini.Content();
    const TextView end = LineEndOf(content);
    const IniPlace place = FindPlace(ini, setting);
    if (place.key && place.key->value) {
      Splice(OffsetIn(content, *place.key->value), place.key->value->size(), value);
    } else if (place.key) {
      Splice(OffsetIn(content, place.key->whole) + place.key->whole.size(), 0, Text(u"=").append(value));
    } else if (place.last) {
      const std::size_t at = EndOfLine(content, OffsetIn(content, place.last->whole) + place.last->whole.size());
      Splice(at, 0, Text(end).append(setting.key).append(u"=").append(value));
    } else {
      const bool needsEnd = !content.empty() && content.back() != u'\n' && content.back() != u'\r';
      Text added(needsEnd ? end : TextView());
      added.append(u"[").append(setting.section).append(u"]").append(end);
      added.append(setting.key).append(u"=").append(value).append(end);
      Splice(content.size(), 0, added);
    }
  }
  const PlainIni changed(text_);
  if (ProfileValue(changed.RawValue(setting).value_or(TextView())) == value) return true;
  return Refuse("the value could not be put into it");
}

bool SettingsFile::PutProgramSetting(TextView key, TextView value) {
  const TextView content = text_;
  std::optional<TextView> old;
  bool bareEnds = false;
  Config_Class::ForEachFileLine(content, [&](const Config_Class::FileLine& line) {
    if (line.whole.find_first_of(u"\r\n") != TextView::npos) bareEnds = true;
    if (line.isEntry && EqualsFolded(line.key, key)) old = line.value;  // the last one counts
  });
  if (bareEnds)
    return Refuse("its lines do not end in CR LF, so the service does not read them; save it with Windows line ends");
  if (old) {
    Splice(OffsetIn(content, *old), old->size(), value);
  } else {
    Text added(content.empty() || content.ends_with(kCrLf) ? TextView() : kCrLf);
    added.append(key).append(u"=").append(value).append(kCrLf);
    Splice(content.size(), 0, added);
  }
  bool isRead = false;
  Config_Class::ForEachFileLine(text_, [&](const Config_Class::FileLine& line) {
    if (line.isEntry && EqualsFolded(line.key, key)) isRead = line.value == value;
  });
  return isRead || Refuse("the value could not be put into it");
}

bool SettingsFile::Write() {
  if (bytes_.size() > kMaxTextFileBytes) return Refuse("it would become too large to be read again");
  // Where no folder can be made, writing the file tells why.
  if (!exists_) files_.MakeSureDirectoryPathExists(path_).Ignore();
  const os::Error error = os::ReplaceFileSafely(path_, bytes_);
  if (error.Failed()) static_cast<void>(Console::Fail("cannot write " + Console::Shown(path_), error));
  return error.Ok();
}

}  // namespace ovs
