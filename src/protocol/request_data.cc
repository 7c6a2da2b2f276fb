// Request packets: the entry list over the payload, and the two request kinds.
#include "protocol/request_data.h"

#include <cstring>

#include "protocol/wire.h"

namespace sarvik {

namespace {

// An entry over a caller's NUL-terminated text; the length counts the NUL and is kept in 16
// bits.
Entry text_field(const char* text) {
  return Entry{reinterpret_cast<const uint8_t*>(text), static_cast<uint16_t>(strlen(text) + 1)};
}

}  // namespace

RequestData& RequestData::operator=(const Packet& other) {
  if (this == &other) return *this;
  Packet::operator=(other);
  reload_entry();
  return *this;
}

void RequestData::reload_entry() { split_entries(data, size, entries); }

int RequestData::type() const {
  if (size < kTypeEnd) return kNoType;
  return read_be16(data + kLengthWordSize);
}

std::string RequestData::text_entry(size_t index) const {
  if (index >= entries.size()) return std::string();
  const uint8_t* begin = entries[index].data;
  const uint8_t* payload_end = data + size;
  if (begin >= payload_end) return std::string();
  const void* nul = std::memchr(begin, '\0', payload_end - begin);
  const uint8_t* end = nul != nullptr ? static_cast<const uint8_t*>(nul) : payload_end;
  return std::string(reinterpret_cast<const char*>(begin), end - begin);
}

uint16_t RequestData::number_entry(size_t index) const {
  if (index >= entries.size()) return 0;
  const uint8_t* begin = entries[index].data;
  const uint8_t* payload_end = data + size;
  uint8_t bytes[2] = {0, 0};
  for (int i = 0; i < 2 && begin + i < payload_end; ++i) bytes[i] = begin[i];
  return read_be16(bytes);
}

void RequestData::build(uint16_t type, std::vector<Entry> fields) {
  uint8_t type_value[2];
  write_be16(type_value, type);
  fields.insert(fields.begin(), Entry{type_value, sizeof(type_value)});
  set_size(static_cast<uint16_t>(entries_length(fields)));
  write_entries(fields, data, size);
  reload_entry();
}

void RequestData::take_if_type(const Packet& packet, uint16_t expected) {
  Packet::operator=(packet);
  if (type() == expected) {
    reload_entry();
  } else {
    set_size(0);
  }
}

ReqSystemLog::ReqSystemLog(const Packet& packet) { take_if_type(packet, kSystemLogType); }

ReqSystemLog::ReqSystemLog(const char* time, const char* text1, const char* text2,
                           const char* text3) {
  build(kSystemLogType,
        {text_field(time), text_field(text1), text_field(text2), text_field(text3)});
}

ReqAccessLog::ReqAccessLog(const Packet& packet) { take_if_type(packet, kAccessLogType); }

ReqAccessLog::ReqAccessLog(const char* user, const char* host, const char* ipaddr,
                           const char* operation, uint16_t status, uint16_t error_number,
                           const char* share, const char* path) {
  uint8_t status_value[2];
  write_be16(status_value, status);
  // The error number travels in a 32-bit word of which only the first two bytes are read.
  uint8_t error_value[4] = {0, 0, 0, 0};
  write_be16(error_value, error_number);
  build(kAccessLogType,
        {text_field(user), text_field(host), text_field(ipaddr), text_field(operation),
         Entry{status_value, sizeof(status_value)}, Entry{error_value, sizeof(error_value)},
         text_field(share), text_field(path)});
}

}  // namespace sarvik
