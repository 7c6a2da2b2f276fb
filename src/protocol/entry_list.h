// The entry list of a request payload: length-prefixed values standing back to back.
#ifndef SARVIK_PROTOCOL_ENTRY_LIST_H_
#define SARVIK_PROTOCOL_ENTRY_LIST_H_

#include <cstdint>
#include <vector>

namespace sarvik {

// A view of one value: `data` points into a buffer owned by someone else.
struct Entry {
  const uint8_t* data;
  uint16_t length;  // value length, without the length word
};

// Writes one entry at `out`: the length word, big-endian, then the value.
void write_entry(uint8_t* out, const Entry& entry);

// Bytes the whole list takes on the wire, length words included.
uint32_t entries_length(const std::vector<Entry>& entries);

// Writes the entries into `buffer` of `limit` bytes, in order, and silently drops the first entry
// that does not fit together with all behind it.
void write_entries(const std::vector<Entry>& entries, uint8_t* buffer, uint16_t limit);

// Replaces `entries` by views of the values in `buffer` of `size` bytes. The list ends at the
// first entry that ends beyond `size`. The advance past an entry is its length plus two, kept in
// 16 bits: a value length of 65534 advances by 0 and one of 65535 by 1. Every reader of the wire
// format splits a request so, and one that split it otherwise would see other entries. Throws
// std::bad_alloc once the list holds more entries than the buffer could possibly describe (a zero
// advance would otherwise grow it without end).
void split_entries(const uint8_t* buffer, uint16_t size, std::vector<Entry>& entries);

}  // namespace sarvik

#endif  // SARVIK_PROTOCOL_ENTRY_LIST_H_
