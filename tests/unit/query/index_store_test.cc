// Tests of the store of the block indexes: where it keeps them, what it trusts, and what a
// writer leaves behind.
#include "query/index_store.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logstore/log_kinds.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::exists;
using ::sarvik::testing::file_mode;
using ::sarvik::testing::list_dir;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

class IndexStoreTest : public ::testing::Test {
 protected:
  std::string log_dir() {
    return dir / ("cache/" + IndexStore::volume_key("/mnt/data/logs") + "/accesslog");
  }
  TempDir dir;
  IndexStore store{dir / "cache", geteuid()};
};

TEST(IndexStoreName, AVolumesDirectoryIsReadableAndTellsVolumesApart) {
  EXPECT_EQ(IndexStore::volume_key("/mnt/data/logs").substr(0, 14), "mnt-data-logs.");
  EXPECT_NE(IndexStore::volume_key("/mnt/data/a-b"), IndexStore::volume_key("/mnt/data/a_b"));
  EXPECT_NE(IndexStore::volume_key("/a/b"), IndexStore::volume_key("/a-b"));
  // Nothing of a path leads out of the cache or hides there.
  EXPECT_EQ(IndexStore::volume_key("/..").find('/'), std::string::npos);
  EXPECT_NE(IndexStore::volume_key("/..")[0], '.');
  EXPECT_EQ(IndexStore::volume_key("/").substr(0, 2), "v.");
}

TEST_F(IndexStoreTest, MakesItsDirectoriesForTheUserAloneAndReadsBackWhatItWrote) {
  EXPECT_FALSE(store.open("/mnt/data/logs", kAccessLog, /*create=*/false));
  ASSERT_TRUE(store.open("/mnt/data/logs", kAccessLog, /*create=*/true));
  EXPECT_EQ(file_mode(dir / "cache"), 0700);
  EXPECT_EQ(file_mode(log_dir()), 0700);
  ASSERT_TRUE(store.save("202403", "access_20240304000000.csv", "index bytes"));
  EXPECT_EQ(file_mode(log_dir() + "/202403-access_20240304000000.csv.idx"), 0600);
  MappedIndex mapped = store.load("202403", "access_20240304000000.csv");
  ASSERT_TRUE(mapped.valid());
  EXPECT_EQ(mapped.bytes(), "index bytes");
  std::vector<std::pair<std::string, std::string>> files;
  ASSERT_TRUE(store.list(&files));
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].first, "202403");
  EXPECT_EQ(files[0].second, "access_20240304000000.csv");
  EXPECT_EQ(list_dir(log_dir()).size(), 1u);  // no temporary file left
}

TEST_F(IndexStoreTest, NeitherALinkNorANonRegularFileIsRead) {
  ASSERT_TRUE(store.open("/mnt/data/logs", kAccessLog, /*create=*/true));
  write_file(dir / "elsewhere", "not an index");
  ASSERT_EQ(symlink((dir / "elsewhere").c_str(),
                    (log_dir() + "/202403-access_20240304000000.csv.idx").c_str()),
            0);
  EXPECT_FALSE(store.load("202403", "access_20240304000000.csv").valid());
  ASSERT_EQ(mkfifo((log_dir() + "/202403-access_20240305000000.csv.idx").c_str(), 0600), 0);
  EXPECT_FALSE(store.load("202403", "access_20240305000000.csv").valid());
}

TEST_F(IndexStoreTest, ACacheThatOthersMayWriteIsNotUsed) {
  ASSERT_TRUE(store.open("/mnt/data/logs", kAccessLog, /*create=*/true));
  ASSERT_EQ(chmod((dir / "cache").c_str(), 0777), 0);
  IndexStore again(dir / "cache", geteuid());
  EXPECT_FALSE(again.open("/mnt/data/logs", kAccessLog, /*create=*/true));
  // Nor is a link in place of the cache.
  ASSERT_EQ(chmod((dir / "cache").c_str(), 0700), 0);
  ASSERT_EQ(symlink((dir / "cache").c_str(), (dir / "link").c_str()), 0);
  IndexStore linked(dir / "link", geteuid());
  EXPECT_FALSE(linked.open("/mnt/data/logs", kAccessLog, /*create=*/true));
}

TEST_F(IndexStoreTest, RemovesWhatAStoppedWriterLeftOnceItIsOld) {
  ASSERT_TRUE(store.open("/mnt/data/logs", kAccessLog, /*create=*/true));
  write_file(log_dir() + "/.new.4711.0", "half an index", 0600);
  write_file(log_dir() + "/.new.4712.0", "being written", 0600);
  struct timespec old[2] = {{0, UTIME_OMIT}, {time(nullptr) - 7200, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, (log_dir() + "/.new.4711.0").c_str(), old, 0), 0);
  EXPECT_EQ(store.remove_leftovers(time(nullptr) - 3600), 1u);
  EXPECT_FALSE(exists(log_dir() + "/.new.4711.0"));
  EXPECT_TRUE(exists(log_dir() + "/.new.4712.0"));
}

TEST_F(IndexStoreTest, OneBuilderAtATime) {
  ASSERT_TRUE(store.open("/mnt/data/logs", kAccessLog, /*create=*/true));
  IndexStore other(dir / "cache", geteuid());
  ASSERT_TRUE(other.open("/mnt/data/logs", kAccessLog, /*create=*/false));
  {
    Descriptor first = store.lock_builders(/*wait=*/false);
    ASSERT_TRUE(first.valid());
    EXPECT_FALSE(other.lock_builders(/*wait=*/false).valid());
  }
  EXPECT_TRUE(other.lock_builders(/*wait=*/false).valid());
  std::vector<std::pair<std::string, std::string>> files;
  ASSERT_TRUE(store.list(&files));
  EXPECT_TRUE(files.empty());  // the lock is no index
}

}  // namespace
}  // namespace sarvik::query
