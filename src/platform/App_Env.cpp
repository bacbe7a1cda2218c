#include "platform/App_Env.h"

#include "base/App_Strings.h"
#include "base/Numbers.h"
#include "base/Version.h"
#include "diag/Proc.h"
#include "platform/App_FilePath.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"App_Env";

}  // namespace

App_Env::App_Env(os::System& system, TextView applicationFolder)
    : system_(system),
      applicationFolder_(applicationFolder.empty() ? App_FilePath::FolderOf(system.ProgramPath())
                                                   : App_FilePath::JoinPath(applicationFolder, {})) {}

Text App_Env::DataFolder() const {
  Proc proc(kModule, u"DataFolder", ProcKind::Property);
  return proc.Run(Text(), [&] {
    const Text programData = system_.ProgramDataFolder();
    const bool isLocal = App_FilePath::IsFullPath(programData) && !App_FilePath::IsUNCPath(programData);
    return isLocal ? App_FilePath::JoinPath(programData, u"Orvanta Event Service\\") : applicationFolder_ + u"Data\\";
  });
}

Text App_Env::TempFolder() const {
  Proc proc(kModule, u"TempFolder", ProcKind::Property);
  return proc.Run(Text(), [&] {
    for (const TextView name : {u"TMP", u"TEMP"}) {
      const Text folder = App_FilePath::LocalPathFromEnvVar(system_, name);
      if (!folder.empty()) return App_FilePath::JoinPath(folder, {});
    }
    return applicationFolder_ + u"Temp\\";
  });
}

Text App_Env::ProgramName() const { return App_FilePath::NameWithoutExtension(system_.ProgramPath()); }

Text App_Env::Version() const { return Text(kVersion); }

Text App_Env::AppTitle_VersionForced() const { return Title() + u" " + Version(); }

Text App_Env::GetAppCaption() const {
  Proc proc(kModule, u"GetAppCaption", ProcKind::Function);
  return proc.Run(Text(), [&] { return AppTitle_VersionForced(); });
}

Text App_Env::LanAddress() const {
  Proc proc(kModule, u"LanAddress", ProcKind::Property);
  return proc.Run(Text(), [&] { return App_Strings::Join(system_.LanAddresses(), u", "); });
}

Text App_Env::ProcessIdText() const { return NumberText(system_.ProcessId()); }

}  // namespace ovs
