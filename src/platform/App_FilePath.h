// Path text: extended-length forms, parts of a path, drive letters. Nothing here touches the disk.
#pragma once

#include "base/Text.h"
#include "os/System.h"

namespace ovs::App_FilePath {

// Puts a path into the form that the wide system calls take: surrounding double quotes removed, the extended-length
// prefix "\\?\" or "\\?\UNC\" in front, one NUL at the end. A text without "\" gets the NUL alone.
Text& PrepPathForUnicodeAPI(Text& path, bool addTrailingBackslash = false);

// The same without the NUL.
[[nodiscard]] Text ExtendedPath(TextView path);
// A path as a port call takes it: a full path in that form, so that each name means itself, be it "a." or "b ". A path that
// the system has to resolve first ("." or "..", "/", empty names, not full) loses its quotes alone.
[[nodiscard]] Text PortPath(TextView path);

// The way back, for a path that a system call returned: cut at the first NUL, the prefix "\\?\UNC\" turned into "\\", the
// prefixes "\\?\", "\??\" and "\\.\" removed.
[[nodiscard]] Text FixPathFromAPI(TextView path);

// "X:\..." or any path that starts with "\\".
[[nodiscard]] bool IsFullPath(TextView path);
// A network path: "\\server..." or "\\?\UNC\server...".
[[nodiscard]] bool IsUNCPath(TextView path);
// True when only the wide calls can carry a path: a character does not exist in Windows-1252, or a name ends in a dot or a
// blank, which others drop.
[[nodiscard]] bool PathNeedsWideAPI(TextView path);

// The drive letter of a path, with ":" when asked for. The given drive is returned when the path has none.
[[nodiscard]] Text PathToDriveLetter(TextView sPath, bool bAppendColonToDriveLetter = false,
                                     TextView sReturnThisDriveOnFailure = {});

// The local folder or file that an environment variable names (with or without "%" around the name), quotes removed;
// empty when it is not set or holds no full path on a drive.
[[nodiscard]] Text LocalPathFromEnvVar(os::System& system, TextView sEnvVar);

// The text after the last "\".
[[nodiscard]] Text FileNameOf(TextView path);
// The text up to and including the last "\"; empty when there is none.
[[nodiscard]] Text FolderOf(TextView path);
// The text before the last "\"; the whole text when there is none.
[[nodiscard]] Text ParentOf(TextView path);
// The file name up to its last "."; the whole name when it has none.
[[nodiscard]] Text NameWithoutExtension(TextView path);
// Folder and name with exactly one "\" between; the name alone when the folder is empty.
[[nodiscard]] Text JoinPath(TextView folder, TextView name);
// The length of the part that always exists: "C:\", "\\server\share\", each also behind its extended prefix; 0 when the
// path is not full.
[[nodiscard]] std::size_t RootLength(TextView path);

}  // namespace ovs::App_FilePath
