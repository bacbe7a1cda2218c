#include "ovsctl/service/win32/FolderAccess.h"

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include <memory>
#include <vector>

#include "base/Numbers.h"
#include "os/Files.h"
#include "os/win32/Win32Path.h"
#include "os/win32/Win32Support.h"
#include "platform/App_FilePath.h"

namespace ovs::win32 {

namespace {

// Owner: administrators. Full access for them and the system, for all that is in the folder. The users' entry is handed
// down to folders and not to files.
constexpr wchar_t kAdministratorsSddl[] = L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
constexpr wchar_t kUsersEnterSddl[] = L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;CI;FRFX;;;BU)";
// In addition to what is handed down.
constexpr wchar_t kUsersReadSddl[] = L"O:BAD:(A;OICI;FRFX;;;BU)";
// Administrators, the system, Windows' installer; the creator of something new counts only where others can make it.
constexpr const wchar_t* kTrusted[] = {L"S-1-5-32-544", L"S-1-5-18",
                                       L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", L"S-1-3-0"};

constexpr DWORD kReplacing = DELETE | FILE_DELETE_CHILD | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;
constexpr DWORD kChanging =
    kReplacing | FILE_WRITE_DATA | FILE_APPEND_DATA | FILE_WRITE_ATTRIBUTES | FILE_WRITE_EA | GENERIC_WRITE;

struct LocalMemory {
  void operator()(void* memory) const noexcept { LocalFree(memory); }
};
using Descriptor = std::unique_ptr<void, LocalMemory>;

struct OwnerAndList {
  Descriptor memory;
  PSID owner = nullptr;
  PACL list = nullptr;
};

os::Error FromSddl(const wchar_t* sddl, OwnerAndList& out) {
  PSECURITY_DESCRIPTOR made = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl, SDDL_REVISION_1, &made, nullptr)) return LastError();
  out.memory.reset(made);
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  if (!GetSecurityDescriptorOwner(made, &out.owner, &defaulted) ||
      !GetSecurityDescriptorDacl(made, &present, &out.list, &defaulted)) {
    return LastError();
  }
  // To set none would open the folder to everybody.
  return present && out.list != nullptr ? os::kSuccess : os::Error(ERROR_INVALID_ACL);
}

os::Error Of(TextView path, OwnerAndList& out) {
  std::wstring name = ToWide(path);
  PSECURITY_DESCRIPTOR made = nullptr;
  const DWORD error =
      GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &out.owner,
                            nullptr, &out.list, nullptr, &made);
  out.memory.reset(made);
  return os::Error(error);
}

os::Error Apply(TextView path, const OwnerAndList& what, SECURITY_INFORMATION inheritance) {
  std::wstring name = ToWide(path);
  return os::Error(SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT,
                                         OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION | inheritance, what.owner,
                                         nullptr, what.list, nullptr));
}

// With User Account Control an administrator's files are often his own.
bool IsOwnUser(PSID who) {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) return false;
  const Handle token(opened);
  alignas(TOKEN_USER) char user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
  DWORD size = 0;
  return GetTokenInformation(token.Get(), TokenUser, user, sizeof user, &size) != 0 &&
         EqualSid(who, reinterpret_cast<TOKEN_USER*>(user)->User.Sid) != 0;
}

bool IsTrusted(PSID who) {
  for (const wchar_t* const text : kTrusted) {
    PSID known = nullptr;
    if (!ConvertStringSidToSidW(text, &known)) continue;
    const Descriptor memory(known);
    if (EqualSid(who, known)) return true;
  }
  return false;
}

// Without a list everybody may do everything. Entries that take rights away are left out of account.
bool OthersHave(const OwnerAndList& access, DWORD rights, bool inheritedToo) {
  if (access.list == nullptr || access.owner == nullptr || !IsTrusted(access.owner)) return true;
  for (DWORD i = 0; i < access.list->AceCount; ++i) {
    void* entry = nullptr;
    if (!GetAce(access.list, i, &entry)) return true;
    auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
    const bool allows =
        allowed->Header.AceType == ACCESS_ALLOWED_ACE_TYPE || allowed->Header.AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
    const bool counts = inheritedToo || (allowed->Header.AceFlags & INHERIT_ONLY_ACE) == 0;
    if (allows && counts && (allowed->Mask & rights) != 0 && !IsTrusted(&allowed->SidStart)) return true;
  }
  return false;
}

bool IsLink(const os::FileInfo& info) { return (info.attributes & os::FileAttribute::kReparsePoint) != 0; }

// An empty list that is open to inheritance gives way to what the folder hands down.
os::Error ResetBelow(TextView folder, const OwnerAndList& nothing) {
  std::vector<os::DirEntry> entries;
  if (const os::Error error = os::SystemFiles().List(folder, entries); error.Failed()) return error;
  os::Error last;
  for (const os::DirEntry& entry : entries) {
    if (IsLink(entry.info)) continue;
    const Text path = App_FilePath::JoinPath(folder, entry.name);
    if (const os::Error error = Apply(path, nothing, UNPROTECTED_DACL_SECURITY_INFORMATION); error.Failed()) last = error;
    if (!entry.info.IsDirectory()) continue;
    if (const os::Error error = ResetBelow(path, nothing); error.Failed()) last = error;
  }
  return last;
}

// The number of names that the file has.
os::Error CountNames(TextView path, DWORD& count) {
  std::wstring name;
  if (const os::Error error = ExtendedPath(path, name); error.Failed()) return error;
  const Handle file(CreateFileW(name.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  if (!file) return LastError();
  BY_HANDLE_FILE_INFORMATION info;
  if (!GetFileInformationByHandle(file.Get(), &info)) return LastError();
  count = info.nNumberOfLinks;
  return os::kSuccess;
}

bool HasTrustedOwner(const OwnerAndList& access) {
  return access.owner != nullptr && (IsTrusted(access.owner) || IsOwnUser(access.owner));
}

// What makes this file or folder a trap, as the end of a sentence; none when nothing does.
std::optional<Text> TrapIn(TextView path, const os::FileInfo& info, Owners owners) {
  if (IsLink(info)) return u" is a link to another place";
  DWORD names = 1;
  OwnerAndList access;
  os::Error error = info.IsDirectory() ? os::kSuccess : CountNames(path, names);
  if (error.Ok() && owners == Owners::Trusted) error = Of(path, access);
  if (error.Failed()) return u" cannot be looked at (error " + NumberText(std::int64_t{error.Number()}) + u")";
  if (names > 1) return u" is a file that has another name elsewhere (a hard link)";
  if (owners == Owners::Trusted && !HasTrustedOwner(access)) return u" belongs to somebody else than the administrators";
  return std::nullopt;
}

std::optional<Text> FindTrapBelow(TextView folder, Owners owners) {
  std::vector<os::DirEntry> entries;
  if (os::SystemFiles().List(folder, entries).Failed()) return Text(folder) + u" cannot be listed";
  for (const os::DirEntry& entry : entries) {
    const Text path = App_FilePath::JoinPath(folder, entry.name);
    if (const auto trap = TrapIn(path, entry.info, owners)) return path + *trap;
    if (!entry.info.IsDirectory()) continue;
    if (std::optional<Text> found = FindTrapBelow(path, owners)) return found;
  }
  return std::nullopt;
}

bool OthersMay(TextView path, DWORD rights, bool inheritedToo) {
  OwnerAndList access;
  return Of(path, access).Failed() || OthersHave(access, rights, inheritedToo);
}

}  // namespace

Text ListOf(FolderAccess access) {
  return FromWide(access == FolderAccess::Administrators ? kAdministratorsSddl : kUsersEnterSddl);
}

os::Error ProtectFolder(TextView folder, FolderAccess access) {
  OwnerAndList list;
  OwnerAndList nothing;
  os::Error error = FromSddl(ToWide(ListOf(access)).c_str(), list);
  if (error.Ok()) error = FromSddl(L"O:BAD:", nothing);
  if (error.Ok()) error = Apply(folder, list, PROTECTED_DACL_SECURITY_INFORMATION);
  return error.Failed() ? error : ResetBelow(folder, nothing);
}

os::Error LetUsersRead(TextView path) {
  OwnerAndList list;
  if (const os::Error error = FromSddl(kUsersReadSddl, list); error.Failed()) return error;
  return Apply(path, list, UNPROTECTED_DACL_SECURITY_INFORMATION);
}

std::optional<Text> FindTrap(TextView folder, Owners owners) {
  os::FileInfo info;
  const os::Error error = os::SystemFiles().Info(folder, info);
  if (error.IsNotFound()) return std::nullopt;
  if (error.Failed()) return Text(folder) + u" cannot be looked at";
  if (const auto trap = TrapIn(folder, info, owners)) return Text(folder) + *trap;
  return FindTrapBelow(folder, owners);
}

bool ListLetsOthersChange(TextView sddl) {
  OwnerAndList access;
  return FromSddl(ToWide(sddl).c_str(), access).Failed() || OthersHave(access, kChanging, true);
}
bool ListLetsOthersReplace(TextView sddl) {
  OwnerAndList access;
  return FromSddl(ToWide(sddl).c_str(), access).Failed() || OthersHave(access, kReplacing, false);
}
bool ListHasTrustedOwner(TextView sddl) {
  OwnerAndList access;
  return FromSddl(ToWide(sddl).c_str(), access).Ok() && HasTrustedOwner(access);
}
bool OthersMayChange(TextView path) { return OthersMay(path, kChanging, true); }
bool OthersMayReplaceIn(TextView folder) { return OthersMay(folder, kReplacing, false); }

}  // namespace ovs::win32
