#include "forwarding/config_values.h"

#include <gtest/gtest.h>

namespace sarvik::forwarding {
namespace {

TEST(ParseCollectorAddress, AcceptsHostsAddressesAndPorts) {
  struct Case {
    const char* text;
    const char* host;
    int port;
  } cases[] = {
      {"collector.example.org", "collector.example.org", 10514},
      {"collector.example.org:2514", "collector.example.org", 2514},
      {"log-1", "log-1", 10514},
      {"192.0.2.7", "192.0.2.7", 10514},
      {"192.0.2.7:1", "192.0.2.7", 1},
      {"192.0.2.7:65535", "192.0.2.7", 65535},
      {"[2001:db8::7]", "2001:db8::7", 10514},
      {"[2001:db8::7]:514", "2001:db8::7", 514},
      {"[::ffff:192.0.2.7]:514", "::ffff:192.0.2.7", 514},
  };
  for (const Case& c : cases) {
    CollectorAddress address;
    std::string why;
    ASSERT_TRUE(parse_collector_address(c.text, 10514, &address, &why)) << c.text << ": " << why;
    EXPECT_EQ(address.host, c.host) << c.text;
    EXPECT_EQ(address.port, c.port) << c.text;
  }
}

TEST(ParseCollectorAddress, RefusesWhatIsNoAddress) {
  const char* texts[] = {
      "",        ":514",    "host:",      "host:0",       "host:65536",
      "host:-1", "host:5x", "host:514:1", "2001:db8::7",  "[2001:db8::7",
      "[]:514",  "[::1]x",  "[::1]:",     "[host]:514",   "a b",
      "a\"b",    "host\n",  "a/b",        "host:0514000", "[::1]:99999",
  };
  for (const char* text : texts) {
    CollectorAddress address;
    std::string why;
    EXPECT_FALSE(parse_collector_address(text, 10514, &address, &why)) << text;
    EXPECT_FALSE(why.empty()) << text;
  }
}

TEST(ParsePort, AcceptsOneTo65535Only) {
  int port = 0;
  std::string why;
  EXPECT_TRUE(parse_port("1", &port, &why));
  EXPECT_EQ(port, 1);
  EXPECT_TRUE(parse_port("65535", &port, &why));
  EXPECT_EQ(port, 65535);
  for (const char* text : {"", "0", "65536", "+1", "-1", " 1", "1 ", "0x10", "100000"}) {
    EXPECT_FALSE(parse_port(text, &port, &why)) << text;
  }
}

TEST(NormalizeConfigPath, MakesOneFormOfAPath) {
  struct Case {
    const char* path;
    const char* normalized;
  } cases[] = {
      {"/mnt/data/logs", "/mnt/data/logs"},
      {"/mnt/data/logs/", "/mnt/data/logs"},
      {"//mnt///data//logs//", "/mnt/data/logs"},
      {"/mnt/disk 1/logs", "/mnt/disk 1/logs"},
      {"/mnt/Bücher", "/mnt/Bücher"},
      {"/a.b/c-d/e_f/.x", "/a.b/c-d/e_f/.x"},
  };
  for (const Case& c : cases) {
    for (bool as_pattern : {false, true}) {
      std::string normalized;
      std::string why;
      ASSERT_TRUE(normalize_config_path(c.path, as_pattern, &normalized, &why)) << c.path << why;
      EXPECT_EQ(normalized, c.normalized);
    }
  }
}

TEST(NormalizeConfigPath, RefusesWhatCannotStandInTheConfiguration) {
  const char* paths[] = {
      "",      "relative/logs", "/",    "//",   "/a/../b", "/a/./b", "/a/..",  "/a\"b",
      "/a\\b", "/a$b",          "/a%b", "/a'b", "/a\nb",   "/a\tb",  "/a\x7f",
  };
  for (const char* path : paths) {
    for (bool as_pattern : {false, true}) {
      std::string normalized;
      std::string why;
      EXPECT_FALSE(normalize_config_path(path, as_pattern, &normalized, &why)) << path;
      EXPECT_FALSE(why.empty()) << path;
    }
  }
}

TEST(NormalizeConfigPath, RefusesWildcardsInAPattern) {
  for (const char* path : {"/logs*", "/log?", "/l[o]gs", "/logs]", "/{a,b}", "/a}"}) {
    std::string normalized;
    std::string why;
    EXPECT_FALSE(normalize_config_path(path, /*as_pattern=*/true, &normalized, &why)) << path;
    EXPECT_TRUE(normalize_config_path(path, /*as_pattern=*/false, &normalized, &why)) << path;
  }
}

}  // namespace
}  // namespace sarvik::forwarding
