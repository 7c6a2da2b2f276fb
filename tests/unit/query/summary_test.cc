// Tests of the summaries: counts by fields, the top of them, and histograms with their gaps.
#include "query/summary.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collecting_writer.h"

namespace sarvik::query {
namespace {

using testing::CollectingWriter;

void feed(Summary& summary, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    AccessColumns columns = read_access_columns(line);
    MatchedRecord record;
    record.text = line;
    record.access = &columns;
    record.has_time = read_record_time(line, &record.time);
    summary.take(record);
  }
}

const std::vector<std::string> kLines = {
    "2024/03/04 09:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,a",
    "2024/03/04 09:30:00,bob,pc2,192.0.2.8,delete,fail (Permission denied),docs,b",
    "2024/03/04 11:00:00,alice,pc1,192.0.2.7,delete,ok,home,c",
    "2024/03/06 10:00:00,alice,pc3,192.0.2.9,open_read,ok,docs,d",
};

std::string printed(const SummaryRequest& request, OutputForm form,
                    const std::vector<std::string>& lines = kLines) {
  Summary summary(request);
  feed(summary, lines);
  CollectingWriter out;
  EXPECT_TRUE(summary.print(form, false, 40, out));
  return out.text;
}

TEST(Summary, CountsLines) {
  SummaryRequest request;
  EXPECT_EQ(printed(request, OutputForm::kCsv), "4\n");
}

TEST(Summary, StatsCountByFieldsLargestFirst) {
  SummaryRequest request;
  request.kind = SummaryRequest::Kind::kStats;
  std::string error;
  ASSERT_TRUE(parse_stats_fields("user", true, &request.fields, &error)) << error;
  EXPECT_EQ(printed(request, OutputForm::kCsv), "count,user\n3,alice\n1,bob\n");
  EXPECT_EQ(printed(request, OutputForm::kJson),
            "{\"count\":3,\"user\":\"alice\"}\n{\"count\":1,\"user\":\"bob\"}\n");
  request.top = 1;
  EXPECT_EQ(printed(request, OutputForm::kTsv), "count\tuser\n3\talice\n");
}

TEST(Summary, StatsByTwoFieldsAndByDay) {
  SummaryRequest request;
  request.kind = SummaryRequest::Kind::kStats;
  std::string error;
  ASSERT_TRUE(parse_stats_fields("share,result", true, &request.fields, &error)) << error;
  EXPECT_EQ(printed(request, OutputForm::kCsv),
            "count,share,result\n2,docs,ok\n1,docs,fail (Permission denied)\n1,home,ok\n");
  request.fields.clear();
  ASSERT_TRUE(parse_stats_fields("day", true, &request.fields, &error)) << error;
  EXPECT_EQ(printed(request, OutputForm::kCsv), "count,day\n3,2024-03-04\n1,2024-03-06\n");
  request.fields.clear();
  ASSERT_TRUE(parse_stats_fields("hour", true, &request.fields, &error)) << error;
  EXPECT_EQ(printed(request, OutputForm::kCsv),
            "count,hour\n2,2024-03-04 09:00\n1,2024-03-04 11:00\n1,2024-03-06 10:00\n");
}

TEST(Summary, StatsFieldsMustBeOfTheLineKind) {
  std::vector<StatsField> fields;
  std::string error;
  EXPECT_FALSE(parse_stats_fields("user,nobody", true, &fields, &error));
  EXPECT_NE(error.find("nobody"), std::string::npos);
  EXPECT_FALSE(parse_stats_fields("text1", true, &fields, &error));
  EXPECT_FALSE(parse_stats_fields("user", false, &fields, &error));
  fields.clear();
  EXPECT_TRUE(parse_stats_fields("text1,day", false, &fields, &error));
  EXPECT_EQ(fields, (std::vector<StatsField>{StatsField::kText1, StatsField::kDay}));
}

TEST(Summary, HistogramDrawsEveryBucketFromFirstToLast) {
  SummaryRequest request;
  request.kind = SummaryRequest::Kind::kHistogram;
  EXPECT_EQ(printed(request, OutputForm::kCsv),
            "day,count\n2024-03-04,3\n2024-03-05,0\n2024-03-06,1\n");
  // Forty columns: label 10, two blanks, count 1, two blanks, a bar of 25 at the most.
  EXPECT_EQ(printed(request, OutputForm::kTable), "2024-03-04  3  " + std::string(25, '#') + "\n" +
                                                      "2024-03-05  0  \n" + "2024-03-06  1  " +
                                                      std::string(9, '#') + "\n");
  request.hourly = true;
  std::string hourly = printed(request, OutputForm::kCsv);
  EXPECT_EQ(hourly.substr(0, 49), "hour,count\n2024-03-04 09:00,2\n2024-03-04 10:00,0\n");
  EXPECT_NE(hourly.find("2024-03-06 10:00,1\n"), std::string::npos);
  EXPECT_EQ(std::count(hourly.begin(), hourly.end(), '\n'), 1 + 2 * 24 + 2);
}

TEST(Summary, MergedSummariesCountAsOne) {
  SummaryRequest request;
  request.kind = SummaryRequest::Kind::kStats;
  std::string error;
  ASSERT_TRUE(parse_stats_fields("user", true, &request.fields, &error));
  Summary first(request), second(request);
  feed(first, {kLines[0], kLines[1]});
  feed(second, {kLines[2], kLines[3]});
  first.merge(second);
  CollectingWriter out;
  first.print(OutputForm::kCsv, false, 80, out);
  EXPECT_EQ(out.text, "count,user\n3,alice\n1,bob\n");
  EXPECT_EQ(first.lines(), 4u);
}

}  // namespace
}  // namespace sarvik::query
