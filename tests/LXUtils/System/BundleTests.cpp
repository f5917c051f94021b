#include <fstream>

#include <gtest/gtest.h>

#include "LXUtils/System/Bundle.h"
#include "LXUtils/System/FileManager.h"

namespace lx {
namespace {

TEST(FileManager, ReadsAFileUpToItsBound) {
  const std::string path = testing::TempDir() + "FileManagerReadsAFile";
  const std::string text(100'000, 'x');
  std::ofstream(path) << text;
  EXPECT_EQ(readFile(path, text.size()).value(), dataOf(text));
  EXPECT_TRUE(readFile(path, text.size() - 1).error().is(FileError{FileError::Kind::tooLarge, path}));
  EXPECT_TRUE(readFile(path + "/x", 1).error().is(FileError{FileError::Kind::notFound, path + "/x"}));
  const auto folder = testing::TempDir();
  EXPECT_TRUE(readFile(folder, 1).error().is(FileError{FileError::Kind::unreadable, folder}));
}

TEST(Bundle, HasAnInformationDictionaryWhenItsListIsADictionary) {
  const std::string path = testing::TempDir() + "BundleInfo.plist";
  std::ofstream(path) << "<plist><dict><key>k</key><string>v</string></dict></plist>";
  EXPECT_EQ(Bundle::fromFile(path).value().infoDictionary().value().string("k"), "v");
  std::ofstream(path) << "<plist><array/></plist>";
  EXPECT_FALSE(Bundle::fromFile(path).value().infoDictionary());
  std::ofstream(path) << "<plist>";
  EXPECT_EQ(Bundle::fromFile(path).error().typeName(), "PropertyListError.invalid");
  EXPECT_EQ(Bundle::fromFile(path + "-absent").error().typeName(), "FileError.notFound");
}

}  // namespace
}  // namespace lx
