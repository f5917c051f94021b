#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "LXUtils/System/FileLock.h"

#include "TemporaryFolder.h"
#include "process/ChildProcess.h"

static bool failsToUnlock = false;

// In the place of the system's, which does not fail when it is to.
extern "C" int flock(int file, int operation) {
  if (operation == LOCK_UN && failsToUnlock) {
    errno = ENOLCK;
    return -1;
  }
  return static_cast<int>(syscall(SYS_flock, file, operation));
}

namespace lx {
namespace {

using Kind = FileLockError::Kind;

template <class T>
Kind kindOf(const Result<T>& result) {
  const auto* const error = result ? nullptr : result.error().template as<FileLockError>();
  return error ? error->kind : Kind::system;
}

struct Locks : testing::Test {
  std::unique_ptr<FileLock> make() const { return std::move(FileLock::make(path).value()); }

  const TemporaryFolder folder;
  const std::string path = folder.file("refresh.lock");
};

TEST_F(Locks, ExcludeEveryOtherUserInThisProcessToo) {
  const auto first = make();
  const auto second = make();
  EXPECT_EQ(kindOf(first->unlock()), Kind::notLocked);
  EXPECT_TRUE(first->try_());
  EXPECT_EQ(kindOf(first->try_()), Kind::alreadyLocked);
  EXPECT_EQ(kindOf(second->try_()), Kind::alreadyLocked);
  EXPECT_EQ(kindOf(second->unlock()), Kind::notLocked);
  EXPECT_EQ(kindOf(make()->try_()), Kind::alreadyLocked) << "a stranger's unlock freed the lock";
  EXPECT_TRUE(first->unlock());
  EXPECT_TRUE(second->try_());
}

TEST_F(Locks, AreNotInheritedByAProgramThatTheHolderStarts) {
  auto lock = make();
  ASSERT_TRUE(lock->try_());
  ChildProcess heir({LX_SYSTEM_PROBE, "wait", folder.path(), "name"});
  ASSERT_EQ(heir.readLine(), "ready");
  lock.reset();
  EXPECT_TRUE(make()->try_());
}

TEST_F(Locks, KeepASmallTextThatOnlyTheHolderChangesAndEverybodyReads) {
  const auto lock = make();
  const auto other = make();
  EXPECT_EQ(kindOf(lock->setContents("text")), Kind::notLocked);
  ASSERT_TRUE(lock->try_());
  for (const auto& text : {std::string(FileLock::maximumContentsSize, 'x'), std::string("digest"), std::string()}) {
    EXPECT_TRUE(lock->setContents(text));
    EXPECT_EQ(other->contents().value(), text);
  }
  EXPECT_FALSE(lock->setContents(std::string(FileLock::maximumContentsSize + 1, 'x')));

  std::filesystem::resize_file(path, FileLock::maximumContentsSize + 1);
  EXPECT_FALSE(other->contents());
}

TEST_F(Locks, FollowAFileThatWasReplaced) {
  const auto old = make();
  std::filesystem::remove(path);
  const auto fresh = make();
  ASSERT_TRUE(fresh->try_());
  EXPECT_EQ(kindOf(old->try_()), Kind::alreadyLocked);
  ASSERT_TRUE(fresh->unlock());
  EXPECT_TRUE(old->try_());
  EXPECT_EQ(kindOf(fresh->try_()), Kind::alreadyLocked);
}

TEST_F(Locks, AreFreeAfterAnUnlockThatFailsAndAfterAFileThatIsGone) {
  const auto lock = make();
  ASSERT_TRUE(lock->try_());
  failsToUnlock = true;
  EXPECT_EQ(kindOf(lock->unlock()), Kind::system);
  failsToUnlock = false;
  EXPECT_TRUE(make()->try_());
  EXPECT_TRUE(lock->try_());
  ASSERT_TRUE(lock->unlock());

  const auto second = make();
  std::filesystem::rename(path, folder.file("aside"));
  std::filesystem::create_directory(path);
  EXPECT_EQ(kindOf(lock->try_()), Kind::notOpened);
  std::filesystem::remove(path);
  std::filesystem::rename(folder.file("aside"), path);
  EXPECT_TRUE(second->try_()) << "the lock of a file that was given up is kept";
}

TEST_F(Locks, ArePrivateAndNeedAFolder) {
  make();
  struct stat status{};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  const auto missing = FileLock::make(folder.file("missing/refresh.lock"));
  EXPECT_EQ(kindOf(missing), Kind::notOpened);
  EXPECT_EQ(missing.error().description(), "The lock file cannot be opened (No such file or directory)");
  EXPECT_EQ(kindOf(FileLock::make(folder.path())), Kind::notOpened);
}

}  // namespace
}  // namespace lx
