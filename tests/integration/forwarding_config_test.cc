// sarvik-forwarding as the built tool: its configurations are what rsyslogd accepts, for both
// transports, and it reads the log volume from the settings and fails clearly.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/command.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::testing {
namespace {

CommandResult forwarding(const std::vector<std::string>& args) {
  std::vector<std::string> argv{SARVIK_FORWARDING_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_command(argv);
}

// rsyslogd's own check of a configuration (-N1): its exit status and what it said.
CommandResult rsyslogd_check(const std::string& config_path) {
  return run_command({SARVIK_RSYSLOGD_PATH, "-N1", "-f", config_path});
}

class ForwardingConfig : public ::testing::Test {
 protected:
  void SetUp() override {
    write_file(settings, "<?xml version=\"1.0\"?>\n<config><share><path>" + dir.path() +
                             "/logs</path></share></config>\n");
    make_dirs(dir / "work");
  }

  TempDir dir;
  std::string settings = dir / "config-sarvik.xml";
};

TEST_F(ForwardingConfig, RsyslogAcceptsTheSenderForBothTransports) {
  for (bool relp : {false, true}) {
    std::vector<std::string> args{"sender",     "--settings", settings,
                                  "--work-dir", dir / "work", "collector.example.org:2514"};
    if (relp) args.push_back("--relp");
    CommandResult printed = forwarding(args);
    ASSERT_EQ(printed.status, 0) << printed.err;
    EXPECT_NE(printed.out.find("file=\"" + dir.path() + "/logs/accesslog/"), std::string::npos);
    write_file(dir / "sender.conf", printed.out);
    CommandResult checked = rsyslogd_check(dir / "sender.conf");
    EXPECT_EQ(checked.status, 0) << "relp " << relp << ": " << checked.out << checked.err;
    EXPECT_EQ((checked.out + checked.err).find("error"), std::string::npos)
        << checked.out << checked.err;
  }
}

TEST_F(ForwardingConfig, RsyslogAcceptsTheCollectorForBothTransports) {
  for (bool relp : {false, true}) {
    std::vector<std::string> args{"collector", "--port",     "2514",      "--dir",
                                  dir / "out", "--work-dir", dir / "work"};
    if (relp) args.push_back("--relp");
    CommandResult printed = forwarding(args);
    ASSERT_EQ(printed.status, 0) << printed.err;
    write_file(dir / "collector.conf", printed.out);
    CommandResult checked = rsyslogd_check(dir / "collector.conf");
    EXPECT_EQ(checked.status, 0) << "relp " << relp << ": " << checked.out << checked.err;
    EXPECT_EQ((checked.out + checked.err).find("error"), std::string::npos)
        << checked.out << checked.err;
  }
}

TEST_F(ForwardingConfig, SettingsWithoutALogVolumeAreAFailure) {
  write_file(settings, "<?xml version=\"1.0\"?>\n<config/>\n");
  CommandResult result = forwarding({"sender", "--settings", settings, "collector"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.out.empty());
  EXPECT_NE(result.err.find("share/path"), std::string::npos) << result.err;
}

TEST_F(ForwardingConfig, UnreadableSettingsAreAFailure) {
  CommandResult result = forwarding({"sender", "--settings", dir / "missing.xml", "collector"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.out.empty());
  EXPECT_NE(result.err.find(dir / "missing.xml"), std::string::npos) << result.err;
}

TEST_F(ForwardingConfig, AVolumeWithWildcardsIsRefused) {
  write_file(settings,
             "<?xml version=\"1.0\"?>\n<config><share><path>/mnt/*/logs</path>"
             "</share></config>\n");
  CommandResult result = forwarding({"sender", "--settings", settings, "collector"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.out.empty());
}

TEST_F(ForwardingConfig, UsageErrorsExitWithTwo) {
  std::vector<std::vector<std::string>> calls{
      {},
      {"sender"},
      {"sender", "--settings", settings, "bad host"},
      {"sender", "--settings", settings, "collector:0"},
      {"collector", "--port", "65536"},
      {"collector", "--unknown"},
      {"neither"},
  };
  for (const std::vector<std::string>& args : calls) {
    CommandResult result = forwarding(args);
    EXPECT_EQ(result.status, 2) << (args.empty() ? "" : args[0]) << ": " << result.err;
    EXPECT_TRUE(result.out.empty());
  }
}

TEST_F(ForwardingConfig, HelpSucceeds) {
  CommandResult result = forwarding({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("sender"), std::string::npos);
  EXPECT_NE(result.out.find("collector"), std::string::npos);
}

}  // namespace
}  // namespace sarvik::testing
