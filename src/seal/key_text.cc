// The verification key as text an administrator copies off the appliance, and its parser.
#include "seal/key_text.h"

namespace sarvik {

namespace {

constexpr char kDigits[] = "0123456789abcdef";
constexpr size_t kGroupBytes = 4;

int digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string verification_key_text(const VerificationKey& key) {
  std::string text;
  for (size_t i = 0; i < key.size(); ++i) {
    if (i > 0 && i % kGroupBytes == 0) text += '-';
    text += kDigits[key[i] >> 4];
    text += kDigits[key[i] & 15];
  }
  return text;
}

bool parse_verification_key(std::string_view text, VerificationKey* key) {
  VerificationKey read{};
  size_t digits = 0;
  for (char c : text) {
    if (c == '-' || c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
    int value = digit_value(c);
    if (value < 0 || digits == 2 * read.size()) return false;
    read[digits / 2] = static_cast<uint8_t>(read[digits / 2] << 4 | value);
    ++digits;
  }
  if (digits != 2 * read.size()) return false;
  *key = read;
  return true;
}

}  // namespace sarvik
