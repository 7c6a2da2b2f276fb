// Test helper: a console over a small volume of generated logs, with settings and one rule.
#ifndef SARVIK_TESTS_UNIT_WEB_CONSOLE_FIXTURE_H_
#define SARVIK_TESTS_UNIT_WEB_CONSOLE_FIXTURE_H_

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "testing/temp_dir.h"
#include "testing/time_zone.h"
#include "web/console.h"

namespace sarvik::web::testing {

// The volume: access lines in February (one file of 120) and March (files of 150 and 30), every
// third line alice's, one path with a comma, one with a line feed, one hostile; three system
// lines; one alert line. The settings name the volume and hold the rule "docs-reads" (alice
// reading *.txt on docs) on line 10. Time zone UTC.
class ConsoleTest : public ::testing::Test {
 protected:
  ConsoleTest();

  // The console's answer to GET `path` with `parameters`, with the token when `signed_in`.
  Response get(const std::string& path, const Parameters& parameters = {}, bool signed_in = true);
  // The JSON body of an answer of status `status`.
  nlohmann::json get_json(const std::string& path, const Parameters& parameters = {},
                          int status = 200);
  // Runs a streamed body to its end and returns what it wrote.
  static std::string drain(Response& response);

  ::sarvik::testing::ScopedTimeZone zone{::sarvik::testing::kUtc};
  ::sarvik::testing::TempDir dir;
  std::string root;
  std::string settings_path;
  ConsoleSettings settings;
  std::unique_ptr<Console> console;
  std::string token = "0123456789012345678901234567890123456789abc";
  int access_lines = 0;
};

}  // namespace sarvik::web::testing

#endif  // SARVIK_TESTS_UNIT_WEB_CONSOLE_FIXTURE_H_
