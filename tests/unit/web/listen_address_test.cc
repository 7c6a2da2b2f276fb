// --listen: an address with a port, or a Unix socket; and the sign-in address printed for it.
#include "web/listen_address.h"

#include <gtest/gtest.h>

namespace sarvik::web {
namespace {

TEST(ListenAddress, ReadsAddressesPortsAndSocketPaths) {
  ListenAddress address;
  std::string error;
  ASSERT_TRUE(parse_listen_address("127.0.0.1:8514", &address, &error)) << error;
  EXPECT_EQ(address.host, "127.0.0.1");
  EXPECT_EQ(address.port, 8514);
  ASSERT_TRUE(parse_listen_address("[::1]:80", &address, &error)) << error;
  EXPECT_EQ(address.host, "::1");
  EXPECT_EQ(address.port, 80);
  ASSERT_TRUE(parse_listen_address("/run/sarvik-web/socket", &address, &error)) << error;
  EXPECT_EQ(address.socket_path, "/run/sarvik-web/socket");
}

TEST(ListenAddress, RefusesWhatIsNeither) {
  ListenAddress address;
  std::string error;
  for (const char* bad : {"localhost:8514", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:65536", "::1:80",
                          "127.0.0.1:80x", "relative/path", ""}) {
    EXPECT_FALSE(parse_listen_address(bad, &address, &error)) << bad;
  }
  EXPECT_FALSE(parse_listen_address("/" + std::string(200, 'x'), &address, &error));
}

TEST(ListenAddress, TheSignInAddressCarriesTheToken) {
  ListenAddress address;
  std::string error;
  ASSERT_TRUE(parse_listen_address(kDefaultListen, &address, &error));
  EXPECT_EQ(login_url(address, "TOKEN"), "http://127.0.0.1:8514/login?token=TOKEN");
  ASSERT_TRUE(parse_listen_address("[::1]:9", &address, &error));
  EXPECT_EQ(login_url(address, "T"), "http://[::1]:9/login?token=T");
  ASSERT_TRUE(parse_listen_address("/run/x", &address, &error));
  EXPECT_EQ(login_url(address, "T"), "http://localhost/login?token=T");
}

}  // namespace
}  // namespace sarvik::web
