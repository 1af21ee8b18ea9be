#include "hosts/linux/HostAtomicWrite.h"

#include <filesystem>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TempDir.h"

using namespace LinuxHost;

namespace {
mode_t ModeOf(const std::string& FileName) {
  struct stat Info {};
  EXPECT_EQ(::stat(FileName.c_str(), &Info), 0);
  return Info.st_mode & 07777;
}

/// Removes the shared helper's hook even when an assertion fails.
struct THookGuard {
  explicit THookGuard(hestrel::TAtomicWriteHook Hook) { hestrel::SetAtomicWriteHookForTesting(std::move(Hook)); }
  ~THookGuard() { hestrel::SetAtomicWriteHookForTesting(nullptr); }
};
}  // namespace

TEST(AtomicFile, NewFileGetsCreateModeAndContent) {
  TTempDir Dir;
  const std::string File = Dir / "a.txt";
  ASSERT_TRUE(AtomicWriteFile(File, "hello\n", 0600).Ok());
  EXPECT_EQ(ReadFileText(File), "hello\n");
  EXPECT_EQ(ModeOf(File), 0600u);
}

TEST(AtomicFile, ExistingFileKeepsItsMode) {
  TTempDir Dir;
  const std::string File = Dir / "a.txt";
  WriteFileText(File, "old");
  ::chmod(File.c_str(), 0640);
  ASSERT_TRUE(AtomicWriteFile(File, "new", 0600).Ok());
  EXPECT_EQ(ReadFileText(File), "new");
  EXPECT_EQ(ModeOf(File), 0640u);
}

TEST(AtomicFile, KeepMaskClearsBitsOfAnExistingMode) {
  TTempDir Dir;
  const std::string File = Dir / "a.txt";
  WriteFileText(File, "old");
  ::chmod(File.c_str(), 0664);
  ASSERT_TRUE(AtomicWriteFile(File, "new", 0600, 0600).Ok());
  EXPECT_EQ(ModeOf(File), 0600u);
  const std::string Fresh = Dir / "b.txt";
  ASSERT_TRUE(AtomicWriteFile(Fresh, "new", 0640, 0600).Ok());  // a new file gets CreateMode
  EXPECT_EQ(ModeOf(Fresh), 0640u);
}

TEST(AtomicFile, FailureBeforeRenameKeepsOldContentAndRemovesTemporaryFile) {
  TTempDir Dir;
  const std::string File = Dir / "a.txt";
  WriteFileText(File, "old content");
  std::string SeenTemp;
  THookGuard Guard([&](const std::string& Temp, const std::string&) {
    SeenTemp = Temp;
    EXPECT_EQ(ReadFileText(Temp), "new content");  // written in full before the failure
    return std::string("disk full (simulated)");
  });
  const TAtomicWriteResult Result = AtomicWriteFile(File, "new content");
  EXPECT_EQ(Result.Error, "Cannot save '" + File + "': disk full (simulated)");
  EXPECT_EQ(ReadFileText(File), "old content");
  EXPECT_FALSE(std::filesystem::exists(SeenTemp));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir.Path), {}), 1);
}

TEST(AtomicFile, MissingDirectoryIsReportedWithTheFileName) {
  TTempDir Dir;
  const std::string File = Dir / "no/such/dir/a.txt";
  const TAtomicWriteResult Result = AtomicWriteFile(File, "x");
  EXPECT_EQ(Result.Error, "Cannot save '" + File + "': cannot create a temporary file in '" + (Dir / "no/such/dir") +
                              "': No such file or directory");
}

TEST(AtomicFile, SymbolicLinkIsFollowedAndKept) {
  TTempDir Dir;
  const std::string Real = Dir / "real.ini";
  const std::string Link = Dir / "link.ini";
  WriteFileText(Real, "old");
  std::filesystem::create_symlink("real.ini", Link);
  ASSERT_TRUE(AtomicWriteFile(Link, "new").Ok());
  EXPECT_TRUE(std::filesystem::is_symlink(Link));
  EXPECT_EQ(ReadFileText(Real), "new");
}
