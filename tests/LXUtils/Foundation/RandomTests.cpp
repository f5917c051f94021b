#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Digest.h"
#include "LXUtils/Foundation/Random.h"

namespace lx {
namespace {

TEST(Base64, FollowsTheVectorsOfRFC4648) {
  const struct {
    std::string_view bytes, standard, urlSafe;
  } cases[] = {{"", "", ""},
               {"f", "Zg==", "Zg"},
               {"fo", "Zm8=", "Zm8"},
               {"foo", "Zm9v", "Zm9v"},
               {"foob", "Zm9vYg==", "Zm9vYg"},
               {"foobar", "Zm9vYmFy", "Zm9vYmFy"},
               {"\xFB\xEF\xBE\xFF\xFF\xFE", "++++///+", "----___-"}};
  for (const auto& c : cases) {
    EXPECT_EQ(base64EncodedString(dataOf(c.bytes)), c.standard);
    EXPECT_EQ(urlSafeBase64EncodedString(dataOf(c.bytes)), c.urlSafe);
  }
}

TEST(Digest, AgreesWithTheKnownOnes) {
  EXPECT_EQ(base64EncodedString(sha256(dataOf("abc"))), "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=");
  EXPECT_EQ(base64EncodedString(md5(dataOf("abc"))), "kAFQmDzST7DWlj99KOF/cg==");
}

TEST(Random, EveryCharacterOfTheAlphabetIsDrawnAboutEquallyOften) {
  // 66 does not divide 256: with a plain remainder the first 58 characters would come a third more often than the rest.
  const std::size_t draws = 66'000;
  std::map<char, std::size_t> counts;
  for (const char c : randomString(draws, nonceCharacters)) ++counts[c];
  ASSERT_EQ(counts.size(), nonceCharacters.size());
  std::size_t sumOfLast = 0;
  for (const char c : nonceCharacters.substr(58)) sumOfLast += counts[c];
  EXPECT_NEAR(static_cast<double>(sumOfLast), 8000, 800);
  for (const auto& [c, count] : counts) EXPECT_NEAR(static_cast<double>(count), 1000, 300) << c;
}

TEST(Random, ConstantTimeEqualComparesWholeTexts) {
  EXPECT_TRUE(constantTimeEqual("abc", "abc"));
  for (const auto* other : {"abd", "xbc", "abcd", ""}) EXPECT_FALSE(constantTimeEqual("abc", other)) << other;
}

}  // namespace
}  // namespace lx
