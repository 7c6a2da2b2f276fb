// Request packets: the entry list over the payload, and the two request kinds.
#ifndef SARVIK_PROTOCOL_REQUEST_DATA_H_
#define SARVIK_PROTOCOL_REQUEST_DATA_H_

#include <cstdint>
#include <string>
#include <vector>

#include "protocol/entry_list.h"
#include "protocol/packet.h"

namespace sarvik {

// A request: the payload and `entries`, views into it in wire order. The entries are valid
// until the payload changes; `set_size` leaves them stale until the next `reload_entry`.
// Copying a request would copy views of another buffer, so requests are built from packets
// (which copy the payload and split it anew) and never copied as a whole.
class RequestData : public Packet {
 public:
  RequestData() = default;
  RequestData(const RequestData&) = delete;
  RequestData& operator=(const RequestData&) = delete;
  // Copies the payload of `other` and splits it; assigning a packet to itself does nothing.
  RequestData& operator=(const Packet& other);

  // Splits the current payload into `entries`.
  virtual void reload_entry();

  // The request type: payload bytes 2 and 3, big-endian, whatever the first length word says.
  // A payload too short to hold a type reads as `kNoType`.
  static constexpr int kNoType = -1;
  int type() const;

  // Entry `index` read as a text up to its first NUL byte. The entry's length plays no part,
  // but the read never goes beyond the payload: a text without a NUL ends with the payload, and
  // an entry that is missing or starts beyond the payload reads as the empty text.
  std::string text_entry(size_t index) const;
  // The first two bytes of entry `index` as a big-endian number; bytes missing from the payload
  // read as zero.
  uint16_t number_entry(size_t index) const;

  std::vector<Entry> entries;

 protected:
  // Builds a request of type `type` from `fields`: each entry points at a caller's value. The
  // payload is cut to kMaxPayload and the entries that do not fit are dropped.
  void build(uint16_t type, std::vector<Entry> fields);
  // Copies `packet` and splits it if its type is `expected`; otherwise the request is empty.
  void take_if_type(const Packet& packet, uint16_t expected);
};

// Entries of a system request, by index, in the order the wire carries them. Entry 0 is the
// request type.
enum SystemEntry : size_t { kSystemTime = 1, kSystemText1 = 2, kSystemText2 = 3, kSystemText3 = 4 };

// A system record: time as decimal text, then three free texts.
class ReqSystemLog : public RequestData {
 public:
  explicit ReqSystemLog(const Packet& packet);
  ReqSystemLog(const char* time, const char* text1, const char* text2, const char* text3);
  using RequestData::operator=;
};

// Entries of an access request, by index, in the order the wire carries them. Entry 0 is the
// request type.
enum AccessEntry : size_t {
  kAccessUser = 1,
  kAccessHost = 2,
  kAccessIpAddr = 3,
  kAccessOperation = 4,
  kAccessStatus = 5,
  kAccessErrorNumber = 6,
  kAccessShare = 7,
  kAccessPath = 8,
};

// A file-access record of the file service.
class ReqAccessLog : public RequestData {
 public:
  explicit ReqAccessLog(const Packet& packet);
  ReqAccessLog(const char* user, const char* host, const char* ipaddr, const char* operation,
               uint16_t status, uint16_t error_number, const char* share, const char* path);
  using RequestData::operator=;
};

}  // namespace sarvik

#endif  // SARVIK_PROTOCOL_REQUEST_DATA_H_
