// Whom an access list lets change what the service runs. The lists are judged in their text form: an emulated system keeps
// only part of what is set on a folder.
#include "ovsctl/service/win32/FolderAccess.h"

#include <windows.h>
#include <gtest/gtest.h>

#include <string>

#include "base/Encoding.h"
#include "os/Files.h"
#include "os/win32/Win32Support.h"

namespace ovs::win32 {
namespace {

TEST(FolderAccessTest, WhoCanChangeAFolderIsToldByItsOwnerAndItsList) {
  struct Case {
    const char16_t* sddl;
    bool change;
    bool replace;
    bool foreign = false;
  };
  constexpr Case kCases[] = {
      // as below C:\Program Files: the installer, the system, administrators, users who read, the creator of new things
      {u"O:S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464D:PAI(A;;FA;;;S-1-5-80-956008885-3418522649-"
       u"1831038044-1853292631-2271478464)(A;;0x1301bf;;;SY)(A;OICIIO;GA;;;SY)(A;;0x1301bf;;;BA)(A;OICIIO;GA;;;BA)"
       u"(A;;0x1200a9;;;BU)(A;OICIIO;GXGR;;;BU)(A;OICIIO;GA;;;CO)",
       false, false},
      // as a folder made below C:\: signed-in users may write
      {u"O:BAD:AI(A;ID;FA;;;BA)(A;OICIID;FA;;;SY)(A;OICIID;0x1200a9;;;BU)(A;ID;0x1301bf;;;AU)(A;OICIIOID;SDGXGWGR;;;AU)",
       true, true},
      // C:\ itself: they may make new folders in it, and only what comes to lie in those is theirs
      {u"O:S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)"
       u"(A;OICI;0x1200a9;;;BU)(A;OICIIO;SDGXGWGR;;;AU)(A;;LC;;;AU)",
       true, false},
      {u"O:S-1-5-21-1-2-3-1001D:P(A;OICI;FA;;;BA)", true, true, true},        // the owner may change the list
      {u"O:BAD:P(A;OICI;FA;;;BA)(A;;0x40;;;BU)", true, true},                 // delete what is in it
      {u"O:BAD:P(A;OICI;FA;;;BA)(A;;WD;;;S-1-5-21-1-2-3-1001)", true, true},  // change the list
      {u"O:BAD:P(A;OICI;FA;;;BA)(A;OICIIO;0x2;;;WD)", true, false},           // write what comes to lie in it
      {u"O:BAD:P(A;OICI;FA;;;BA)(D;;FA;;;BU)(A;;FR;;;WD)", false, false},
      {u"O:BAD:P", false, false},   // an empty list: nobody
      {u"O:BA", true, true, true},  // no list: everybody, everything
  };
  for (const Case& each : kCases) {
    EXPECT_EQ(ListLetsOthersChange(each.sddl), each.change) << ToUtf8(each.sddl);
    EXPECT_EQ(ListLetsOthersReplace(each.sddl), each.replace) << ToUtf8(each.sddl);
    EXPECT_NE(ListHasTrustedOwner(each.sddl), each.foreign) << ToUtf8(each.sddl);
  }
}

TEST(FolderAccessTest, TheListsThatAreSetKeepOthersFromChangingAndFromFilesMadeLater) {
  for (const FolderAccess access : {FolderAccess::Administrators, FolderAccess::AdministratorsUsersEnter}) {
    const Text list = ListOf(access);
    EXPECT_FALSE(ListLetsOthersChange(list));
    EXPECT_TRUE(list.starts_with(u"O:BAD:P"));
    // "(A;OICI;FA;;;BA)": what is handed down to files has the flag OI.
    for (std::size_t at = list.find(u'('); at != Text::npos; at = list.find(u'(', at + 1)) {
      const Text entry = list.substr(at, list.find(u')', at) - at);
      const bool isTrusted = entry.ends_with(u";BA") || entry.ends_with(u";SY");
      EXPECT_EQ(entry.find(u"OI") != Text::npos, isTrusted) << ToUtf8(entry);
    }
  }
}

TEST(FolderAccessTest, AFolderIsProtectedWithAllThatIsInIt) {
  os::Files& files = os::SystemFiles();
  Text temp;
  ASSERT_TRUE(files.TempFolder(temp).Ok());
  const Text folder = temp + u"folder access \u00FC";
  for (const Text& each : {folder, folder + u"\\sub"}) files.CreateDir(each).Ignore();
  ASSERT_TRUE(files.Write(folder + u"\\sub\\file", "x").Ok());
  EXPECT_TRUE(ProtectFolder(folder, FolderAccess::AdministratorsUsersEnter).Ok());
  EXPECT_TRUE(ProtectFolder(folder, FolderAccess::Administrators).Ok());
  EXPECT_TRUE(LetUsersRead(folder + u"\\sub\\file").Ok());
  EXPECT_FALSE(FindTrap(folder, Owners::Trusted).has_value());
  const std::wstring other = ToWide(temp + u"other name");
  DeleteFileW(other.c_str());
  ASSERT_TRUE(CreateHardLinkW(other.c_str(), ToWide(folder + u"\\sub\\file").c_str(), nullptr));
  EXPECT_EQ(FindTrap(folder, Owners::Anybody).value_or(u""),
            folder + u"\\sub\\file is a file that has another name elsewhere (a hard link)");
  EXPECT_TRUE(DeleteFileW(other.c_str()));
  EXPECT_TRUE(files.Delete(folder + u"\\sub\\file").Ok() && files.RemoveDir(folder + u"\\sub").Ok() &&
              files.RemoveDir(folder).Ok());
  EXPECT_TRUE(ProtectFolder(folder, FolderAccess::Administrators).Failed()) << "it is gone";
  EXPECT_FALSE(FindTrap(folder, Owners::Trusted).has_value()) << "there is none";
}

}  // namespace
}  // namespace ovs::win32
