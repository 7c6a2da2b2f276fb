// Base64 with the URL's alphabet and no padding.
#include "web/base64url.h"

#include <cstdint>

namespace sarvik::web {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

int value_of(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '-') return 62;
  if (c == '_') return 63;
  return -1;
}

}  // namespace

std::string base64url_encode(std::string_view bytes) {
  std::string text;
  uint32_t bits = 0;
  int held = 0;
  for (unsigned char byte : bytes) {
    bits = (bits << 8) | byte;
    held += 8;
    while (held >= 6) {
      held -= 6;
      text += kAlphabet[(bits >> held) & 0x3f];
    }
  }
  if (held > 0) text += kAlphabet[(bits << (6 - held)) & 0x3f];
  return text;
}

bool base64url_decode(std::string_view text, std::string* bytes) {
  if (text.size() % 4 == 1) return false;
  bytes->clear();
  uint32_t bits = 0;
  int held = 0;
  for (char c : text) {
    int value = value_of(c);
    if (value < 0) return false;
    bits = (bits << 6) | static_cast<uint32_t>(value);
    held += 6;
    if (held >= 8) {
      held -= 8;
      *bytes += static_cast<char>((bits >> held) & 0xff);
    }
  }
  return true;
}

bool is_base64url_text(std::string_view text) {
  for (char c : text) {
    if (value_of(c) < 0) return false;
  }
  return true;
}

}  // namespace sarvik::web
