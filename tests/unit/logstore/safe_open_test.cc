// Tests of the opening helpers that never follow a link: real directories, links, FIFOs.
#include "logstore/safe_open.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using ::sarvik::testing::exists;
using ::sarvik::testing::file_mode;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

// The inode of `path`, not following a link.
ino_t testing_inode(const std::string& path) {
  struct stat status = {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
  return status.st_ino;
}

class SafeOpen : public ::testing::Test {
 protected:
  SafeOpen() : dir_fd(open(tmp.path().c_str(), O_RDONLY | O_DIRECTORY)) {}
  ~SafeOpen() override { close(dir_fd); }

  TempDir tmp;
  int dir_fd;
};

TEST_F(SafeOpen, MakesAMissingDirectoryWithTheFullModeWhateverTheMask) {
  mode_t previous = umask(022);
  ScopedFd fd(open_directory_at(dir_fd, "month", /*create=*/true, 0777));
  umask(previous);
  ASSERT_TRUE(fd.valid());
  EXPECT_EQ(file_mode(tmp / "month"), 0777);
}

TEST_F(SafeOpen, AnExistingDirectoryKeepsItsMode) {
  make_dirs(tmp / "month");
  ASSERT_EQ(chmod((tmp / "month").c_str(), 0750), 0);
  ScopedFd fd(open_directory_at(dir_fd, "month", /*create=*/true, 0777));
  ASSERT_TRUE(fd.valid());
  EXPECT_EQ(file_mode(tmp / "month"), 0750);
}

TEST_F(SafeOpen, WithoutCreateAMissingDirectoryIsNotMade) {
  EXPECT_EQ(open_directory_at(dir_fd, "month", /*create=*/false, 0777), -1);
  EXPECT_FALSE(exists(tmp / "month"));
}

TEST_F(SafeOpen, LinkToADirectoryIsRefusedAndNothingIsMadeThroughIt) {
  make_dirs(tmp / "elsewhere");
  ASSERT_EQ(chmod((tmp / "elsewhere").c_str(), 0755), 0);
  ASSERT_EQ(symlink((tmp / "elsewhere").c_str(), (tmp / "month").c_str()), 0);
  EXPECT_EQ(open_directory_at(dir_fd, "month", /*create=*/true, 0777), -1);
  EXPECT_EQ(file_mode(tmp / "elsewhere"), 0755);
  // A dangling link is no way to make a directory elsewhere either.
  ASSERT_EQ(symlink((tmp / "nowhere").c_str(), (tmp / "dangling").c_str()), 0);
  EXPECT_EQ(open_directory_at(dir_fd, "dangling", /*create=*/true, 0777), -1);
  EXPECT_FALSE(exists(tmp / "nowhere"));
}

TEST_F(SafeOpen, WholePathIsOpenedWithItsLastComponentHeldToTheRules) {
  make_dirs(tmp / "base/kind");
  ASSERT_EQ(symlink((tmp / "base").c_str(), (tmp / "link").c_str()), 0);
  // A link before the last component is followed: the base may be one.
  ScopedFd through(open_directory_at(AT_FDCWD, tmp / "link/kind", /*create=*/false, 0));
  EXPECT_TRUE(through.valid());
  EXPECT_EQ(open_directory_at(AT_FDCWD, tmp / "link", /*create=*/false, 0), -1);
}

TEST_F(SafeOpen, CreatesALogFileWithItsModeAndTellsItsSizeAndIdentity) {
  mode_t previous = umask(077);
  struct stat status = {};
  ScopedFd fd(open_log_file_at(dir_fd, "a.csv", 0666, &status));
  umask(previous);
  ASSERT_TRUE(fd.valid());
  EXPECT_EQ(status.st_size, 0);
  EXPECT_EQ(status.st_ino, testing_inode(tmp / "a.csv"));
  EXPECT_EQ(file_mode(tmp / "a.csv"), 0666);
  ASSERT_EQ(write(fd.get(), "x", 1), 1);
}

TEST_F(SafeOpen, AppendsToAnExistingFileAndSetsItsMode) {
  write_file(tmp / "a.csv", "abc", 0600);
  struct stat status = {};
  ScopedFd fd(open_log_file_at(dir_fd, "a.csv", 0666, &status));
  ASSERT_TRUE(fd.valid());
  EXPECT_EQ(status.st_size, 3);
  EXPECT_EQ(file_mode(tmp / "a.csv"), 0666);
  ASSERT_EQ(write(fd.get(), "d", 1), 1);
  EXPECT_EQ(read_file(tmp / "a.csv"), "abcd");
}

TEST_F(SafeOpen, LinkAtTheLogFileIsRefusedWithoutTouchingItsTarget) {
  write_file(tmp / "secret", "s", 0600);
  ASSERT_EQ(symlink((tmp / "secret").c_str(), (tmp / "a.csv").c_str()), 0);
  ASSERT_EQ(symlink((tmp / "new").c_str(), (tmp / "b.csv").c_str()), 0);
  struct stat status = {};
  EXPECT_EQ(open_log_file_at(dir_fd, "a.csv", 0666, &status), -1);
  EXPECT_EQ(errno, ELOOP);
  EXPECT_EQ(open_log_file_at(dir_fd, "b.csv", 0666, &status), -1);
  EXPECT_EQ(file_mode(tmp / "secret"), 0600);
  EXPECT_EQ(read_file(tmp / "secret"), "s");
  EXPECT_FALSE(exists(tmp / "new"));
}

TEST_F(SafeOpen, FifoAtTheLogFileIsRefusedAtOnce) {
  ASSERT_EQ(mkfifo((tmp / "a.csv").c_str(), 0666), 0);
  struct stat status = {};
  EXPECT_EQ(open_log_file_at(dir_fd, "a.csv", 0666, &status), -1);
}

TEST_F(SafeOpen, DirectoryAtTheLogFileIsRefused) {
  make_dirs(tmp / "a.csv");
  struct stat status = {};
  EXPECT_EQ(open_log_file_at(dir_fd, "a.csv", 0666, &status), -1);
}

TEST_F(SafeOpen, FileWithASecondHardLinkIsRefusedAndKeepsItsMode) {
  write_file(tmp / "other", "o", 0600);
  ASSERT_EQ(link((tmp / "other").c_str(), (tmp / "a.csv").c_str()), 0);
  struct stat status = {};
  EXPECT_EQ(open_log_file_at(dir_fd, "a.csv", 0666, &status), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(file_mode(tmp / "other"), 0600);
  EXPECT_EQ(read_file(tmp / "other"), "o");
}

TEST_F(SafeOpen, EntryTypesAreTheEntriesOwnNotTheirTargets) {
  make_dirs(tmp / "d");
  write_file(tmp / "f", "");
  ASSERT_EQ(symlink((tmp / "d").c_str(), (tmp / "ld").c_str()), 0);
  ASSERT_EQ(symlink((tmp / "f").c_str(), (tmp / "lf").c_str()), 0);
  EXPECT_TRUE(is_directory_entry(dir_fd, "d"));
  EXPECT_FALSE(is_directory_entry(dir_fd, "ld"));
  EXPECT_FALSE(is_directory_entry(dir_fd, "f"));
  struct stat status = {};
  EXPECT_TRUE(is_regular_entry(dir_fd, "f", &status));
  EXPECT_EQ(status.st_ino, testing_inode(tmp / "f"));
  EXPECT_FALSE(is_regular_entry(dir_fd, "lf", &status));
  EXPECT_FALSE(is_regular_entry(dir_fd, "d", &status));
  EXPECT_FALSE(is_regular_entry(dir_fd, "missing", &status));
}

TEST(ScopedFd, ClosesItsDescriptorUnlessReleased) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  { ScopedFd held(fds[0]); }
  EXPECT_EQ(fcntl(fds[0], F_GETFD), -1);
  int released = -1;
  {
    ScopedFd held(fds[1]);
    released = held.release();
    EXPECT_FALSE(held.valid());
  }
  EXPECT_EQ(fcntl(released, F_GETFD), 0);
  close(released);
}

}  // namespace
}  // namespace sarvik
