// Tests of --ip: addresses and networks of both families against logged address texts.
#include "query/address_filter.h"

#include <gtest/gtest.h>

namespace sarvik::query {
namespace {

bool matches(const char* filter, const char* logged) {
  std::optional<AddressFilter> parsed = AddressFilter::parse(filter);
  EXPECT_TRUE(parsed.has_value()) << filter;
  return parsed && parsed->matches(logged);
}

TEST(AddressFilter, MatchesAddressesAndNetworks) {
  EXPECT_TRUE(matches("192.0.2.7", "192.0.2.7"));
  EXPECT_FALSE(matches("192.0.2.7", "192.0.2.70"));
  EXPECT_TRUE(matches("192.0.2.0/24", "192.0.2.255"));
  EXPECT_FALSE(matches("192.0.2.0/24", "192.0.3.1"));
  EXPECT_TRUE(matches("192.0.2.7/32", "192.0.2.7"));
  EXPECT_TRUE(matches("0.0.0.0/0", "203.0.113.9"));
  EXPECT_TRUE(matches("10.0.0.0/9", "10.127.0.1"));
  EXPECT_FALSE(matches("10.0.0.0/9", "10.128.0.1"));
  EXPECT_TRUE(matches("192.0.2.0/24", "::ffff:192.0.2.9"));  // IPv4-mapped counts as IPv4
  EXPECT_TRUE(matches("2001:db8::/32", "2001:db8:1::5"));
  EXPECT_TRUE(matches("2001:db8::1", "2001:0db8:0000::0001"));  // the same address written out
  EXPECT_FALSE(matches("2001:db8::/32", "2001:db9::1"));
  EXPECT_FALSE(matches("2001:db8::/32", "192.0.2.1"));
  EXPECT_FALSE(matches("192.0.2.0/24", "pc1"));  // no address
  EXPECT_FALSE(matches("192.0.2.0/24", ""));
}

TEST(AddressFilter, RefusesWhatIsNoAddressOrNetwork) {
  for (const char* text : {"", "pc1", "192.0.2", "192.0.2.0/33", "192.0.2.0/", "192.0.2.0/x",
                           "2001:db8::/129", "192.0.2.0/-1", "192.0.2.0/24/8"}) {
    EXPECT_FALSE(AddressFilter::parse(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace sarvik::query
