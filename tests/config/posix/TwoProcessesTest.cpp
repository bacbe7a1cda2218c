// Two processes that save the same settings file over and over: whoever reads it meanwhile finds one of the two, whole.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "os/Crypto.h"
#include "platform/FileContent.h"

namespace ovs {
namespace {

constexpr int kSaves = 60;
constexpr int kEntries = 500;

// Saves as process `who`; answers with an exit code.
int SaveOften(const Text& folder, const Text& file, const Text& who) {
  App_FileSystem fileSystem(os::SystemFiles(), os::ThisSystem());
  const ckCrypt_Config crypt(os::SystemCrypto());
  Config_Class store(fileSystem, crypt, folder);
  store.DefaultConfigFile = file;
  for (int i = 0; i < kEntries; ++i) store.SetString(u"Key." + NumberText(i), who);
  int good = 0;
  for (int i = 0; i < kSaves; ++i) good += store.SaveConfig() ? 1 : 0;
  return good == kSaves ? 0 : 1;
}

bool IsWhole(const std::string& bytes) {
  const Text text = DecodeFile(bytes);
  const Text who(1, text.empty() ? u'?' : text.back());
  Text expected;
  for (int i = 0; i < kEntries; ++i) expected += u"Key." + NumberText(i) + u"=" + who + (i + 1 < kEntries ? u"\r\n" : u"");
  return text == expected;
}

TEST(ConfigTwoProcesses, AReaderFindsOneOfTheTwoFilesWhole) {
  Text folder;
  ASSERT_TRUE(os::SystemFiles().TempFolder(folder).Ok());
  folder += u"ovs-two-" + NumberText(getpid());
  ASSERT_TRUE(os::SystemFiles().CreateDir(folder).Ok());
  const Text file = folder + u"\\Svc.cfg";
  ASSERT_EQ(SaveOften(folder, file, u"C"), 0);
  pid_t children[2];
  for (int i = 0; i < 2; ++i) {
    children[i] = fork();
    if (children[i] == 0) std::_Exit(SaveOften(folder, file, i == 0 ? u"A" : u"B"));
    ASSERT_GT(children[i], 0);
  }
  int running = 2;
  while (running > 0) {
    std::string bytes;
    ASSERT_EQ(ReadFileBytes(os::SystemFiles(), file, bytes), ReadOutcome::Ok);
    EXPECT_TRUE(IsWhole(bytes)) << bytes.size();
    int status = 0;
    if (waitpid(-1, &status, WNOHANG) <= 0) continue;
    --running;
    EXPECT_EQ(status, 0);
  }
  std::vector<os::DirEntry> left;
  ASSERT_TRUE(os::SystemFiles().List(folder, left).Ok());
  EXPECT_EQ(left.size(), 1u) << "no unfinished file is left";
  EXPECT_TRUE(os::SystemFiles().Delete(file).Ok());
  EXPECT_TRUE(os::SystemFiles().RemoveDir(folder).Ok());
}

}  // namespace
}  // namespace ovs
