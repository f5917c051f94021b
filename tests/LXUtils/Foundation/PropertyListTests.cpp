#include <gmock/gmock.h>

#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/PropertyList.h"

#include "support/Examples.h"

namespace lx {
namespace {

using testing::ElementsAre;
using Kind = PropertyListError::Kind;

Result<PropertyList> parse(std::string_view text) { return PropertyList::parse(dataOf(text)); }

std::string xml(std::string_view body) { return "<plist version=\"1.0\">" + std::string(body) + "</plist>"; }

/// A binary property list of these objects, the first of which is the root; references are one byte wide.
std::string binary(const std::vector<std::string>& objects) {
  std::string text = "bplist00", offsets;
  for (const auto& object : objects) {
    offsets += static_cast<char>(text.size() >> 8);
    offsets += static_cast<char>(text.size());
    text += object;
  }
  const auto table = text.size();
  text += offsets + std::string(6, '\0') + "\x02\x01" + std::string(7, '\0') + static_cast<char>(objects.size());
  text += std::string(8 + 6, '\0') + static_cast<char>(table >> 8) + static_cast<char>(table);
  return text;
}

void expectContent(const Result<PropertyList>& list) {
  ASSERT_TRUE(list);
  EXPECT_EQ(list->string("name"), "L & Ü");
  EXPECT_THAT(list->stringList("list"), testing::Optional(ElementsAre("x", "y")));
  EXPECT_EQ(list->dictionary("dict").value().string("inner"), "z");
  EXPECT_EQ(list->array("list").value().elements().at(1).string(), "y");
}

TEST(PropertyList, BothFormsAreRead) {
  expectContent(parse(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- <dict> -->" +
      xml("<dict><key>name</key><string>L &amp; Ü</string><key>list</key><array><string>x</string><string>y</string>"
          "</array><key>dict</key><dict><key>inner</key><string>z</string></dict></dict>")));
  expectContent(parse(binary({"\xD3\x01\x02\x03\x04\x05\x06", "\x54name", "\x54list",
                              "\x54"
                              "dict",
                              std::string("\x65\0L\0 \0&\0 \0\xDC", 11), "\xA2\x07\x08", "\xD1\x09\x0A", "\x51x",
                              "\x51y", "\x55inner", "\x51z"})));
}

TEST(PropertyList, WhatIsOfAnotherTypeCountsAsMissing) {
  const auto list =
      parse(xml("<dict><key>n</key><integer>-3</integer><key>s</key><string>x</string><key>mixed</key><array>"
                "<string>x</string><true/></array><key>empty</key><array/></dict>"))
          .value();
  EXPECT_EQ(list.string("n"), std::nullopt);
  EXPECT_FALSE(list.dictionary("s"));
  EXPECT_FALSE(list.array("s"));
  EXPECT_EQ(list.stringList("s"), std::nullopt);
  EXPECT_EQ(list.stringList("mixed"), std::nullopt);
  EXPECT_THAT(list.stringList("empty"), testing::Optional(ElementsAre()));
  EXPECT_FALSE(list.value("absent"));
  EXPECT_FALSE(list.value("s").value().value("s"));
  EXPECT_TRUE(list.elements().empty());

  EXPECT_EQ(parse(binary({"\xD1\x01\x02", "\x51k", "\x51\xFF"})).value().string("k"), std::nullopt);
}

TEST(PropertyList, ASublistOutlivesTheListItCameFrom) {
  std::optional<PropertyList> inner;
  inner = parse(xml("<dict><key>d</key><dict><key>k</key><string>v</string></dict></dict>")).value().dictionary("d");
  EXPECT_EQ(inner.value().string("k"), "v");
}

TEST(PropertyList, HostileInputIsRefused) {
  std::vector<std::string> doubling, chain;
  for (char i = 1; i < 40; ++i) doubling.push_back(std::string("\xA2") + i + i);
  doubling.push_back("\xA0");
  for (char i = 1; i < 100; ++i) chain.push_back(std::string("\xA1") + i);
  chain.push_back("\xA0");
  const auto valid = binary({"\xD1\x01\x02", "\x51k", "\x51v"});
  const std::pair<std::string, Kind> cases[] = {
      {"", Kind::invalid},
      {"not a list", Kind::invalid},
      {xml("<dict><key>k</key>"), Kind::invalid},
      {"\xEF\xBB\xBF" + xml("<dict/>"), Kind::unsupportedEncoding},
      {std::string("\xFF\xFE<\0d\0", 6), Kind::unsupportedEncoding},
      {std::string("\0<\0d", 4), Kind::unsupportedEncoding},
      {xml("<string>\xFF</string>"), Kind::unsupportedEncoding},
      {std::string(PropertyList::maximumSize + 1, ' '), Kind::tooLarge},
      {repeated("<array>", 500'000), Kind::tooComplex},
      {repeated("<dict><key>a</key><!--</dict>-->", 100'000), Kind::tooComplex},
      {"bplist00", Kind::invalid},
      {valid.substr(0, valid.size() - 1), Kind::invalid},
      {binary({"\xD1\x01\x02", "\x10\x07", "\x51v"}), Kind::invalid},                 // the key is a number
      {binary({"\xD1\x01\x02", std::string("\x52k\0", 3), "\x51v"}), Kind::invalid},  // the key holds a NUL
      {binary({"\xD1\x01\x02", "\x51k", std::string("\x52v\0", 3)}), Kind::invalid},  // the text holds a NUL
      {binary({"\xA1\x01", std::string("\xA1\x00", 2)}), Kind::invalid},              // a cycle
      {binary({"\xA1\x05"}), Kind::invalid},                                          // no such object
      {binary({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}), Kind::invalid},          // longer than the file
      {binary(doubling), Kind::tooComplex},
      {binary(chain), Kind::tooComplex},
  };
  for (const auto& [text, kind] : cases) {
    const auto list = parse(text);
    ASSERT_FALSE(list) << text.substr(0, 60);
    EXPECT_TRUE(list.error().is(PropertyListError{kind})) << list.error().typeName() << " " << text.substr(0, 60);
  }
  EXPECT_TRUE(parse(xml(repeated("<array>", 4000) + repeated("</array>", 4000))));
}

}  // namespace
}  // namespace lx
