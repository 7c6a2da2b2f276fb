// Settings documents: the lock around loading and saving, and the tolerant getters.
#include "settings/xml_data.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include "support/xml_error.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::TempDir;
using Vexil::CDOMElement;

int open_descriptors() {
  int count = 0;
  DIR* dir = opendir("/proc/self/fd");
  while (readdir(dir) != nullptr) ++count;
  closedir(dir);
  return count;
}

// A document loaded from `xml`, with no lock.
class Loaded {
 public:
  explicit Loaded(const std::string& xml) : data(std::string()) {
    testing::write_file(dir / "settings.xml", xml);
    data.Load(dir / "settings.xml");
  }
  CDOMElement root() { return data.GetRootNode(); }

  TempDir dir;
  XmlData data;
};

TEST(LockedLoad, EmptyLockPathTakesNoLockAndJustLoads) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r><a>1</a></r>");
  XmlData data{std::string()};
  data.LockedLoad(dir / "s.xml");
  EXPECT_EQ(XmlData::GetNodeText(data.GetRootNode(), "a", "-"), "1");
  EXPECT_EQ(testing::list_dir(dir.path()), std::vector<std::string>{"s.xml"});
}

TEST(LockedLoad, CreatesAMissingLockFileWithMode0644AndLeavesIt) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r/>");
  mode_t old_mask = umask(0);
  XmlData data(dir / "s.lock");
  data.LockedLoad(dir / "s.xml");
  umask(old_mask);
  EXPECT_EQ(testing::file_mode(dir / "s.lock"), 0644);
  EXPECT_EQ(testing::read_file(dir / "s.lock"), "");
}

TEST(LockedLoad, LockFileThatCannotBeCreatedRaisesCantOpenWithoutLoading) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r/>");
  XmlData data(dir / "missing/s.lock");
  try {
    data.LockedLoad(dir / "s.xml");
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Can't open");
  }
  EXPECT_THROW(data.GetRootNode(), Vexil::CXMLError);  // nothing was loaded
}

TEST(LockedLoad, FailedLoadLeavesNoDescriptorAndNoLock) {
  TempDir dir;
  XmlData data(dir / "s.lock");
  int before = open_descriptors();
  EXPECT_THROW(data.LockedLoad(dir / "missing.xml"), Vexil::CXMLError);
  EXPECT_EQ(open_descriptors(), before);
  int fd = open((dir / "s.lock").c_str(), O_RDONLY);
  EXPECT_EQ(flock(fd, LOCK_EX | LOCK_NB), 0);
  close(fd);
}

// Runs `operation` on a thread of its own while the test's own descriptor on `lock_file` holds
// `held` (LOCK_SH or LOCK_EX) for up to `patience`. Returns whether the operation ended while
// the lock was still held; once the holder lets go, it ends in any case.
bool ends_while_held(const std::string& lock_file, int held, std::chrono::milliseconds patience,
                     const std::function<void()>& operation) {
  int holder = open(lock_file.c_str(), O_RDONLY | O_CREAT, 0644);
  EXPECT_EQ(flock(holder, held), 0) << lock_file << ": " << strerror(errno);
  std::atomic<bool> done{false};
  std::thread other([&] {
    EXPECT_NO_THROW(operation());
    done = true;
  });
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!done && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const bool ended = done;
  close(holder);  // lets go of the lock
  other.join();
  EXPECT_TRUE(done);
  return ended;
}

// Long enough for an operation that takes no lock or a compatible one to end; a busy machine
// only makes an operation look waiting for longer.
constexpr std::chrono::milliseconds kPause(300);
// Long enough for an operation that is not held up to end even on a busy machine.
constexpr std::chrono::milliseconds kPatience(30000);

TEST(LockedLoad, WaitsBehindAnExclusiveHolder) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r><a>1</a></r>");
  XmlData data(dir / "s.lock");
  EXPECT_FALSE(
      ends_while_held(dir / "s.lock", LOCK_EX, kPause, [&] { data.LockedLoad(dir / "s.xml"); }));
  EXPECT_EQ(XmlData::GetNodeText(data.GetRootNode(), "a", "-"), "1");
}

TEST(LockedLoad, TakesASharedLockThatAnotherReaderDoesNotBlock) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r/>");
  XmlData data(dir / "s.lock");
  EXPECT_TRUE(
      ends_while_held(dir / "s.lock", LOCK_SH, kPatience, [&] { data.LockedLoad(dir / "s.xml"); }));
}

TEST(LockedSave, TakesAnExclusiveLockThatWaitsBehindAReader) {
  Loaded loaded("<r><a>1</a></r>");
  XmlData& data = loaded.data;
  data.lock_path = loaded.dir / "s.lock";
  EXPECT_FALSE(ends_while_held(data.lock_path, LOCK_SH, kPause,
                               [&] { data.LockedSave(loaded.dir / "out.xml"); }));
  EXPECT_NE(testing::read_file(loaded.dir / "out.xml").find("<a>1</a>"), std::string::npos);
}

TEST(LockedLoad, WithAWaitLimitGivesUpOnAHeldLockWithCantLock) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r/>");
  testing::write_file(dir / "s.lock", "");
  int holder = open((dir / "s.lock").c_str(), O_RDONLY);
  ASSERT_EQ(flock(holder, LOCK_EX), 0);
  XmlData data(dir / "s.lock");
  const auto started = std::chrono::steady_clock::now();
  try {
    data.LockedLoad(dir / "s.xml", /*lock_wait_seconds=*/1);
    ADD_FAILURE() << "loaded under a held lock";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "Can't Lock");
  }
  const auto waited = std::chrono::steady_clock::now() - started;
  EXPECT_GE(waited, std::chrono::milliseconds(900));
  EXPECT_LT(waited, std::chrono::seconds(10));
  close(holder);
}

TEST(LockedLoad, WithAWaitLimitTakesALockThatIsFreedInTime) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r/>");
  testing::write_file(dir / "s.lock", "");
  int holder = open((dir / "s.lock").c_str(), O_RDONLY);
  ASSERT_EQ(flock(holder, LOCK_EX), 0);
  std::thread releaser([holder] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    close(holder);
  });
  XmlData data(dir / "s.lock");
  EXPECT_NO_THROW(data.LockedLoad(dir / "s.xml", /*lock_wait_seconds=*/30));
  releaser.join();
}

TEST(LockedLoad, LinkOrFifoAtTheLockPathIsALockFileThatCannotBeOpened) {
  TempDir dir;
  testing::write_file(dir / "s.xml", "<r/>");
  ASSERT_EQ(symlink((dir / "elsewhere").c_str(), (dir / "link.lock").c_str()), 0);
  ASSERT_EQ(mkfifo((dir / "fifo.lock").c_str(), 0644), 0);
  for (const char* name : {"link.lock", "fifo.lock"}) {
    XmlData data(dir / name);
    try {
      data.LockedLoad(dir / "s.xml");
      ADD_FAILURE() << name;
    } catch (const std::runtime_error& e) {
      EXPECT_STREQ(e.what(), "Can't open") << name;
    }
  }
  EXPECT_FALSE(testing::exists(dir / "elsewhere"));
}

TEST(LockedSave, WritesTheDocumentUnderTheLock) {
  Loaded loaded("<r><a>1</a></r>");
  XmlData& data = loaded.data;
  data.lock_path = loaded.dir / "s.lock";
  data.LockedSave(loaded.dir / "out.xml");
  EXPECT_NE(testing::read_file(loaded.dir / "out.xml").find("<a>1</a>"), std::string::npos);
  EXPECT_TRUE(testing::exists(loaded.dir / "s.lock"));
}

TEST(GetEnable, TrueOnlyForTheExactWord) {
  Loaded loaded(
      "<r><a enable='true'/><b enable='TRUE'/><c enable='True'/><d enable=' true'/>"
      "<e enable='1'/><f/></r>");
  EXPECT_TRUE(XmlData::GetEnable(loaded.root(), "a", "enable"));
  for (const char* key : {"b", "c", "d", "e", "f", "missing"}) {
    EXPECT_FALSE(XmlData::GetEnable(loaded.root(), key, "enable")) << key;
  }
}

TEST(GetNodeText, EmptyElementGivesTheDefaultNotAnEmptyText) {
  Loaded loaded("<r><empty/><full>x</full></r>");
  EXPECT_EQ(XmlData::GetNodeText(loaded.root(), "empty", "dflt"), "dflt");
  EXPECT_EQ(XmlData::GetNodeText(loaded.root(), "missing", "dflt"), "dflt");
  EXPECT_EQ(XmlData::GetNodeText(loaded.root(), "full", "dflt"), "x");
}

TEST(GetNodeText, BadXPathGivesTheDefault) {
  Loaded loaded("<r/>");
  EXPECT_EQ(XmlData::GetNodeText(loaded.root(), "[[", "dflt"), "dflt");
}

TEST(GetNodeAttribute, MissingElementOrAttributeGivesTheDefault) {
  Loaded loaded("<r><a x='1'/></r>");
  EXPECT_EQ(XmlData::GetNodeAttribute(loaded.root(), "a", "x", "d"), "1");
  EXPECT_EQ(XmlData::GetNodeAttribute(loaded.root(), "a", "y", "d"), "d");
  EXPECT_EQ(XmlData::GetNodeAttribute(loaded.root(), "b", "x", "d"), "d");
}

TEST(GetTextList, LeavesOutElementsWithoutText) {
  Loaded loaded("<r><n>one</n><n/><n>three</n></r>");
  EXPECT_EQ(XmlData::GetTextList(loaded.root(), "n"), (std::vector<Glib::ustring>{"one", "three"}));
  EXPECT_TRUE(XmlData::GetTextList(loaded.root(), "none").empty());
}

TEST(SelectElements, GivesAllInOrderOrAnEmptyList) {
  Loaded loaded("<r><n>1</n><n>2</n></r>");
  auto elements = XmlData::SelectElements(loaded.root(), "n");
  ASSERT_EQ(elements.size(), 2u);
  EXPECT_EQ(elements.back().GetText(), "2");
  EXPECT_TRUE(XmlData::SelectElements(loaded.root(), "none").empty());
  EXPECT_TRUE(XmlData::SelectElements(loaded.root(), "[[").empty());
}

TEST(GetHourMinute, EachChildDefaultsByItself) {
  Loaded loaded(
      "<r><only_hour><hour>9</hour></only_hour><both><hour>7</hour><minute>45</minute></both>"
      "<odd><hour>25abc</hour><minute>x</minute></odd></r>");
  HourMinute only_hour = XmlData::GetHourMinute(loaded.root(), "only_hour");
  EXPECT_EQ(only_hour.hour, 9);
  EXPECT_EQ(only_hour.minute, 0);
  HourMinute both = XmlData::GetHourMinute(loaded.root(), "both");
  EXPECT_EQ(both.hour, 7);
  EXPECT_EQ(both.minute, 45);
  HourMinute missing = XmlData::GetHourMinute(loaded.root(), "from");
  EXPECT_EQ(missing.hour, 0);
  EXPECT_EQ(missing.minute, 0);
  HourMinute odd = XmlData::GetHourMinute(loaded.root(), "odd");
  EXPECT_EQ(odd.hour, 25);
  EXPECT_EQ(odd.minute, 0);
}

TEST(GetAutoDelete, OtherKindsAreAllZeroWithoutLookingAtTheDocument) {
  XmlData unloaded{std::string()};  // no root at all
  AutoDelete settings = unloaded.GetAutoDelete(2);
  EXPECT_FALSE(settings.enable);
  EXPECT_EQ(settings.days, 0);
  EXPECT_EQ(settings.percent, 0);
  EXPECT_EQ(unloaded.GetAutoDelete(-1).days, 0);
}

TEST(GetAutoDelete, MissingAutodeleteElementRaises) {
  Loaded loaded("<r><eventlogconf enable='true'/></r>");
  EXPECT_THROW(loaded.data.GetAutoDelete(kSystemLogExpiry), Vexil::CXMLError);
  EXPECT_THROW(loaded.data.GetAutoDelete(kAccessLogExpiry), Vexil::CXMLError);
}

TEST(GetAutoDelete, ReadsEachLogsBranch) {
  Loaded loaded(
      "<r><eventlogconf><autodelete enable='true'><expire><days>30</days>"
      "<percent>15</percent></expire></autodelete></eventlogconf>"
      "<accesslogconf><autodelete enable='false'><expire><days>7</days>"
      "<percent>5</percent></expire></autodelete></accesslogconf></r>");
  AutoDelete system = loaded.data.GetAutoDelete(kSystemLogExpiry);
  EXPECT_TRUE(system.enable);
  EXPECT_EQ(system.days, 30);
  EXPECT_EQ(system.percent, 15);
  AutoDelete access = loaded.data.GetAutoDelete(kAccessLogExpiry);
  EXPECT_FALSE(access.enable);
  EXPECT_EQ(access.days, 7);
  EXPECT_EQ(access.percent, 5);
}

TEST(GetAutoDelete, WithoutExpireDaysBothNumbersAreZero) {
  Loaded loaded(
      "<r><eventlogconf><autodelete enable='true'><expire><percent>15</percent></expire>"
      "</autodelete></eventlogconf></r>");
  AutoDelete settings = loaded.data.GetAutoDelete(kSystemLogExpiry);
  EXPECT_TRUE(settings.enable);
  EXPECT_EQ(settings.days, 0);
  EXPECT_EQ(settings.percent, 0);
}

TEST(SetEnable, WritesTrueOrFalseFromTheRoot) {
  Loaded loaded("<r><a enable='false'/></r>");
  loaded.data.SetEnable("a", "enable", true);
  EXPECT_TRUE(XmlData::GetEnable(loaded.root(), "a", "enable"));
  loaded.data.SetEnable("a", "enable", false);
  EXPECT_EQ(XmlData::GetNodeAttribute(loaded.root(), "a", "enable", "-"), "false");
  EXPECT_THROW(loaded.data.SetEnable("missing", "enable", true), Vexil::CXMLError);
}

TEST(RemoveNode, DetachesTheElementAndHandsItBack) {
  Loaded loaded("<r><a>1</a><a>2</a><b/></r>");
  CDOMElement removed = loaded.data.RemoveNode("b");
  EXPECT_EQ(removed.GetName(), "b");
  EXPECT_FALSE(loaded.root().ExistNode("b"));
  EXPECT_THROW(loaded.data.RemoveNode("b"), Vexil::CXMLError);
  auto all = loaded.data.RemoveNodes("a");
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all.front().GetText(), "1");
  EXPECT_FALSE(loaded.root().ExistNode("a"));
}

TEST(StrToInt, ReadsTheLeadingNumber) {
  const std::pair<const char*, int> cases[] = {
      {"", 0},
      {"12abc", 12},
      {"-5", -5},
      {"0x10", 0},
      {"abc", 0},
      {"  7", 7},
      {"99999999999", 2147483647},
      {"-99999999999", -2147483647 - 1},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(StrToInt(text), value) << text;
}

TEST(StrToInt, ReadsAsAStreamReadsAnInt) {
  for (const char* text : {"+", "-", "- 3", "+8", "2147483647", "2147483648", "-2147483648",
                           "-2147483649", "\v\f 12", "007", "1e5", "  -0"}) {
    std::istringstream stream(text);
    int value = 0;
    stream >> value;
    EXPECT_EQ(StrToInt(text), value) << text;
  }
}

TEST(GetEnable, NearWordsAreFalse) {
  for (const char* text : {"false", "", "true ", "tru", "truee"}) {
    Loaded loaded(std::string("<r><a enable='") + text + "'/></r>");
    EXPECT_FALSE(XmlData::GetEnable(loaded.root(), "a", "enable")) << text;
  }
}

TEST(GetEnable, AgreesWithTheCollatingCompare) {
  // Full-width letters, an accent, a ligature and a character the C locale cannot hold.
  for (const char* text :
       {"true", "True", "false", "\xEF\xBD\x94\xEF\xBD\x92\xEF\xBD\x95\xEF\xBD\x85", "tru\xC3\xA9",
        "\xEF\xAC\x81", "true\xE2\x80\x8B", "\xE2\x82\xAC", "t"}) {
    Loaded loaded(std::string("<r><a enable='") + text + "'/></r>");
    EXPECT_EQ(XmlData::GetEnable(loaded.root(), "a", "enable"),
              Glib::ustring(text).compare("true") == 0)
        << text;
  }
}

}  // namespace
}  // namespace sarvik
