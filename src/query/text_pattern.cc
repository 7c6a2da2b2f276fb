// Wildcard patterns of the command line, matched against one field of a line.
#include "query/text_pattern.h"

namespace sarvik::query {

namespace {

char fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

// The length of the character at the front of `text`: a whole UTF-8 sequence when one stands
// there, else a single byte.
size_t character_length(std::string_view text) {
  unsigned char lead = static_cast<unsigned char>(text[0]);
  size_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
  if (length > text.size()) return 1;
  for (size_t i = 1; i < length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 1;
  }
  return length;
}

}  // namespace

TextPattern::TextPattern(const std::string& pattern, Syntax syntax)
    : pattern(pattern), syntax(syntax) {
  bool wildcards = pattern.find('*') != std::string::npos ||
                   (syntax.question_mark && pattern.find('?') != std::string::npos);
  if (!wildcards && syntax.substring_search) literal.emplace(pattern, syntax.ignore_case);
}

bool TextPattern::same_byte(char a, char b) const {
  return syntax.ignore_case ? fold(a) == fold(b) : a == b;
}

bool TextPattern::matches(std::string_view field) const {
  if (literal) return literal->find(field.data(), field.data() + field.size()) != nullptr;
  return matches_wildcards(field);
}

// Greedy matching that returns only to the latest star: each return moves what that star
// covers one character on, so the cost is bounded by the product of the two lengths and no
// pattern can make it explode.
bool TextPattern::matches_wildcards(std::string_view field) const {
  size_t t = 0, p = 0;
  size_t star_pattern = std::string::npos, star_text = 0;
  while (t < field.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star_pattern = ++p;
      star_text = t;
    } else if (p < pattern.size() && syntax.question_mark && pattern[p] == '?') {
      t += character_length(field.substr(t));
      ++p;
    } else if (p < pattern.size() && same_byte(field[t], pattern[p])) {
      ++t;
      ++p;
    } else if (star_pattern != std::string::npos) {
      star_text += character_length(field.substr(star_text));
      t = star_text;
      p = star_pattern;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

}  // namespace sarvik::query
