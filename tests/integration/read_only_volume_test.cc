// The settings' lock file on a volume mounted read-only: a real mount, so the test runs as root
// in a private mount namespace of its own.
#include <sys/mount.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "settings/xml_data.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"

namespace sarvik {
namespace {

TEST(LockedLoad, UnwritableDirectoryRaisesCantOpenUnlessTheLockFileExists) {
  SARVIK_REQUIRE_FRESH_VOLUMES();
  std::string why;
  testing::make_dirs("/mnt/data/ro");
  ASSERT_TRUE(testing::mount_tmpfs("/mnt/data/ro", 64, &why)) << why;
  testing::write_file("/mnt/data/ro/existing.lock", "");
  ASSERT_EQ(mount(nullptr, "/mnt/data/ro", nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  testing::write_file("/mnt/data/s.xml", "<r/>");
  XmlData missing("/mnt/data/ro/new.lock");
  EXPECT_THROW(missing.LockedLoad("/mnt/data/s.xml"), std::runtime_error);
  XmlData existing("/mnt/data/ro/existing.lock");
  EXPECT_NO_THROW(existing.LockedLoad("/mnt/data/s.xml"));
}

}  // namespace
}  // namespace sarvik
