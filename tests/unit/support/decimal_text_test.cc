// Decimal text of whole numbers against printf's own.
#include "support/decimal_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>

namespace sarvik {
namespace {

TEST(AppendDecimal, WritesAsPrintfZeroPaddedDoes) {
  for (int width : {0, 2, 4}) {
    for (int value :
         {0, 1, 9, 10, 59, 99, 100, 2017, 10000, -1, -5, -10, -2017, INT_MAX, INT_MIN}) {
      char expected[32];
      snprintf(expected, sizeof expected, "%0*d", width, value);
      std::string text = "x";
      append_decimal(&text, value, width);
      EXPECT_EQ(text, std::string("x") + expected) << value << " width " << width;
    }
  }
}

}  // namespace
}  // namespace sarvik
