#include "forwarding/forwarding_configs.h"

#include <gtest/gtest.h>

#include <string>

namespace sarvik::forwarding {
namespace {

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

SenderOptions sender_options(bool relp) {
  SenderOptions options;
  options.log_volume = "/mnt/data//logs/";
  options.work_dir = "/var/lib/fwd";
  options.collector = CollectorAddress{"collector.example.org", 2514};
  options.relp = relp;
  return options;
}

TEST(SenderConfig, FollowsTheThreeLogsBelowTheNormalisedVolume) {
  std::string config;
  std::string why;
  ASSERT_TRUE(sender_config(sender_options(false), &config, &why)) << why;
  EXPECT_TRUE(contains(config, "file=\"/mnt/data/logs/systemlog/[0-9]"));
  EXPECT_TRUE(contains(config, "file=\"/mnt/data/logs/accesslog/[0-9]"));
  EXPECT_TRUE(contains(config, "file=\"/mnt/data/logs/alertlog/[0-9]"));
  EXPECT_TRUE(contains(config, "global(workDirectory=\"/var/lib/fwd\")"));
  EXPECT_TRUE(contains(config, "target=\"collector.example.org\" port=\"2514\""));
}

TEST(SenderConfig, ChoosesTheTransport) {
  std::string tcp;
  std::string relp;
  std::string why;
  ASSERT_TRUE(sender_config(sender_options(false), &tcp, &why)) << why;
  ASSERT_TRUE(sender_config(sender_options(true), &relp, &why)) << why;
  EXPECT_TRUE(contains(tcp, "module(load=\"builtin:omfwd\")"));
  EXPECT_TRUE(contains(tcp, "action(type=\"omfwd\""));
  EXPECT_TRUE(contains(tcp, "TCP_Framing=\"octet-counted\""));
  EXPECT_FALSE(contains(tcp, "=\"omrelp\""));
  EXPECT_TRUE(contains(relp, "module(load=\"omrelp\")"));
  EXPECT_TRUE(contains(relp, "action(type=\"omrelp\""));
  EXPECT_FALSE(contains(relp, "=\"omfwd\""));
  EXPECT_FALSE(contains(relp, "=\"builtin:omfwd\""));
}

TEST(SenderConfig, RefusesAVolumeThatWouldMatchOtherFiles) {
  SenderOptions options = sender_options(false);
  options.log_volume = "/mnt/*/logs";
  std::string config;
  std::string why;
  EXPECT_FALSE(sender_config(options, &config, &why));
  EXPECT_TRUE(contains(why, "/mnt/*/logs")) << why;
}

TEST(SenderConfig, RefusesARelativeWorkDirectory) {
  SenderOptions options = sender_options(false);
  options.work_dir = "spool";
  std::string config;
  std::string why;
  EXPECT_FALSE(sender_config(options, &config, &why));
}

TEST(CollectorConfig, ListensAndWritesWhereItIsTold) {
  CollectorOptions options;
  options.port = 2514;
  options.output_dir = "/srv/logs/";
  options.work_dir = "/var/spool/x";
  for (bool relp : {false, true}) {
    options.relp = relp;
    std::string config;
    std::string why;
    ASSERT_TRUE(collector_config(options, &config, &why)) << why;
    std::string module = relp ? "imrelp" : "imtcp";
    EXPECT_TRUE(contains(config, "module(load=\"" + module + "\")"));
    EXPECT_TRUE(contains(config, "input(type=\"" + module + "\" port=\"2514\""));
    EXPECT_TRUE(contains(config, "string=\"/srv/logs/%hostname"));
    EXPECT_TRUE(contains(config, "queue.spoolDirectory=\"/var/spool/x\""));
  }
}

TEST(CollectorConfig, HasTheDefaults) {
  std::string config;
  std::string why;
  ASSERT_TRUE(collector_config(CollectorOptions(), &config, &why)) << why;
  EXPECT_TRUE(contains(config, "input(type=\"imtcp\" port=\"10514\""));
  EXPECT_TRUE(contains(config, "string=\"/var/log/sarvik/%hostname"));
  EXPECT_TRUE(contains(config, "queue.spoolDirectory=\"/var/spool/rsyslog\""));
}

}  // namespace
}  // namespace sarvik::forwarding
