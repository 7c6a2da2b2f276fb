// The entry list of a request payload: length-prefixed values standing back to back.
#include "protocol/entry_list.h"

#include <cstring>
#include <new>

#include "protocol/wire.h"

namespace sarvik {

namespace {

// The entries of an access request: its type and eight fields.
constexpr size_t kTypicalEntries = 9;

// The advance past an entry of `length`, truncated to 16 bits on purpose.
uint16_t entry_advance(uint16_t length) { return static_cast<uint16_t>(length + kLengthWordSize); }

}  // namespace

void write_entry(uint8_t* out, const Entry& entry) {
  write_be16(out, entry.length);
  if (entry.length != 0) std::memcpy(out + kLengthWordSize, entry.data, entry.length);
}

uint32_t entries_length(const std::vector<Entry>& entries) {
  uint32_t total = 0;
  for (const Entry& entry : entries) total += entry.length + kLengthWordSize;
  return total;
}

void write_entries(const std::vector<Entry>& entries, uint8_t* buffer, uint16_t limit) {
  if (entries.empty() || entry_advance(entries[0].length) > limit) return;
  uint32_t position = 0;
  for (const Entry& entry : entries) {
    uint32_t end = position + entry.length + kLengthWordSize;
    if (end > limit) return;
    write_entry(buffer + position, entry);
    position = end;
  }
}

void split_entries(const uint8_t* buffer, uint16_t size, std::vector<Entry>& entries) {
  entries.clear();
  entries.reserve(kTypicalEntries);  // a record's entries in one allocation
  uint32_t position = 0;
  while (position < size) {
    // A length word that starts at the last byte reads across the end of the payload; the
    // missing byte reads as zero.
    uint8_t word[kLengthWordSize] = {buffer[position], 0};
    if (position + 1 < size) word[1] = buffer[position + 1];
    uint16_t length = read_be16(word);
    uint16_t advance = entry_advance(length);
    if (position + advance > size) return;
    if (entries.size() >= size) throw std::bad_alloc();
    entries.push_back(Entry{buffer + position + kLengthWordSize, length});
    position += advance;
  }
}

}  // namespace sarvik
