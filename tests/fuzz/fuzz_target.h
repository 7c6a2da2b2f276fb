// The entry points that every fuzz target defines, as libFuzzer and the replay driver call them.
#ifndef SARVIK_TESTS_FUZZ_FUZZ_TARGET_H_
#define SARVIK_TESTS_FUZZ_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Runs the code under test on one input. Returns 0; a defect shows as a crash, a sanitizer report
// or a call of fuzz_fail.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// Optional: called once before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace sarvik::fuzzing {

// Reports a broken property of the code under test and ends the process abnormally, which both
// libFuzzer and the replay driver count as a failure (libFuzzer saves the input).
[[noreturn]] inline void fuzz_fail(const char* what) {
  std::fprintf(stderr, "fuzz property broken: %s\n", what);
  std::abort();
}

}  // namespace sarvik::fuzzing

#endif  // SARVIK_TESTS_FUZZ_FUZZ_TARGET_H_
