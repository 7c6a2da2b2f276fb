// Tests of matching a file's lines with the seals made for it: each kind of change is found at
// its place, told apart from the others, and nothing else is reported.
#include "verify/line_matching.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sarvik::verify {
namespace {

SealHash hash_of(char c) {
  SealHash hash{};
  hash[0] = static_cast<uint8_t>(c);
  hash[1] = 0x5A;
  return hash;
}

// Seals of the lines named by the letters of `letters`, numbered from `first`.
std::vector<SealedLine> seals(const std::string& letters, uint32_t first = 1) {
  std::vector<SealedLine> sealed;
  for (char c : letters) sealed.push_back(SealedLine{first++, 0, hash_of(c)});
  return sealed;
}

std::vector<SealHash> lines(const std::string& letters) {
  std::vector<SealHash> hashes;
  for (char c : letters) hashes.push_back(hash_of(c));
  return hashes;
}

// A finding as text: "VERDICT line+count sealed first..last".
std::string shown(const LineFinding& finding) {
  static const char* const kNames[] = {"modified",  "deleted",   "inserted",
                                       "reordered", "truncated", "unsealed"};
  std::string text = kNames[static_cast<int>(finding.verdict)];
  text += " " + std::to_string(finding.first_line) + "+" + std::to_string(finding.line_count);
  if (finding.sealed_count > 0) {
    text += " sealed " + std::to_string(finding.first_sealed) + ".." +
            std::to_string(finding.last_sealed);
  }
  return text;
}

std::vector<std::string> found(const std::vector<SealedLine>& sealed,
                               const std::vector<SealHash>& file, uint64_t* verified = nullptr) {
  MatchResult result = match_lines(sealed, file);
  if (verified != nullptr) *verified = result.verified;
  std::vector<std::string> texts;
  for (const LineFinding& finding : result.findings) texts.push_back(shown(finding));
  return texts;
}

using Texts = std::vector<std::string>;

TEST(LineMatching, AFileAsSealedHasNoFinding) {
  uint64_t verified = 0;
  EXPECT_EQ(found(seals("ABCDE"), lines("ABCDE"), &verified), Texts{});
  EXPECT_EQ(verified, 5u);
  EXPECT_EQ(found(seals(""), lines(""), &verified), Texts{});
  EXPECT_EQ(verified, 0u);
}

TEST(LineMatching, EachChangeIsFoundAtItsPlaceAndNothingElse) {
  const struct {
    const char* file;
    Texts expected;
    uint64_t verified;
  } cases[] = {
      {"ABXDE", {"modified 3+1 sealed 3..3"}, 4},
      {"ABDE", {"deleted 3+0 sealed 3..3"}, 4},
      {"ABXCDE", {"inserted 3+1"}, 5},
      {"ACBDE", {"reordered 2+1 sealed 3..3"}, 4},
      {"ABC", {"truncated 4+0 sealed 4..5"}, 3},
      {"ABCDX", {"modified 5+1 sealed 5..5"}, 4},
      {"XBCDE", {"modified 1+1 sealed 1..1"}, 4},
      {"BCDE", {"deleted 1+0 sealed 1..1"}, 4},
      {"ABCDEXY", {"unsealed 6+2"}, 5},
      {"", {"truncated 1+0 sealed 1..5"}, 0},
      {"ABXYE", {"modified 3+2 sealed 3..4"}, 3},
      {"AE", {"deleted 2+0 sealed 2..4"}, 2},
      {"AXYZBCDE", {"inserted 2+3"}, 5},
  };
  for (const auto& c : cases) {
    uint64_t verified = 0;
    EXPECT_EQ(found(seals("ABCDE"), lines(c.file), &verified), c.expected) << c.file;
    EXPECT_EQ(verified, c.verified) << c.file;
  }
}

TEST(LineMatching, LinesMovedFarAreReorderedAndTheRestStands) {
  // Lines C to E moved behind H, or F to H before C: three lines found elsewhere, in one run.
  // Where either reading fits, the lines further down stand in place.
  uint64_t verified = 0;
  EXPECT_EQ(found(seals("ABCDEFGHIJ"), lines("ABFGHCDEIJ"), &verified),
            (Texts{"reordered 3+3 sealed 6..8"}));
  EXPECT_EQ(verified, 7u);
  EXPECT_EQ(found(seals("ABCDEFGHIJ"), lines("ABFGHIJCDE")), (Texts{"reordered 8+3 sealed 3..5"}));
  // Two lines swapped across others: both were moved.
  EXPECT_EQ(found(seals("ABCDEF"), lines("AECDBF")),
            (Texts{"reordered 2+1 sealed 5..5", "reordered 5+1 sealed 2..2"}));
}

TEST(LineMatching, ChangesInOneFileAreAllFound) {
  EXPECT_EQ(found(seals("ABCDEFGH"), lines("AXCEFYGH")),
            (Texts{"modified 2+1 sealed 2..2", "deleted 4+0 sealed 4..4", "inserted 6+1"}));
}

TEST(LineMatching, LinesBeforeTheFirstSealWereWrittenBeforeSealingBegan) {
  EXPECT_EQ(found(seals("CDE", 3), lines("ABCDE")), (Texts{"unsealed 1+2"}));
  // More lines than there were before it: those are inserted.
  EXPECT_EQ(found(seals("CDE", 3), lines("XABCDE")), (Texts{"inserted 1+1", "unsealed 2+2"}));
  // A first seal whose number is not known leaves every line before it unsealed.
  EXPECT_EQ(found(seals("CDE", 0), lines("ABCDE")), (Texts{"unsealed 1+2"}));
}

TEST(LineMatching, LinesTheServiceCouldNotSealAreUnsealedNotInserted) {
  std::vector<SealedLine> sealed = seals("ABDE");
  sealed[2] = SealedLine{4, 1, hash_of('D')};
  sealed[3].line = 5;
  EXPECT_EQ(found(sealed, lines("ABCDE")), (Texts{"unsealed 3+1"}));
  // One line more than the service announced is inserted.
  EXPECT_EQ(found(sealed, lines("ABXCDE")), (Texts{"inserted 3+1", "unsealed 4+1"}));
}

TEST(LineMatching, EqualLinesAreMatchedInOrder) {
  uint64_t verified = 0;
  EXPECT_EQ(found(seals("AAAB"), lines("AAAB"), &verified), Texts{});
  EXPECT_EQ(verified, 4u);
  EXPECT_EQ(found(seals("AAAB"), lines("AAB")), (Texts{"deleted 3+0 sealed 3..3"}));
  EXPECT_EQ(found(seals("AAAB"), lines("AAAAB")), (Texts{"inserted 4+1"}));
  EXPECT_EQ(found(seals("ABAB"), lines("ABBA")), (Texts{"reordered 3+1 sealed 4..4"}));
}

TEST(LineMatching, SealedNumbersComeFromTheSeals) {
  // Seals numbered from 100 (the sealing began in the file's middle).
  EXPECT_EQ(found(seals("ABC", 100), lines("AXC")), (Texts{"modified 2+1 sealed 101..101"}));
}

TEST(LineMatching, AFileWithoutSealsIsUnsealedThroughout) {
  EXPECT_EQ(found(seals(""), lines("ABC")), (Texts{"unsealed 1+3"}));
}

TEST(LineMatching, ALargeFileWithOneChangeCostsOneFinding) {
  std::vector<SealedLine> sealed;
  std::vector<SealHash> file;
  for (uint32_t i = 0; i < 70000; ++i) {
    SealHash hash{};
    hash[0] = static_cast<uint8_t>(i);
    hash[1] = static_cast<uint8_t>(i >> 8);
    hash[2] = static_cast<uint8_t>(i >> 16);
    sealed.push_back(SealedLine{i + 1, 0, hash});
    if (i != 40000) file.push_back(hash);
  }
  uint64_t verified = 0;
  EXPECT_EQ(found(sealed, file, &verified), (Texts{"deleted 40001+0 sealed 40001..40001"}));
  EXPECT_EQ(verified, 69999u);
}

}  // namespace
}  // namespace sarvik::verify
