#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Digest.h"
#include "LXUtils/Foundation/Random.h"

namespace lx {
namespace {

std::string hexadecimal(std::span<const std::byte> bytes) {
  std::string text;
  for (const std::byte byte : bytes) {
    const auto value = std::to_integer<unsigned>(byte);
    text += "0123456789abcdef"[value >> 4U];
    text += "0123456789abcdef"[value & 15U];
  }
  return text;
}

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

TEST(Digest, FollowsTheStandardVectors) {
  EXPECT_EQ(hexadecimal(sha256(dataOf("abc"))), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hexadecimal(sha256({})), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(base64EncodedString(md5(dataOf("abc"))), "kAFQmDzST7DWlj99KOF/cg==");
  // The code challenge of RFC 7636, appendix B.
  EXPECT_EQ(urlSafeBase64EncodedString(sha256(dataOf("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"))),
            "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST(Random, EveryCharacterOfTheAlphabetIsDrawnAboutEquallyOften) {
  // 66 does not divide 256: with a plain remainder the first 58 characters would come a third more often than the rest.
  const std::size_t draws = 66'000;
  std::map<char, std::size_t> counts;
  for (const char c : randomString(draws, nonceCharacters)) ++counts[c];
  ASSERT_EQ(counts.size(), nonceCharacters.size());
  const auto sumOfLast = [&] {
    std::size_t sum = 0;
    for (const char c : nonceCharacters.substr(58)) sum += counts[c];
    return sum;
  }();
  EXPECT_NEAR(static_cast<double>(sumOfLast), 8000, 800);
  for (const auto& [c, count] : counts) EXPECT_NEAR(static_cast<double>(count), 1000, 300) << c;
}

TEST(Random, LengthsAreExactAndDrawsDiffer) {
  EXPECT_EQ(randomString(0, nonceCharacters), "");
  EXPECT_EQ(randomString(43, nonceCharacters).size(), 43U);
  EXPECT_EQ(randomString(5, "x"), "xxxxx");
  EXPECT_NE(randomBytes(16), randomBytes(16));
}

TEST(Random, ConstantTimeEqualComparesWholeTexts) {
  EXPECT_TRUE(constantTimeEqual("", ""));
  EXPECT_TRUE(constantTimeEqual("abc", "abc"));
  EXPECT_FALSE(constantTimeEqual("abc", "abd"));
  EXPECT_FALSE(constantTimeEqual("xbc", "abc"));
  EXPECT_FALSE(constantTimeEqual("abc", "abcd"));
}

}  // namespace
}  // namespace lx
