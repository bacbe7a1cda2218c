// The rights to change the files that the service runs and reads. It runs as the system: a user who can change its program
// or plant a file beside it commands the machine.
#pragma once

#include <optional>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::win32 {

enum class FolderAccess {
  Administrators,  // they and the system alone, everything
  // The machine's users may look into the folder and those below it as well. Files are closed to them, those too that are
  // made there later.
  AdministratorsUsersEnter,
};

// The owner and the access list in their text form (SDDL).
[[nodiscard]] Text ListOf(FolderAccess access);

// Gives a folder to the administrators, with an access list that takes nothing over from the folders above. All that is in
// it is theirs too, loses its own lists and inherits this one. Links to other places stay as they are. A failure is the
// last one; the rest is done all the same.
os::Error ProtectFolder(TextView folder, FolderAccess access);

// Lets the machine's users read and run a file, or all that is in a folder, beside what is handed down to it.
os::Error LetUsersRead(TextView path);

// Who may own what lies in a folder.
enum class Owners {
  Anybody,
  Trusted,  // the administrators, the system, its installer, the user of this program
};

// Why the folder cannot be protected: a sentence about the first thing in it, the folder itself included, that leads to
// another place, is a file with another name elsewhere (a hard link), has another owner, or cannot be looked at. None when
// there is nothing such, or no folder.
[[nodiscard]] std::optional<Text> FindTrap(TextView folder, Owners owners);

// True when somebody besides the administrators, the system and its installer may change the file or folder, or owns it;
// true as well when that cannot be asked.
[[nodiscard]] bool OthersMayChange(TextView path);
// True when they may rename or delete the folder or what lies in it, or change who may.
[[nodiscard]] bool OthersMayReplaceIn(TextView folder);
// The three questions, asked of an owner and an access list in their text form.
[[nodiscard]] bool ListLetsOthersChange(TextView sddl);
[[nodiscard]] bool ListLetsOthersReplace(TextView sddl);
[[nodiscard]] bool ListHasTrustedOwner(TextView sddl);

}  // namespace ovs::win32
