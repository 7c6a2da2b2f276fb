// The API's parameters: sarvik-log's option names, each endpoint its own set, nothing else.
#include "web/api_parameters.h"

#include <gtest/gtest.h>

namespace sarvik::web {
namespace {

constexpr unsigned kLines =
    kFilterParameters | kLimitParameter | kReverseParameter | kCursorParameter;

std::string refusal(const Parameters& parameters, unsigned accepted = kLines) {
  ApiQuery query;
  std::string error;
  EXPECT_FALSE(read_api_query(parameters, accepted, &query, &error));
  return error;
}

TEST(ApiParameters, FiltersAreTheCommandLinesOptions) {
  ApiQuery query;
  std::string error;
  ASSERT_TRUE(read_api_query({{"kind", "alert"},
                              {"since", "2024-03-01"},
                              {"until", "today"},
                              {"user", "alice"},
                              {"user", "bob"},
                              {"host", "pc1"},
                              {"ip", "192.0.2.0/24"},
                              {"share", "docs"},
                              {"op", "open_*"},
                              {"result", "fail"},
                              {"path", "*.pdf"},
                              {"grep", "x+"},
                              {"rule", "r1"},
                              {"rules", "true"},
                              {"reverse", "1"},
                              {"limit", "50"}},
                             kLines, &query, &error))
      << error;
  const query::QueryOptions& o = query.options;
  EXPECT_EQ(o.kind, "alert");
  EXPECT_EQ(o.since, "2024-03-01");
  EXPECT_EQ(o.until, "today");
  EXPECT_EQ(o.filters.users, (std::vector<std::string>{"alice", "bob"}));
  EXPECT_EQ(o.filters.hosts, std::vector<std::string>{"pc1"});
  EXPECT_EQ(o.filters.addresses, std::vector<std::string>{"192.0.2.0/24"});
  EXPECT_EQ(o.filters.shares, std::vector<std::string>{"docs"});
  EXPECT_EQ(o.filters.operations, std::vector<std::string>{"open_*"});
  EXPECT_EQ(o.filters.results, std::vector<std::string>{"fail"});
  EXPECT_EQ(o.filters.paths, std::vector<std::string>{"*.pdf"});
  EXPECT_EQ(o.filters.greps, std::vector<std::string>{"x+"});
  EXPECT_EQ(o.rule_names, std::vector<std::string>{"r1"});
  EXPECT_TRUE(o.all_rules);
  EXPECT_TRUE(o.reverse);
  EXPECT_EQ(o.limit, 50u);
  EXPECT_TRUE(query.limit_given);
}

TEST(ApiParameters, TheVolumeAndTheSettingsAreNoParameters) {
  EXPECT_NE(refusal({{"root", "/etc"}}).find("'root' is not a parameter"), std::string::npos);
  EXPECT_NE(refusal({{"settings", "/tmp/x.xml"}}).find("'settings' is not a parameter"),
            std::string::npos);
  EXPECT_NE(refusal({{"root", "/"}}, kKindParameter).find("not a parameter"), std::string::npos);
}

TEST(ApiParameters, AParameterTheEndpointDoesNotTakeIsRefused) {
  EXPECT_EQ(refusal({{"follow", "1"}}), "unknown parameter 'follow'");
  EXPECT_EQ(refusal({{"count", "1"}}), "unknown parameter 'count'");
  EXPECT_EQ(refusal({{"stats", "user"}}), "unknown parameter 'stats'");
  EXPECT_EQ(refusal({{"cursor", "x"}}, kFilterParameters), "unknown parameter 'cursor'");
  EXPECT_EQ(refusal({{"user", "alice"}}, kKindParameter), "unknown parameter 'user'");
  EXPECT_EQ(refusal({{"User", "alice"}}), "unknown parameter 'User'");
}

TEST(ApiParameters, AFlagIsOneOrTrue) {
  EXPECT_EQ(refusal({{"reverse", "yes"}}), "'reverse' is a flag: 1 or true, not 'yes'");
  EXPECT_EQ(refusal({{"rules", ""}}), "'rules' is a flag: 1 or true, not ''");
  EXPECT_EQ(refusal({{"rules", "0"}}), "'rules' is a flag: 1 or true, not '0'");
}

TEST(ApiParameters, NumbersArePositiveDecimals) {
  for (const char* bad : {"0", "-1", "1e3", "", "12345678901234567890", " 5"}) {
    EXPECT_EQ(refusal({{"limit", bad}}),
              std::string("'limit' is a positive number, not '") + bad + "'");
  }
  EXPECT_NE(refusal({{"top", "x"}}, kFilterParameters | kStatsParameters).find("'top'"),
            std::string::npos);
}

TEST(ApiParameters, WordsAreChecked) {
  EXPECT_EQ(refusal({{"kind", "audit"}}), "'kind' is one of access, system, alert, not 'audit'");
  EXPECT_EQ(refusal({{"output", "xml"}}, kOutputParameter),
            "'output' is one of csv, tsv, json, not 'xml'");
  EXPECT_EQ(refusal({{"histogram", "week"}}, kHistogramParameter),
            "'histogram' is one of day, hour, auto, not 'week'");
}

TEST(ApiParameters, AParameterOfOneValueIsGivenOnce) {
  EXPECT_EQ(refusal({{"since", "today"}, {"since", "yesterday"}}),
            "'since' is given more than once");
  EXPECT_EQ(refusal({{"kind", "access"}, {"kind", "access"}}), "'kind' is given more than once");
  EXPECT_EQ(refusal({{"limit", "5"}, {"limit", "5"}}), "'limit' is given more than once");
}

TEST(ApiParameters, TheFingerprintIgnoresOrderCursorAndLimit) {
  uint64_t base = query_fingerprint({{"user", "alice"}, {"share", "docs"}, {"reverse", "1"}});
  EXPECT_EQ(query_fingerprint({{"reverse", "1"},
                               {"share", "docs"},
                               {"user", "alice"},
                               {"cursor", "abc"},
                               {"limit", "7"}}),
            base);
  EXPECT_NE(query_fingerprint({{"user", "alice"}, {"share", "docs"}}), base);
  EXPECT_NE(query_fingerprint({{"user", "alice"}, {"share", "docs"}, {"reverse", "true"}}), base);
  EXPECT_NE(query_fingerprint({{"user", "alicedocs"}, {"share", ""}, {"reverse", "1"}}), base);
}

}  // namespace
}  // namespace sarvik::web
