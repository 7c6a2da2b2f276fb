// The byte folding table against tolower itself, byte for byte.
#include "support/case_fold.h"

#include <ctype.h>
#include <gtest/gtest.h>

namespace sarvik {
namespace {

TEST(CaseFold, FoldsEveryByteAsTolowerDoesForASignedChar) {
  const CaseFold& fold = CaseFold::table();
  for (int value = 0; value != 256; ++value) {
    char byte = static_cast<char>(value);
    EXPECT_EQ(fold(byte), static_cast<char>(tolower(static_cast<signed char>(byte)))) << value;
  }
}

TEST(CaseFold, FoldsAsciiLettersOnly) {
  const CaseFold& fold = CaseFold::table();
  EXPECT_EQ(fold('A'), 'a');
  EXPECT_EQ(fold('Z'), 'z');
  EXPECT_EQ(fold('a'), 'a');
  EXPECT_EQ(fold('@'), '@');
  EXPECT_EQ(fold('['), '[');
  EXPECT_EQ(fold('\xC3'), '\xC3');  // a UTF-8 lead byte stays as it is
  EXPECT_EQ(fold('\xFF'), '\xFF');  // as a signed char this is -1, the value of EOF
}

TEST(CaseFold, IsOneTable) { EXPECT_EQ(&CaseFold::table(), &CaseFold::table()); }

}  // namespace
}  // namespace sarvik
