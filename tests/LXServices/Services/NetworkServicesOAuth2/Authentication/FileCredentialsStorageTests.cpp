#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXUtils/System/FileLock.h"

#include "TemporaryFolder.h"

static std::function<void(std::string_view path)> beforeRename;

// In the place of the system's, to look at a moment inside one call of the store.
extern "C" int rename(const char* from, const char* to) noexcept {
  if (beforeRename) beforeRename(to);
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

namespace lx {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

OAuth2Credentials credentials(const std::string& name) {
  return {"access-" + name, "refresh-" + name, Date(std::chrono::microseconds(1'700'000'000'123'457))};
}

// Two processes of one group, as far as the files are concerned.
struct CredentialsStores : testing::Test {
  std::shared_ptr<FileCredentialsStorage> make() const { return FileCredentialsStorage::make(folder).value(); }
  std::string file(const std::string& name) const { return folder + "/" + name; }
  void write(const std::string& name, std::string_view text) const { std::ofstream(file(name)) << text; }
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }

  const TemporaryFolder parent;
  const std::string folder = parent.file("group");
  const std::shared_ptr<FileCredentialsStorage> mine = make();
  const std::shared_ptr<FileCredentialsStorage> theirs = make();
};

TEST_F(CredentialsStores, ShareEveryRecord) {
  EXPECT_EQ(mine->loadOAuth2Credentials().value(), std::nullopt);
  EXPECT_EQ(mine->loadLegacyAuthData().value(), std::nullopt);
  EXPECT_EQ(mine->loadDeviceAuthData().value(), DeviceAuthData::empty);
  EXPECT_EQ(mine->currentUser().value(), std::nullopt);

  const UserAuthData legacy{"lxauth", "csrf", std::nullopt};
  ASSERT_TRUE(theirs->storeOAuth2Credentials(credentials("1")));
  ASSERT_TRUE(theirs->storeLegacyAuthData(legacy));
  ASSERT_TRUE(theirs->storeDeviceAuthData({"device"}));
  ASSERT_TRUE(theirs->storeUser(UserModel::example()));
  EXPECT_EQ(mine->loadOAuth2Credentials().value(), credentials("1"));
  EXPECT_EQ(mine->loadLegacyAuthData().value(), legacy);
  EXPECT_EQ(mine->trustedDeviceID(), "device");
  EXPECT_EQ(mine->currentUser().value(), UserModel::example().withAuth(UserAuthData::empty));

  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    EXPECT_EQ(entry.status().permissions(), std::filesystem::perms(0600)) << entry;
  }
  EXPECT_THAT(files(), UnorderedElementsAre("credentials.json", "legacy.json", "device.json", "user.json", ".lock"));
  EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms(0700));

  ASSERT_TRUE(theirs->storeOAuth2Credentials(std::nullopt));
  ASSERT_TRUE(theirs->storeOAuth2Credentials(std::nullopt));
  EXPECT_EQ(mine->loadOAuth2Credentials().value(), std::nullopt);
}

TEST_F(CredentialsStores, SeeEachReplacementAtOnce) {
  for (int i = 100; i < 150; ++i) {
    const std::string token = std::to_string(i);
    write("new", R"({"accessToken":")" + token + R"(","refreshToken":"refresh","expirationDate":0})");
    std::filesystem::rename(file("new"), file("credentials.json"));
    for (int reads = 0; reads < 2; ++reads) ASSERT_EQ(mine->loadOAuth2Credentials().value()->accessToken, token);
  }
}

TEST_F(CredentialsStores, DropEchoes) {
  ASSERT_TRUE(theirs->storeOAuth2Credentials(credentials("1")));
  ASSERT_EQ(mine->loadOAuth2Credentials().value(), credentials("1"));
  ASSERT_TRUE(theirs->storeOAuth2Credentials(credentials("2")));
  EXPECT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  EXPECT_EQ(theirs->loadOAuth2Credentials().value(), credentials("2"));

  // Nothing newer is lost where the file is gone.
  ASSERT_EQ(mine->loadOAuth2Credentials().value(), credentials("2"));
  ASSERT_TRUE(theirs->storeOAuth2Credentials(std::nullopt));
  EXPECT_TRUE(mine->storeOAuth2Credentials(credentials("2")));
  EXPECT_EQ(theirs->loadOAuth2Credentials().value(), credentials("2"));
}

TEST_F(CredentialsStores, ReplaceOnlyWhatTheyStillHold) {
  ASSERT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  EXPECT_EQ(mine->replaceOAuth2Credentials(credentials("1"), credentials("1")), ReplaceOutcome::stored);
  auto early = mine->prepareReplacement(credentials("1")).value();
  auto late = theirs->prepareReplacement(credentials("1")).value();
  EXPECT_EQ(early.replacement->store(credentials("2")), ReplaceOutcome::stored);
  EXPECT_EQ(late.replacement->store(credentials("3")), ReplaceOutcome::storeHasMovedOn);
  EXPECT_EQ(theirs->replaceOAuth2Credentials(credentials("1"), credentials("3")), ReplaceOutcome::storeHasMovedOn);
  EXPECT_EQ(theirs->loadOAuth2Credentials().value(), credentials("2"));

  auto signedOut = mine->prepareReplacement(credentials("2")).value();
  ASSERT_TRUE(theirs->signOut());
  EXPECT_THAT(files(), ElementsAre(".lock"));
  EXPECT_EQ(signedOut.replacement->store(credentials("4")), ReplaceOutcome::storeHasMovedOn);

  write("credentials.json", R"({"version":2})");
  EXPECT_FALSE(signedOut.replacement->store(credentials("4")));
  EXPECT_FALSE(mine->replaceOAuth2Credentials(credentials("2"), credentials("4")));
  EXPECT_FALSE(mine->loadOAuth2Credentials()) << "of a later version, and still there";
}

TEST_F(CredentialsStores, ChangeCredentialsUnderTheLockAlone) {
  int renames = 0;
  beforeRename = [&](std::string_view path) {
    if (!path.ends_with("/credentials.json")) return;
    ++renames;
    EXPECT_FALSE((*FileLock::make(file(".lock")))->try_());
  };
  EXPECT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  auto prepared = mine->prepareReplacement(credentials("1")).value();
  EXPECT_EQ(prepared.replacement->store(credentials("2")), ReplaceOutcome::stored);
  EXPECT_TRUE(mine->storeSignIn({credentials("3"), {}}));
  beforeRename = nullptr;
  EXPECT_EQ(renames, 3);
  EXPECT_TRUE((*FileLock::make(file(".lock")))->try_());
}

TEST_F(CredentialsStores, RecoverOnceWhatAKilledWriterHadObtainedForTheStoredPair) {
  ASSERT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  const auto draft = [](const std::string& name, const std::string& exchangedFor) {
    return R"({"version":1,"exchangedFor":")" + digest(credentials(exchangedFor)) + R"(","accessToken":"access-)" +
           name + R"(","refreshToken":"refresh-)" + name + R"(","expirationDate":721692800.123457})";
  };
  write(".credentials.json.cutoff", draft("2", "1").substr(0, 150));
  write(".credentials.json.former", draft("3", "0"));
  EXPECT_EQ(mine->prepareReplacement(credentials("1")).value().recovered, std::nullopt);
  EXPECT_THAT(files(), UnorderedElementsAre(".lock", "credentials.json"));

  write(".credentials.json.killed", draft("2", "1"));
  EXPECT_EQ(mine->prepareReplacement(credentials("1")).value().recovered, credentials("2"));
  EXPECT_EQ(theirs->loadOAuth2Credentials().value(), credentials("2"));
  EXPECT_EQ(theirs->prepareReplacement(credentials("2")).value().recovered, std::nullopt);
}

TEST_F(CredentialsStores, KeepOnTheDiskWhatTheyCouldNotPublish) {
  ASSERT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  auto prepared = mine->prepareReplacement(credentials("1")).value();
  std::filesystem::rename(file("credentials.json"), parent.file("aside"));
  std::filesystem::create_directory(file("credentials.json"));
  EXPECT_FALSE(prepared.replacement->store(credentials("2")));
  prepared.replacement.reset();
  std::filesystem::remove(file("credentials.json"));
  std::filesystem::rename(parent.file("aside"), file("credentials.json"));
  EXPECT_EQ(theirs->prepareReplacement(credentials("1")).value().recovered, credentials("2"));
}

TEST_F(CredentialsStores, ForgetTheFormerUserBeforeTheyStoreANewSignIn) {
  ASSERT_TRUE(mine->storeSignIn({credentials("1"), {"device"}}));
  ASSERT_TRUE(mine->storeUser(UserModel::example()));
  ASSERT_TRUE(mine->storeLegacyAuthData(UserAuthData{"lxauth", {}, {}}));
  // A sign-in that cannot forget the former user stores nothing.
  std::filesystem::remove(file("legacy.json"));
  std::filesystem::create_directory(file("legacy.json"));
  EXPECT_FALSE(mine->storeSignIn({credentials("2"), {}}));
  EXPECT_EQ(mine->loadOAuth2Credentials().value(), credentials("1"));
  EXPECT_EQ(mine->currentUser().value(), std::nullopt);

  // A sign-out goes on past it.
  EXPECT_THAT(mine->signOut().error().description(), HasSubstr("legacy.json"));
  EXPECT_THAT(files(), UnorderedElementsAre(".lock", "legacy.json"));
  std::filesystem::remove(file("legacy.json"));
  ASSERT_TRUE(mine->storeSignIn({credentials("2"), {"device"}}));
  ASSERT_TRUE(mine->storeSignIn({credentials("3"), {}}));
  EXPECT_EQ(mine->trustedDeviceID(), "device");
}

TEST_F(CredentialsStores, TakeBackWhatTheyHadLoadedAfterAnOwnChange) {
  ASSERT_TRUE(theirs->storeOAuth2Credentials(credentials("1")));
  ASSERT_EQ(mine->loadOAuth2Credentials().value(), credentials("1"));
  for (const auto& change : {std::optional(credentials("2")), std::optional<OAuth2Credentials>()}) {
    ASSERT_TRUE(mine->storeOAuth2Credentials(change));
    ASSERT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
    EXPECT_EQ(mine->loadOAuth2Credentials().value(), credentials("1"));
  }
}

TEST_F(CredentialsStores, NeverTakeADamagedFileForAnAbsentOne) {
  const struct {
    std::string text;
    const char* error;
    const char* description;
  } cases[] = {
      {"", "FileCredentialsStorageError.malformed", "credentials.json is damaged ("},
      {R"({"version":1,"accessToken":"secret)", "FileCredentialsStorageError.malformed", "damaged"},
      {R"({"accessToken":"secret","refreshToken":"secret"})", "FileCredentialsStorageError.malformed",
       "expirationDate"},
      {R"({"version":2,"tokens":["secret"]})", "FileCredentialsStorageError.unsupportedVersion", "of a later version"},
      {std::string(FileCredentialsStorage::maximumFileSize + 1, ' '), "AtomicFileError.tooLarge", "too large"},
  };
  for (const auto& [text, error, description] : cases) {
    write("credentials.json", text);
    const auto loaded = mine->loadOAuth2Credentials();
    ASSERT_FALSE(loaded) << text;
    EXPECT_EQ(loaded.error().typeName(), error);
    EXPECT_THAT(loaded.error().description(), HasSubstr(description));
    EXPECT_THAT(loaded.error().description(), Not(HasSubstr("secret")));
  }
  write("credentials.json", R"({"accessToken":"access","refreshToken":"refresh","expirationDate":0})");
  EXPECT_EQ(mine->loadOAuth2Credentials().value(), (OAuth2Credentials{"access", "refresh", referenceDate}));

  std::filesystem::create_directory(file("device.json"));
  EXPECT_EQ(mine->loadDeviceAuthData().error().typeName(), "AtomicFileError.unreadable");
  EXPECT_EQ(mine->trustedDeviceID(), std::nullopt);
}

TEST_F(CredentialsStores, TellWhenTheyCannotWriteAndWriteLater) {
  ASSERT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  ASSERT_TRUE(mine->loadOAuth2Credentials().value());
  std::filesystem::rename(folder, parent.file("elsewhere"));
  EXPECT_EQ(mine->storeOAuth2Credentials(credentials("2")).error().typeName(), "AtomicFileError.unwritable");
  std::filesystem::rename(parent.file("elsewhere"), folder);
  EXPECT_EQ(mine->loadOAuth2Credentials().value(), credentials("1"));
  EXPECT_TRUE(mine->storeOAuth2Credentials(credentials("2")));
  EXPECT_EQ(theirs->loadOAuth2Credentials().value(), credentials("2"));
  EXPECT_FALSE(FileCredentialsStorage::make(parent.file("missing/group")));
}

TEST_F(CredentialsStores, ClearAwayWhatKilledWritersLeftBehind) {
  write(".credentials.json.killed", "secret");
  write(".credentials.json.living", "secret");
  const int living = open(file(".credentials.json.living").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(living, LOCK_EX), 0);
  ASSERT_TRUE(mine->storeOAuth2Credentials(credentials("1")));
  EXPECT_FALSE(std::filesystem::exists(file(".credentials.json.killed")));
  EXPECT_TRUE(std::filesystem::exists(file(".credentials.json.living")));
  close(living);
}

}  // namespace
}  // namespace lx
