// What base/os/ReplaceFile.h promises, asked of the machine's own files.

#include <gtest/gtest.h>

#include <string>

#include "base/Encoding.h"
#include "base/Numbers.h"
#include "os/Clock.h"
#include "os/Files.h"
#include "os/System.h"

namespace ovs {
namespace {

class ReplaceFile : public ::testing::Test {
 protected:
  void SetUp() override {
    Text temp;
    ASSERT_TRUE(files.TempFolder(temp).Ok());
    folder =
        temp + u"ovs-replace-" + NumberText(os::ThisSystem().ProcessId()) + u"-" + NumberText(os::SystemClock().UtcNow());
    ASSERT_TRUE(files.CreateDir(folder).Ok());
  }

  void TearDown() override {
    for (const Text& name : Names()) {
      if (!files.Delete(folder + u"\\" + name).Ok()) files.RemoveDir(folder + u"\\" + name).Ignore();
    }
    EXPECT_TRUE(files.RemoveDir(folder).Ok());
  }

  std::vector<Text> Names() {
    std::vector<os::DirEntry> entries;
    std::vector<Text> names;
    files.List(folder, entries).Ignore();
    for (const os::DirEntry& entry : entries) names.push_back(entry.name);
    return names;
  }

  std::string Content(const Text& path) {
    std::unique_ptr<os::ReadFile> file;
    char bytes[64];
    std::size_t got = 0;
    return files.OpenRead(path, file).Ok() && file->ReadAt(0, bytes, got).Ok() ? std::string(bytes, got) : "error";
  }

  os::Files& files = os::SystemFiles();
  Text folder;
};

TEST_F(ReplaceFile, MakesAndReplacesWhole) {
  const Text path = folder + u"\\gr\u00f6\u00dfe.ini";
  for (const std::string content : {"first, and longer", "second", ""}) {
    EXPECT_TRUE(os::ReplaceFileSafely(path, content).Ok());
    EXPECT_EQ(Content(path), content);
    EXPECT_EQ(Names().size(), 1u);
  }
}

// While somebody reads the old content, which Windows may take for a reason to refuse.
TEST_F(ReplaceFile, ReadersKeepWhatTheyOpened) {
  const Text path = folder + u"\\a.ini";
  ASSERT_TRUE(files.Write(path, "old").Ok());
  std::unique_ptr<os::ReadFile> reader;
  ASSERT_TRUE(files.OpenRead(path, reader).Ok());
  const bool replaced = os::ReplaceFileSafely(path, "new").Ok();
  char bytes[8];
  std::size_t got = 0;
  ASSERT_TRUE(reader->ReadAt(0, bytes, got).Ok());
  EXPECT_EQ(std::string(bytes, got), "old");
  EXPECT_EQ(Content(path), replaced ? "new" : "old");
}

TEST_F(ReplaceFile, RefusesWhatIsNoPlainFile) {
  ASSERT_TRUE(files.CreateDir(folder + u"\\b.ini").Ok());
  for (const TextView name : {u"\\b.ini", u"\\none\\c.ini", u"\\c.ini\\"}) {
    EXPECT_FALSE(os::ReplaceFileSafely(folder + Text(name), "new").Ok()) << ToUtf8(name);
  }
  EXPECT_EQ(Names().size(), 1u);
}

}  // namespace
}  // namespace ovs
