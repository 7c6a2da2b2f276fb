// Typed values taken off the front of a fuzz input.
#ifndef SARVIK_TESTS_FUZZ_FUZZ_INPUT_H_
#define SARVIK_TESTS_FUZZ_FUZZ_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace sarvik::fuzzing {

// Reads the input from its start; once it is used up every value reads as zero or empty, so any
// input, the empty one included, decodes to something. Borrows the bytes; one call of the target.
class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : next(data), end(data + size) {}

  uint8_t take_byte() { return next != end ? *next++ : 0; }
  bool take_bool() { return (take_byte() & 1) != 0; }

  // sizeof(T) bytes, little-endian, as an unsigned pattern converted to T.
  template <typename T>
  T take_number() {
    uint64_t bits = 0;
    for (size_t i = 0; i < sizeof(T); ++i) bits |= uint64_t{take_byte()} << (8 * i);
    return static_cast<T>(bits);
  }

  // A length byte (taken modulo `max_length` + 1), then that many bytes, or what is left.
  std::string take_text(size_t max_length) {
    size_t length = take_byte() % (max_length + 1);
    return take_bytes(length);
  }

  // All that is left, up to `max_length` bytes.
  std::string take_rest(size_t max_length) { return take_bytes(max_length); }

 private:
  std::string take_bytes(size_t length) {
    size_t left = static_cast<size_t>(end - next);
    if (length > left) length = left;
    std::string bytes(reinterpret_cast<const char*>(next), length);
    next += length;
    return bytes;
  }

  const uint8_t* next;
  const uint8_t* end;
};

}  // namespace sarvik::fuzzing

#endif  // SARVIK_TESTS_FUZZ_FUZZ_INPUT_H_
