// The journal's window: records stored through a mapping, room allocated ahead and cut off at
// the end, and the readers' end of the records before that room.
#include "seal/journal_window.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "seal/journal_end.h"
#include "seal/seal_format.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using ::sarvik::testing::read_file;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

// A slot of 64 bytes, each `byte`.
std::string slot(char byte) { return std::string(kSlotBytes, byte); }

uint64_t size_of(int fd) {
  struct stat status = {};
  EXPECT_EQ(fstat(fd, &status), 0);
  return static_cast<uint64_t>(status.st_size);
}

uint64_t records_end(int fd) {
  uint64_t end = 1;
  EXPECT_TRUE(journal_records_end(fd, size_of(fd), &end));
  return end;
}

class JournalWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fd = open(journal.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
  }
  void TearDown() override { close(fd); }

  TempDir dir;
  const std::string journal = dir.path() + "/access.seals";
  int fd = -1;
};

TEST_F(JournalWindowTest, RecordsLandInTheFileWithRoomAheadCutOffAtTheEnd) {
  JournalWindow window(fd);
  std::string written;
  // Across several windows of 64 KiB, one record straddling the edge of one.
  for (int record = 0; record < 2500; ++record) {
    const std::string bytes = slot(static_cast<char>('a' + record % 26));
    ASSERT_EQ(window.write(bytes.data(), bytes.size(), written.size()), 0);
    written += bytes;
  }
  const std::string name_record = slot('N') + slot('n');
  ASSERT_EQ(window.write(name_record.data(), name_record.size(), written.size()), 0);
  written += name_record;
  // Before the end: the records, then zero bytes that readers pass over.
  const std::string running = read_file(journal);
  EXPECT_GT(running.size(), written.size());
  EXPECT_EQ(running.substr(0, written.size()), written);
  EXPECT_EQ(running.find_first_not_of('\0', written.size()), std::string::npos);
  EXPECT_EQ(records_end(fd), written.size());

  window.close_at(written.size());
  EXPECT_EQ(read_file(journal), written);
  EXPECT_EQ(records_end(fd), written.size());
}

TEST_F(JournalWindowTest, AWriteAtAnEarlierPlaceOverwritesWhatAFailedOneLeft) {
  JournalWindow window(fd);
  const std::string first = slot('a'), second = slot('b');
  ASSERT_EQ(window.write(first.data(), first.size(), 0), 0);
  ASSERT_EQ(window.write(first.data(), first.size(), kSlotBytes), 0);  // as if it had failed
  ASSERT_EQ(window.write(second.data(), second.size(), kSlotBytes), 0);
  window.close_at(2 * kSlotBytes);
  EXPECT_EQ(read_file(journal), first + second);
}

TEST_F(JournalWindowTest, AFileCutUnderTheWindowFailsTheWriteWithoutAFault) {
  JournalWindow window(fd);
  const std::string bytes = slot('a');
  ASSERT_EQ(window.write(bytes.data(), bytes.size(), 0), 0);
  ASSERT_EQ(ftruncate(fd, 0), 0);  // another hand cuts the journal: the mapped pages are gone
  EXPECT_EQ(window.write(bytes.data(), bytes.size(), 8192), EIO);
  // The next write maps a window anew and goes through.
  EXPECT_EQ(window.write(bytes.data(), bytes.size(), 0), 0);
  window.close_at(kSlotBytes);
  EXPECT_EQ(read_file(journal), bytes);
}

TEST(JournalRecordsEnd, IsBehindTheLastSlotThatHoldsMoreThanZeros) {
  TempDir dir;
  const std::string path = dir.path() + "/journal";
  auto end_of = [&](const std::string& content) {
    write_file(path, content, 0600);
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_GE(fd, 0);
    uint64_t end = records_end(fd);
    close(fd);
    return end;
  };
  EXPECT_EQ(end_of(""), 0u);
  EXPECT_EQ(end_of(std::string(3 * kSlotBytes, '\0')), 0u);
  EXPECT_EQ(end_of(slot('a') + std::string(200000, '\0')), kSlotBytes);
  // A name's last slot holds a byte of it and zeros behind.
  EXPECT_EQ(end_of(slot('a') + std::string(1, 'n') + std::string(100000, '\0')), 2 * kSlotBytes);
  // A stretch of zeros between records is no end: the readers tell it as damage.
  EXPECT_EQ(end_of(slot('a') + std::string(70000 * kSlotBytes, '\0') + slot('b') + slot('\0')),
            70002 * kSlotBytes);
  // A record cut short at the end stays in, for the readers to leave.
  EXPECT_EQ(end_of(slot('a') + std::string(10, 'b')), kSlotBytes + 10);
}

}  // namespace
}  // namespace sarvik
