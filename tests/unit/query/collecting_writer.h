// Test helper: a TextWriter that keeps what it is given.
#ifndef SARVIK_TESTS_UNIT_QUERY_COLLECTING_WRITER_H_
#define SARVIK_TESTS_UNIT_QUERY_COLLECTING_WRITER_H_

#include <string>
#include <string_view>

#include "query/text_writer.h"

namespace sarvik::query::testing {

class CollectingWriter : public TextWriter {
 public:
  bool write(std::string_view piece) override {
    text.append(piece);
    return true;
  }
  bool flush() override { return true; }
  std::string text;
};

}  // namespace sarvik::query::testing

#endif  // SARVIK_TESTS_UNIT_QUERY_COLLECTING_WRITER_H_
