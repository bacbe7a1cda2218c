// The rights to change the files that the service runs and reads. It runs as the system: a user who can change its program
// or plant a file beside it commands the machine.
#pragma once

#include <optional>

#include "base/Text.h"
#include "os/Error.h"

namespace ovs::win32 {

enum class FolderAccess {
  Administrators,           // they and the system alone, everything
  AdministratorsUsersRead,  // the machine's users may read and run as well
};

// The owner and the access list in their text form (SDDL).
[[nodiscard]] Text ListOf(FolderAccess access);

// Gives a folder to the administrators, with an access list that takes nothing over from the folders above. All that is in
// it is theirs too, loses its own lists and inherits this one. Links to other places stay as they are. A failure is the
// last one; the rest is done all the same.
os::Error ProtectFolder(TextView folder, FolderAccess access);

// The first link to another place in the folder or below it, the folder itself included; none when there is none.
[[nodiscard]] std::optional<Text> FindLink(TextView folder);

// True when somebody besides the administrators, the system and its installer may change the file or folder, or owns it;
// true as well when that cannot be asked.
[[nodiscard]] bool OthersMayChange(TextView path);
// True when they may rename or delete the folder or what lies in it, or change who may.
[[nodiscard]] bool OthersMayReplaceIn(TextView folder);
// Both questions, asked of an owner and an access list in their text form.
[[nodiscard]] bool ListLetsOthersChange(TextView sddl);
[[nodiscard]] bool ListLetsOthersReplace(TextView sddl);

}  // namespace ovs::win32
