// Reading a seal journal in tests.
#ifndef SARVIK_TESTS_TESTING_JOURNAL_TEXT_H_
#define SARVIK_TESTS_TESTING_JOURNAL_TEXT_H_

#include <string>

namespace sarvik::testing {

// The bytes of the records of the seal journal at `path`, without the zero bytes that a running
// sealer keeps ahead of them; a failure to read it fails the test.
std::string journal_records_text(const std::string& path);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_TESTING_JOURNAL_TEXT_H_
