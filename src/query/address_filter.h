// The --ip filter: one address, or a network in CIDR notation, of IPv4 or IPv6.
#ifndef SARVIK_QUERY_ADDRESS_FILTER_H_
#define SARVIK_QUERY_ADDRESS_FILTER_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sarvik::query {

// An address or network. The logged address is client text: it matches when it reads as an
// address inside the network. An IPv4 address written as IPv4-mapped IPv6 ("::ffff:192.0.2.7")
// counts as the IPv4 address. A logged text that is no address matches only a filter given as
// that very text. Immutable; any thread.
class AddressFilter {
 public:
  // Nothing when `text` is neither an address nor ADDRESS/PREFIX with a prefix length that fits.
  static std::optional<AddressFilter> parse(const std::string& text);

  bool matches(std::string_view logged) const;

 private:
  // An address in 16 bytes, IPv4 as IPv4-mapped IPv6.
  struct Address {
    std::array<uint8_t, 16> bytes;
    bool v4;
  };
  static std::optional<Address> read_address(std::string_view text);

  std::string text;
  Address network;
  int prefix_bits;  // counted over the 16 bytes
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_ADDRESS_FILTER_H_
