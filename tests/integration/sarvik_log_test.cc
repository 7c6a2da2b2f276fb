// sarvik-log end to end: records sent through the real service are found by every filter, in
// every output form, exactly once and in order; across a rotation and a change of month; with
// the alert rules agreeing with the alert log that the service wrote.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "harness/alert_rules.h"
#include "harness/log_tool.h"
#include "harness/records.h"
#include "harness/service_test.h"
#include "record/record_time.h"
#include "testing/file_text.h"
#include "testing/time_zone.h"

namespace sarvik::testing {
namespace {

// One access record as sent, and the columns that sarvik-log reads back from its line.
struct Sample {
  std::string record;                // the line for sarvik-send --batch
  std::vector<std::string> columns;  // user, host, ip, op, result, share, path
};

const std::vector<Sample> kSamples = {
    {"access\talice\tpc1\t192.0.2.7\topen\t1\t0\tdocs\tr|reports/q3.xlsx",
     {"alice", "pc1", "192.0.2.7", "open_read", "ok", "docs", "reports/q3.xlsx"}},
    {"access\tBob\tpc2\t192.0.2.8\tdelete\t0\t13\tfinance\tbudget, final.ods",
     {"bob", "pc2", "192.0.2.8", "delete", "fail (Permission denied)", "finance",
      "budget, final.ods"}},
    {"access\tcarol\tpc3\t198.51.100.4\topen\t1\t0\tdocs\tw|M\xFCller\xFF.txt",
     {"carol", "pc3", "198.51.100.4", "open_write", "ok", "docs", "M\xFCller\xFF.txt"}},
    {"access\talice\tpc1\t192.0.2.7\trename\t1\t0\thome\t\x1b]0;owned\x07\x1b[2Jevil.txt",
     {"alice", "pc1", "192.0.2.7", "rename", "ok", "home", "\x1b]0;owned\x07\x1b[2Jevil.txt"}},
    {"access\tdave\tpc4\t2001:db8::5\topen\t0\t2\tdocs\tr|missing.txt",
     {"dave", "pc4", "2001:db8::5", "open_read", "fail (No such file or directory)", "docs",
      "missing.txt"}},
    // A comma in the user name: every column behind it moves, which the line's result column
    // shows; the path takes the rest.
    {"access\tsmith,john\tpc5\t192.0.2.9\topen\t1\t0\tdocs\tr|x.txt",
     {"smith", "john", "pc5", "192.0.2.9", "open_read", "ok", "docs,x.txt"}},
};
constexpr size_t kAmbiguous = 5;

// The text as JSON carries it: every byte that is not valid UTF-8 replaced by U+FFFD.
std::string with_replacements(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned char byte = static_cast<unsigned char>(text[i]);
    out += byte < 0x80 ? std::string(1, text[i]) : std::string("\xEF\xBF\xBD");
  }
  return out;
}

class SarvikLog : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    start_service();
  }

  void send_samples(bool with_ambiguous = true) {
    std::vector<std::string> records;
    for (const Sample& sample : kSamples) records.push_back(sample.record);
    if (!with_ambiguous) records.pop_back();
    CommandResult sent = send_records(records);
    ASSERT_EQ(sent.status, 0) << sent.err;
  }

  // Runs sarvik-log with `args` in CSV, TSV and JSON, and expects exactly the samples
  // `indices`, in this order, in each.
  void expect_found(const std::vector<std::string>& args, const std::vector<size_t>& indices) {
    std::string shown = ::testing::PrintToString(args);
    for (const char* form : {"csv", "tsv", "json"}) {
      std::vector<std::string> with_form = args;
      with_form.insert(with_form.end(), {"--output", form});
      CommandResult result = sarvik_log(with_form);
      EXPECT_EQ(result.status, indices.empty() ? 1 : 0) << shown << form << result.err;
      std::vector<std::vector<std::string>> rows;
      if (std::string(form) == "json") {
        rows = json_rows(result.out, indices);
      } else {
        rows = std::string(form) == "csv" ? csv_rows(result.out) : tsv_rows(result.out);
        ASSERT_FALSE(rows.empty()) << shown << form;
        EXPECT_EQ(rows[0], (std::vector<std::string>{"time", "user", "host", "ip", "op", "result",
                                                     "share", "path"}));
        rows.erase(rows.begin());
      }
      ASSERT_EQ(rows.size(), indices.size()) << shown << form << "\n" << result.out;
      for (size_t i = 0; i < rows.size(); ++i) {
        CivilTime time;
        EXPECT_TRUE(read_record_time(rows[i][0], &time)) << rows[i][0];
        std::vector<std::string> columns(rows[i].begin() + 1, rows[i].end());
        std::vector<std::string> expected = kSamples[indices[i]].columns;
        if (std::string(form) == "json") {
          for (std::string& column : expected) column = with_replacements(column);
        }
        EXPECT_EQ(columns, expected) << shown << form;
      }
    }
  }

  // The rows of JSON output, time in the logs' form first; checks the fields that the other
  // forms do not have.
  std::vector<std::vector<std::string>> json_rows(const std::string& text,
                                                  const std::vector<size_t>& indices) {
    std::vector<std::vector<std::string>> rows;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      nlohmann::json object = nlohmann::json::parse(text.substr(start, end - start));
      size_t index = indices.at(rows.size());
      EXPECT_EQ(object["kind"], "access");
      std::string file = object["file"];
      EXPECT_EQ(file.rfind("accesslog/", 0), 0u) << file;
      // The samples are the first lines of a fresh log, so the line is the sample's number.
      EXPECT_EQ(object["line"], index + 1);
      EXPECT_EQ(object.contains("columns"), index == kAmbiguous);
      if (index == kAmbiguous) {
        EXPECT_EQ(object["columns"], "ambiguous");
      }
      std::string iso = object["time"];  // 2024-03-04T12:34:56+01:00
      std::string time = iso.substr(0, 4) + "/" + iso.substr(5, 2) + "/" + iso.substr(8, 2) + " " +
                         iso.substr(11, 8);
      EXPECT_TRUE(iso.substr(19) == "+01:00" || iso.substr(19) == "+02:00") << iso;
      std::vector<std::string> row{time};
      for (const char* name : {"user", "host", "ip", "op", "result", "share", "path"}) {
        row.push_back(object[name]);
      }
      rows.push_back(row);
    }
    return rows;
  }

  ScopedTimeZone zone{kBerlin};
};

TEST_F(SarvikLog, EveryFilterFindsItsRecordsInEveryForm) {
  send_samples();
  expect_found({}, {0, 1, 2, 3, 4, 5});
  expect_found({"--user", "alice"}, {0, 3});
  expect_found({"--user", "ALICE"}, {0, 3});
  expect_found({"--user", "carol", "--user", "dave"}, {2, 4});
  expect_found({"--host", "pc2"}, {1});
  expect_found({"--share", "docs"}, {0, 2, 4});
  expect_found({"--ip", "192.0.2.0/24"}, {0, 1, 3});
  expect_found({"--ip", "2001:db8::/32"}, {4});
  expect_found({"--op", "open_read"}, {0, 4});
  expect_found({"--op", "open_*"}, {0, 2, 4});
  expect_found({"--result", "fail"}, {1, 4});
  expect_found({"--result", "ok"}, {0, 2, 3});
  expect_found({"--path", "budget, final"}, {1});
  expect_found({"--path", "*.TXT"}, {2, 3, 4, 5});
  expect_found({"--path", "M\xFC"}, {2});
  expect_found({"--path", "\x1b[2J"}, {3});
  expect_found({"--grep", "Permission denied"}, {1});
  expect_found({"--grep", "^.{19},alice,"}, {0, 3});
  expect_found({"--path", "q3", "--user", "alice"}, {0});
  expect_found({"--path", "q3", "--user", "bob"}, {});
  expect_found({"--since", "-10m"}, {0, 1, 2, 3, 4, 5});
  expect_found({"--until", "-10m"}, {});
  expect_found({"--since", "today", "--result", "ok", "--share", "docs"}, {0, 2});
}

TEST_F(SarvikLog, FindsTheLogThroughTheSettingsOrAGivenRoot) {
  send_samples();
  CommandResult by_settings = sarvik_log({"--count"});
  EXPECT_EQ(by_settings.status, 0) << by_settings.err;
  EXPECT_EQ(by_settings.out, "6\n");
  CommandResult by_root = sarvik_log({"--root", kLogVolume, "--count", "--user", "alice"});
  EXPECT_EQ(by_root.out, "2\n");
  CommandResult elsewhere = sarvik_log({"--settings", "/mnt/data/none.xml", "--count"});
  EXPECT_EQ(elsewhere.status, 2);
  EXPECT_NE(elsewhere.err.find("/mnt/data/none.xml"), std::string::npos) << elsewhere.err;
}

// The settings code is a module the program loads beside itself; a copy of the program in a
// directory that another user may write never loads the module found there.
TEST_F(SarvikLog, LoadsItsSettingsModuleOnlyWhereNoOtherUserMayWrite) {
  send_samples();
  const std::string program = SARVIK_LOG_PATH;
  const std::string dir = "/tmp/copied";
  ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
  const std::string module = program.substr(0, program.rfind('/') + 1) + "sarvik-log-settings.so";
  for (const std::string& file : {program, module}) {
    std::filesystem::copy_file(file, dir + file.substr(file.rfind('/')));
  }
  const std::string copy = dir + program.substr(program.rfind('/'));
  CommandResult trusted = run_command({copy, "--count"});
  EXPECT_EQ(trusted.status, 0) << trusted.err;
  EXPECT_EQ(trusted.out, "6\n");

  ASSERT_EQ(chmod(dir.c_str(), 01777), 0);
  CommandResult open_dir = run_command({copy, "--count"});
  EXPECT_EQ(open_dir.status, 2);
  EXPECT_NE(open_dir.err.find("cannot load the settings reader"), std::string::npos)
      << open_dir.err;
  EXPECT_EQ(open_dir.out, "");

  ASSERT_EQ(chmod(dir.c_str(), 0755), 0);
  ASSERT_EQ(chmod((dir + "/sarvik-log-settings.so").c_str(), 0666), 0);
  CommandResult open_module = run_command({copy, "--count"});
  EXPECT_EQ(open_module.status, 2);
  EXPECT_NE(open_module.err.find("cannot load the settings reader"), std::string::npos)
      << open_module.err;
}

TEST_F(SarvikLog, ExitsAsGrepDoes) {
  send_samples();
  EXPECT_EQ(sarvik_log({"--user", "alice"}).status, 0);
  EXPECT_EQ(sarvik_log({"--user", "nobody"}).status, 1);
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"--bogus"},
                                             {"--grep", "(unclosed"},
                                             {"--since", "+0m"},
                                             {"--root", "/mnt/data/nowhere"},
                                             {"--kind", "system", "--user", "alice"},
                                             {"--count", "--stats", "user"},
                                             {"--follow", "--reverse"},
                                             {"--rule", "nonexistent"}}) {
    CommandResult result = sarvik_log(args);
    EXPECT_EQ(result.status, 2) << ::testing::PrintToString(args) << result.out;
    EXPECT_EQ(result.err.rfind("sarvik-log: ", 0), 0u) << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(SarvikLog, LinesWithAmbiguousColumnsAreToldNotDroppedSilently) {
  send_samples();
  CommandResult result = sarvik_log({"--share", "docs"});
  EXPECT_NE(result.err.find("1 line(s) with too few or ambiguous columns"), std::string::npos)
      << result.err;
  CommandResult found = sarvik_log({"--grep", "smith,john", "--output", "json"});
  EXPECT_NE(found.out.find("\"columns\":\"ambiguous\""), std::string::npos) << found.out;
}

TEST_F(SarvikLog, SummariesCountWhatTheFiltersKeep) {
  send_samples();
  EXPECT_EQ(sarvik_log({"--count", "--result", "fail"}).out, "2\n");
  EXPECT_EQ(sarvik_log({"--stats", "user", "--top", "2"}).out, "count,user\n2,alice\n1,bob\n");
  EXPECT_EQ(sarvik_log({"--stats", "share,result", "--result", "fail"}).out,
            "count,share,result\n1,docs,fail (No such file or directory)\n"
            "1,finance,fail (Permission denied)\n");
  std::string today = local_text(time(nullptr), "%Y-%m-%d");
  CommandResult histogram = sarvik_log({"--histogram", "day"});
  EXPECT_EQ(histogram.out, "day,count\n" + today + ",6\n");
}

TEST_F(SarvikLog, ReverseAndLimit) {
  send_samples();
  std::vector<std::vector<std::string>> rows = csv_rows(sarvik_log({"--reverse"}).out);
  ASSERT_EQ(rows.size(), 7u);
  for (size_t i = 1; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i][1], kSamples[kSamples.size() - i].columns[0]);
  }
  rows = csv_rows(sarvik_log({"--limit", "2"}).out);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[2][1], "bob");
  rows = csv_rows(sarvik_log({"--reverse", "--limit", "1", "--user", "alice"}).out);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1][6], "home");
}

TEST_F(SarvikLog, FindsRecordsOnBothSidesOfARotationAt65535Lines) {
  // A file that is full but for one line, as the service left it; then three records.
  time_t now = time(nullptr);
  time_t earlier = month_dir(now - 60) == month_dir(now) ? now - 60 : now;
  std::string full = fill_current_access_file(earlier);
  CommandResult sent =
      send_records({"access\trotator\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|one",
                    "access\trotator\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|two",
                    "access\trotator\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|three"});
  ASSERT_EQ(sent.status, 0) << sent.err;
  std::vector<std::string> files = log_files("accesslog", kLogVolume);
  ASSERT_EQ(files.size(), 2u);  // the service did rotate

  CommandResult result = sarvik_log({"--user", "rotator", "--since", "-1h", "--output", "json"});
  ASSERT_EQ(result.status, 0) << result.err;
  std::vector<nlohmann::json> lines;
  size_t start = 0;
  for (size_t end; (end = result.out.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(nlohmann::json::parse(result.out.substr(start, end - start)));
  }
  ASSERT_EQ(lines.size(), 3u) << result.out;
  EXPECT_EQ(lines[0]["path"], "one");
  EXPECT_EQ(lines[0]["file"], full);
  EXPECT_EQ(lines[0]["line"], 65535);
  EXPECT_EQ(lines[1]["path"], "two");
  EXPECT_NE(lines[1]["file"], full);
  EXPECT_EQ(lines[1]["line"], 1);
  EXPECT_EQ(lines[2]["file"], lines[1]["file"]);
  EXPECT_EQ(lines[2]["line"], 2);
  EXPECT_EQ(sarvik_log({"--count"}).out, "65537\n");
  EXPECT_EQ(sarvik_log({"--count", "--grep", "rotator"}).out, "3\n");
  std::vector<std::vector<std::string>> reversed =
      csv_rows(sarvik_log({"--user", "rotator", "--reverse"}).out);
  ASSERT_EQ(reversed.size(), 4u);
  EXPECT_EQ(reversed[1][7], "three");
  EXPECT_EQ(reversed[3][7], "one");
}

// The index files that root's cache holds for the access log, with their modes.
std::vector<std::string> access_indexes() {
  std::vector<std::string> found;
  for (const std::string& volume : list_dir("/var/cache/sarvik")) {
    std::string dir = "/var/cache/sarvik/" + volume + "/accesslog";
    for (const std::string& name : list_dir(dir)) {
      // The builders' lock file lies beside them.
      if (name.size() > 4 && name.compare(name.size() - 4, 4, ".idx") == 0) {
        found.push_back(dir + "/" + name);
      }
    }
  }
  return found;
}

TEST_F(SarvikLog, AnswersThroughTheIndexOfAClosedFileAsWithoutIt) {
  time_t now = time(nullptr);
  time_t earlier = month_dir(now - 60) == month_dir(now) ? now - 60 : now;
  fill_current_access_file(earlier);
  send_samples();  // the first fills the full file, the second begins a new one
  const std::vector<std::vector<std::string>> questions = {
      {"--user", "alice"},
      {"--grep", "seed/4711", "--output", "json"},
      {"--host", "pc1", "--reverse"},
      {"--share", "finance", "--result", "fail"},
      {"--path", "q3.xlsx", "--output", "json"},
      {"--user", "smith", "--count"},
      {"--grep", "seed/6553", "--limit", "5", "--reverse"}};
  std::vector<CommandResult> scanned;
  for (const std::vector<std::string>& args : questions) {
    std::vector<std::string> alone = args;
    alone.push_back("--no-index");
    scanned.push_back(sarvik_log(alone));
  }
  EXPECT_TRUE(access_indexes().empty());  // --no-index builds nothing

  CommandResult built = sarvik_log({"--index"});
  ASSERT_EQ(built.status, 0) << built.err;
  EXPECT_NE(built.out.find("sarvik-log: 1 index(es) built"), std::string::npos) << built.out;
  std::vector<std::string> indexes = access_indexes();
  ASSERT_EQ(indexes.size(), 1u);
  EXPECT_EQ(file_mode(indexes[0]), 0600);
  EXPECT_EQ(file_mode("/var/cache/sarvik"), 0700);
  EXPECT_NE(sarvik_log({"--index"}).out.find("0 index(es) built"), std::string::npos);
  for (size_t i = 0; i < questions.size(); ++i) {
    CommandResult indexed = sarvik_log(questions[i]);
    EXPECT_EQ(indexed.out, scanned[i].out) << ::testing::PrintToString(questions[i]);
    EXPECT_EQ(indexed.err, scanned[i].err) << ::testing::PrintToString(questions[i]);
    EXPECT_EQ(indexed.status, scanned[i].status) << ::testing::PrintToString(questions[i]);
  }

  // Without its index, the next question that can use one builds it behind its answer.
  ASSERT_EQ(unlink(indexes[0].c_str()), 0);
  CommandResult first = sarvik_log(questions[0]);
  EXPECT_EQ(first.out, scanned[0].out);
  for (int wait = 0; wait < 200 && access_indexes().empty(); ++wait) usleep(50 * 1000);
  EXPECT_EQ(access_indexes().size(), 1u);
}

TEST_F(SarvikLog, SystemRecordsAcrossAMonthChangeByTheirOwnTimes) {
  // The clients' times, out of order: now, then the last second of January and the first of
  // February 2024.
  std::string last_of_january = std::to_string(1706741999);  // 2024-01-31 23:59:59 in Berlin
  std::string first_of_february = std::to_string(1706742000);
  CommandResult sent = send_records({"system\t" + std::to_string(time(nullptr)) + "\tnow\ta\tb",
                                     "system\t" + last_of_january + "\tjanuary\tx,y\tz",
                                     "system\t" + first_of_february + "\tfebruary\tp\tq"});
  ASSERT_EQ(sent.status, 0) << sent.err;
  ASSERT_EQ(log_files("systemlog", kLogVolume).size(), 3u);

  auto texts = [](const CommandResult& result) {
    std::vector<std::string> found;
    std::vector<std::vector<std::string>> rows = csv_rows(result.out);
    for (size_t i = 1; i < rows.size(); ++i) found.push_back(rows[i][1]);
    return found;
  };
  EXPECT_EQ(texts(sarvik_log({"--kind", "system", "--until", "2024/01/31 23:59:59"})),
            std::vector<std::string>{"january"});
  EXPECT_EQ(
      texts(sarvik_log({"--kind", "system", "--since", "2024-02-01", "--until", "2024-02-29"})),
      std::vector<std::string>{"february"});
  // In the order of the files: months first, then names.
  EXPECT_EQ(texts(sarvik_log({"--kind", "system"})),
            (std::vector<std::string>{"january", "february", "now"}));
  EXPECT_EQ(texts(sarvik_log({"--kind", "system", "--text", "feb*"})),
            std::vector<std::string>{"february"});
  // A comma in a text: the columns cannot tell which text held it, the joined texts can.
  EXPECT_EQ(texts(sarvik_log({"--kind", "system", "--text", "x,y"})),
            std::vector<std::string>{"january"});
  CommandResult json = sarvik_log({"--kind", "system", "--text", "january", "--output", "json"});
  EXPECT_NE(json.out.find("\"kind\":\"system\",\"time\":\"2024-01-31T23:59:59+01:00\""),
            std::string::npos)
      << json.out;
  EXPECT_NE(json.out.find("\"text3\":\"y,z\",\"columns\":\"ambiguous\""), std::string::npos)
      << json.out;
}

TEST_F(SarvikLog, RulesAgreeWithTheAlertLogOfTheService) {
  Settings settings;
  settings.alerts =
      alert_rule("reads-of-docs", "<sharename>docs</sharename>") +
      alert_rule("failures", "<result>fail</result>",
                 "<operation type=\"open_read\" enable=\"true\"/>"
                 "<operation type=\"delete\" enable=\"true\"/>") +
      alert_rule("sheets", "<path>*.xlsx</path>") +
      // An hour span, so that the period test takes part; where it lies does not matter, as
      // tool and service must agree on it.
      "<alert><name>mornings</name><period><weekdays sun=\"true\" mon=\"true\" tue=\"true\" "
      "wed=\"true\" thu=\"true\" fri=\"true\" sat=\"true\"/><to><hour>11</hour></to></period>"
      "<usernamelist all=\"true\"/><operationlist><operation type=\"open_read\" "
      "enable=\"true\"/></operationlist></alert>";
  write_settings(settings);
  service->send_signal(SIGHUP);
  // The first record reloads the settings before it is handled. The line with a comma in its
  // user name is left out: its columns cannot be told apart, so the tool's rules would see other
  // fields than the service's.
  send_samples(/*with_ambiguous=*/false);

  // Each line the tool keeps stands in the alert log once per rule it names, in this order.
  CommandResult result = sarvik_log({"--rules"});
  ASSERT_EQ(result.status, 0) << result.err;
  std::vector<std::vector<std::string>> rows = csv_rows(result.out);
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows[0].back(), "rules");
  std::vector<std::string> expected;
  for (size_t i = 1; i < rows.size(); ++i) {
    std::string line;
    for (size_t column = 0; column < 8; ++column) line += (column ? "," : "") + rows[i][column];
    std::string rules = rows[i][8];
    for (size_t from = 0; from <= rules.size();) {
      size_t end = rules.find(';', from);
      expected.push_back(line);
      from = end == std::string::npos ? rules.size() + 1 : end + 1;
    }
  }
  EXPECT_EQ(log_lines("alertlog", kLogVolume), expected);
  EXPECT_GE(expected.size(), 4u);

  // One rule by name: the lines the alert log holds for it.
  CommandResult sheets = sarvik_log({"--rule", "sheets", "--count"});
  EXPECT_EQ(sheets.out, "1\n");
  CommandResult failures = sarvik_log({"--rule", "failures"});
  std::vector<std::vector<std::string>> failure_rows = csv_rows(failures.out);
  ASSERT_EQ(failure_rows.size(), 3u);
  EXPECT_EQ(failure_rows[1][8], "failures");
  EXPECT_EQ(failure_rows[2][1], "dave");
}

TEST_F(SarvikLog, ATerminalSeesEscapesNeverTheRecordsControlBytes) {
  send_samples();
  DaemonProcess tool(SARVIK_LOG_PATH, {"--user", "alice"});
  ASSERT_TRUE(tool.wait_exit(10s).has_value());
  std::string shown = tool.stdout_text();
  EXPECT_EQ(shown.find('\x1b'), std::string::npos) << shown;
  EXPECT_EQ(shown.find('\x07'), std::string::npos) << shown;
  EXPECT_NE(shown.find("\\x1b]0;owned\\x07\\x1b[2Jevil.txt"), std::string::npos) << shown;
  // The table: a header, then aligned columns.
  EXPECT_EQ(shown.rfind("time  ", 0), 0u) << shown;
  EXPECT_NE(shown.find("  alice  pc1  "), std::string::npos) << shown;
  DaemonProcess invalid(SARVIK_LOG_PATH, {"--user", "carol", "--output", "csv"});
  ASSERT_TRUE(invalid.wait_exit(10s).has_value());
  EXPECT_NE(invalid.stdout_text().find("M\\xfcller\\xff.txt"), std::string::npos)
      << invalid.stdout_text();
}

TEST_F(SarvikLog, NeverFollowsALinkInTheTree) {
  send_samples();
  std::string month = month_dir(time(nullptr));
  std::string link = std::string(kLogVolume) + "/accesslog/" + month + "/access_20991231000000.csv";
  ASSERT_EQ(symlink("/etc/passwd", link.c_str()), 0);
  CommandResult result = sarvik_log({"--grep", "root"});
  EXPECT_EQ(result.status, 1) << result.out;
  EXPECT_EQ(result.out.find("root:"), std::string::npos);
  EXPECT_NE(result.err.find("access_20991231000000.csv: not a regular file, not read"),
            std::string::npos)
      << result.err;
}

}  // namespace
}  // namespace sarvik::testing
