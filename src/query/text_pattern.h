// Wildcard patterns of the command line, matched against one field of a line.
#ifndef SARVIK_QUERY_TEXT_PATTERN_H_
#define SARVIK_QUERY_TEXT_PATTERN_H_

#include <optional>
#include <string>
#include <string_view>

#include "query/literal_finder.h"

namespace sarvik::query {

// A pattern in which '*' stands for any run of characters, also none, and (where the syntax
// allows it) '?' for exactly one character: one UTF-8 sequence, or one byte that is not part of
// a valid one. Every other byte stands for itself. A pattern with wildcards must match the whole
// field. Immutable after construction; any thread may match with it.
class TextPattern {
 public:
  struct Syntax {
    bool ignore_case;       // ASCII letters match either case
    bool question_mark;     // '?' is a wildcard, not a plain byte
    bool substring_search;  // a pattern without wildcards matches anywhere inside the field
  };

  TextPattern(const std::string& pattern, Syntax syntax);

  bool matches(std::string_view field) const;

  // The pattern itself when it matches as a substring, which a caller may look for in a whole
  // buffer before it reads any field; otherwise nothing.
  const LiteralFinder* substring() const { return literal ? &*literal : nullptr; }

 private:
  bool matches_wildcards(std::string_view field) const;
  bool same_byte(char a, char b) const;

  std::string pattern;
  Syntax syntax;
  std::optional<LiteralFinder> literal;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_TEXT_PATTERN_H_
