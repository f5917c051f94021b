#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "LXUtils/System/Bundle.h"
#include "LXUtils/System/FileManager.h"

namespace lx {
namespace {

/// A path that no other run of the tests uses.
std::string ownPath(const std::string& name) { return testing::TempDir() + name + std::to_string(getpid()); }

TEST(FileManager, ReadsAFileUpToItsBound) {
  const std::string path = ownPath("FileManager");
  const std::string text(100'000, 'x');
  std::ofstream(path) << text;
  EXPECT_EQ(readFile(path, text.size()).value(), dataOf(text));
  EXPECT_TRUE(readFile(path, text.size() - 1).error().is(FileError{FileError::Kind::tooLarge, path}));
  EXPECT_TRUE(readFile(path + "/x", 1).error().is(FileError{FileError::Kind::notFound, path + "/x"}));
  const auto folder = testing::TempDir();
  EXPECT_TRUE(readFile(folder, 1).error().is(FileError{FileError::Kind::unreadable, folder}));
  unlink(path.c_str());
}

TEST(Bundle, HasAnInformationDictionaryWhenItsListIsADictionary) {
  const std::string path = ownPath("Bundle");
  std::ofstream(path) << "<plist><dict><key>k</key><string>v</string></dict></plist>";
  EXPECT_EQ(Bundle::fromFile(path).value().infoDictionary().value().string("k"), "v");
  std::ofstream(path) << "<plist><array/></plist>";
  EXPECT_FALSE(Bundle::fromFile(path).value().infoDictionary());
  std::ofstream(path) << "<plist>";
  EXPECT_EQ(Bundle::fromFile(path).error().typeName(), "PropertyListError.invalid");
  unlink(path.c_str());
  EXPECT_EQ(Bundle::fromFile(path).error().typeName(), "FileError.notFound");
}

}  // namespace
}  // namespace lx
