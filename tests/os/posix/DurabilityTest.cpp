// What must survive a power failure, and what a full disk must not leave behind.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "base/Numbers.h"
#include "os/Files.h"
#include "os/System.h"

namespace {
int flushes = 0;  // of files and folders
}

// In place of the library's.
extern "C" int fsync(int fd) {
  ++flushes;
  return static_cast<int>(syscall(SYS_fsync, fd));
}

namespace ovs {
namespace {

class DurabilityTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Text temp;
    ASSERT_TRUE(files.TempFolder(temp).Ok());
    path = temp + u"ovs-durable-" + NumberText(os::ThisSystem().ProcessId());
    ASSERT_TRUE(files.Write(path, "old").Ok());
  }
  void TearDown() override { EXPECT_TRUE(files.Delete(path).Ok()); }
  std::uint64_t Size() {
    os::FileInfo info;
    return files.Info(path, info).Ok() ? info.size : 0;
  }

  os::Files& files = os::SystemFiles();
  Text path;
};

TEST_F(DurabilityTest, WhatIsReplacedOrFlushedIsOnTheDisk) {
  // A new name counts only when its folder is flushed as well.
  const std::pair<std::function<os::Error()>, int> calls[] = {{[&] { return files.Write(path, "new"); }, 2},
                                                              {[&] { return files.Flush(path); }, 2},
                                                              {[&] { return os::ReplaceFileSafely(path, "new"); }, 1}};
  for (const auto& [call, wanted] : calls) {
    flushes = 0;
    EXPECT_TRUE(call().Ok());
    EXPECT_EQ(flushes, wanted);
  }
}

TEST_F(DurabilityTest, APieceThatStillFoundRoomIsCutOff) {
  std::unique_ptr<os::AppendFile> file;
  ASSERT_TRUE(files.OpenAppend(path, file).Ok());
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{6, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const os::Error error = file->Append("more than fits");
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(error, SystemError::kDiskFull);
  EXPECT_EQ(Size(), 3u);
}

}  // namespace
}  // namespace ovs
