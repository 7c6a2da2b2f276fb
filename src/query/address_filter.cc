// The --ip filter: one address, or a network in CIDR notation.
#include "query/address_filter.h"

#include <arpa/inet.h>

#include <cstring>

namespace sarvik::query {

namespace {

// IPv4-mapped IPv6 addresses begin with these twelve bytes.
constexpr uint8_t kMappedPrefix[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
constexpr int kMappedBits = 96;
// Long enough for any address text that inet_pton takes.
constexpr size_t kAddressTextMax = 64;

bool same_prefix(const uint8_t* a, const uint8_t* b, int bits) {
  int whole = bits / 8;
  if (std::memcmp(a, b, whole) != 0) return false;
  int rest = bits % 8;
  if (rest == 0) return true;
  uint8_t mask = static_cast<uint8_t>(0xFF << (8 - rest));
  return (a[whole] & mask) == (b[whole] & mask);
}

}  // namespace

std::optional<AddressFilter::Address> AddressFilter::read_address(std::string_view text) {
  if (text.empty() || text.size() >= kAddressTextMax) return std::nullopt;
  char terminated[kAddressTextMax];
  std::memcpy(terminated, text.data(), text.size());
  terminated[text.size()] = '\0';
  Address address{};
  uint8_t v4[4];
  if (inet_pton(AF_INET, terminated, v4) == 1) {
    std::memcpy(address.bytes.data(), kMappedPrefix, sizeof kMappedPrefix);
    std::memcpy(address.bytes.data() + 12, v4, 4);
    address.v4 = true;
    return address;
  }
  if (inet_pton(AF_INET6, terminated, address.bytes.data()) != 1) return std::nullopt;
  address.v4 = std::memcmp(address.bytes.data(), kMappedPrefix, sizeof kMappedPrefix) == 0;
  return address;
}

std::optional<AddressFilter> AddressFilter::parse(const std::string& text) {
  std::string::size_type slash = text.find('/');
  std::optional<Address> address = read_address(std::string_view(text).substr(0, slash));
  if (!address) return std::nullopt;
  AddressFilter filter;
  filter.text = text;
  filter.network = *address;
  filter.prefix_bits = 128;
  if (slash != std::string::npos) {
    std::string digits = text.substr(slash + 1);
    // The prefix counts in the family the address is written in.
    bool written_v6 = text.find(':') < slash;
    int family_bits = written_v6 ? 128 : 32;
    if (digits.empty() || digits.size() > 3 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
      return std::nullopt;
    }
    int bits = std::stoi(digits);
    if (bits > family_bits) return std::nullopt;
    filter.prefix_bits = written_v6 ? bits : kMappedBits + bits;
  }
  return filter;
}

bool AddressFilter::matches(std::string_view logged) const {
  if (logged == text) return true;
  std::optional<Address> address = read_address(logged);
  return address && same_prefix(address->bytes.data(), network.bytes.data(), prefix_bits);
}

}  // namespace sarvik::query
