// Counting a text's occurrences in captured output.
#ifndef SARVIK_TESTING_TEXT_COUNT_H_
#define SARVIK_TESTING_TEXT_COUNT_H_

#include <string>

namespace sarvik::testing {

// The number of times `part` occurs in `text`, without overlaps.
inline int count_of(const std::string& text, const std::string& part) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_TEXT_COUNT_H_
