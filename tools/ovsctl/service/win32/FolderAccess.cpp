#include "ovsctl/service/win32/FolderAccess.h"

#include <windows.h>
#include <aclapi.h>
#include <sddl.h>

#include <memory>
#include <vector>

#include "os/Files.h"
#include "os/win32/Win32Support.h"
#include "platform/App_FilePath.h"

namespace ovs::win32 {

namespace {

// Owner: administrators. Full access for them and the system, read and execute for users, for all that is in the folder.
constexpr wchar_t kAdministratorsSddl[] = L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
constexpr wchar_t kUsersReadSddl[] = L"O:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FRFX;;;BU)";
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

std::optional<Text> FindLinkBelow(TextView folder) {
  std::vector<os::DirEntry> entries;
  os::SystemFiles().List(folder, entries).Ignore();
  for (const os::DirEntry& entry : entries) {
    const Text path = App_FilePath::JoinPath(folder, entry.name);
    if (IsLink(entry.info)) return path;
    if (!entry.info.IsDirectory()) continue;
    if (std::optional<Text> found = FindLinkBelow(path)) return found;
  }
  return std::nullopt;
}

bool OthersMay(TextView path, DWORD rights, bool inheritedToo) {
  OwnerAndList access;
  return Of(path, access).Failed() || OthersHave(access, rights, inheritedToo);
}

}  // namespace

Text ListOf(FolderAccess access) {
  return FromWide(access == FolderAccess::Administrators ? kAdministratorsSddl : kUsersReadSddl);
}

os::Error ProtectFolder(TextView folder, FolderAccess access) {
  OwnerAndList list;
  OwnerAndList nothing;
  os::Error error = FromSddl(ToWide(ListOf(access)).c_str(), list);
  if (error.Ok()) error = FromSddl(L"O:BAD:", nothing);
  if (error.Ok()) error = Apply(folder, list, PROTECTED_DACL_SECURITY_INFORMATION);
  return error.Failed() ? error : ResetBelow(folder, nothing);
}

std::optional<Text> FindLink(TextView folder) {
  os::FileInfo info;
  if (os::SystemFiles().Info(folder, info).Ok() && IsLink(info)) return Text(folder);
  return FindLinkBelow(folder);
}

bool ListLetsOthersChange(TextView sddl) {
  OwnerAndList access;
  return FromSddl(ToWide(sddl).c_str(), access).Failed() || OthersHave(access, kChanging, true);
}
bool ListLetsOthersReplace(TextView sddl) {
  OwnerAndList access;
  return FromSddl(ToWide(sddl).c_str(), access).Failed() || OthersHave(access, kReplacing, false);
}
bool OthersMayChange(TextView path) { return OthersMay(path, kChanging, true); }
bool OthersMayReplaceIn(TextView folder) { return OthersMay(folder, kReplacing, false); }

}  // namespace ovs::win32
