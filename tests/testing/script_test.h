// A test fixture for code that runs shell scripts as child processes.
#ifndef SARVIK_TESTING_SCRIPT_TEST_H_
#define SARVIK_TESTING_SCRIPT_TEST_H_

#include <signal.h>

#include <gtest/gtest.h>

#include <string>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::testing {

// Gives each test a scoped directory for its scripts. Like the service, the test process ignores
// SIGPIPE, so a child that leaves early makes writes fail instead of ending the test.
class ScriptTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  // An executable shell script `name` in the directory running `body`; its path.
  std::string Script(const std::string& name, const std::string& body) {
    const std::string path = dir / name;
    write_file(path, "#!/bin/sh\n" + body + "\n", 0755);
    return path;
  }

  TempDir dir;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_SCRIPT_TEST_H_
