// Text that an XML 1.0 document can carry, whatever bytes it was made of.
#include "support/xml_safe_text.h"

#include <cstdint>

namespace sarvik {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

// Whether the single byte `c` below 0x80 is a character of XML 1.0.
bool is_xml_ascii(unsigned char c) { return c >= 0x20 || c == '\t' || c == '\n' || c == '\r'; }

// The length of the UTF-8 sequence that `lead` begins, with the range its first continuation
// byte must lie in (which rules out overlong forms, surrogates and code points beyond U+10FFFF);
// 0 when `lead` begins none.
size_t sequence_length(unsigned char lead, unsigned char* low, unsigned char* high) {
  *low = 0x80;
  *high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) {
    if (lead == 0xE0) *low = 0xA0;
    if (lead == 0xED) *high = 0x9F;
    return 3;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    if (lead == 0xF0) *low = 0x90;
    if (lead == 0xF4) *high = 0x8F;
    return 4;
  }
  return 0;
}

}  // namespace

std::string xml_safe_text(const std::string& text) {
  std::string safe;
  safe.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      if (is_xml_ascii(lead)) {
        safe += static_cast<char>(lead);
      } else {
        safe += kReplacement;
      }
      ++i;
      continue;
    }
    unsigned char low = 0;
    unsigned char high = 0;
    const size_t length = sequence_length(lead, &low, &high);
    if (length == 0) {
      safe += kReplacement;
      ++i;
      continue;
    }
    uint32_t code_point = lead & (0xFF >> (length + 1));
    size_t taken = 1;
    for (; taken < length && i + taken < text.size(); ++taken) {
      const auto next = static_cast<unsigned char>(text[i + taken]);
      if (next < low || next > high) break;
      code_point = (code_point << 6) | (next & 0x3F);
      low = 0x80;
      high = 0xBF;
    }
    if (taken < length || code_point == 0xFFFE || code_point == 0xFFFF) {
      safe += kReplacement;  // one for the whole run taken, as far as it went
    } else {
      safe.append(text, i, length);
    }
    i += taken;
  }
  return safe;
}

}  // namespace sarvik
