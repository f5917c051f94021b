#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/stat.h>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/StoredRecordInternal.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/System/FolderLockInternal.h"

namespace lx {
namespace {

struct DeviceRecord {
  std::optional<std::string> trustedDeviceID;

  bool operator==(const DeviceRecord&) const = default;
};

}  // namespace

template <>
struct Coding<DeviceRecord> {
  static constexpr auto fields = std::tuple{field("trustedDeviceID", &DeviceRecord::trustedDeviceID)};
};

struct FileCredentialsStorage::Records {
  explicit Records(const std::string& folder)
      : lock(folder),
        credentials(folder, "credentials.json"),
        user(folder, "user.json"),
        legacy(folder, "legacy.json"),
        device(folder, "device.json") {}

  // Stores a record of the signed-in user or of the device under the lock.
  template <class T>
  Result<void> store(StoredRecord<T>& record, const std::optional<T>& value) {
    const auto guard = lock.acquire();
    if (!guard) return fail(guard.error());
    return record.store(value);
  }

  Result<ReplaceOutcome> publish(AtomicFile::Draft& draft, const OAuth2Credentials& replaced);
  Result<std::optional<OAuth2Credentials>> recover(const OAuth2Credentials& replaced);

  FolderLock lock;
  StoredRecord<OAuth2Credentials> credentials;
  StoredRecord<UserModel> user;
  StoredRecord<UserAuthData> legacy;
  StoredRecord<DeviceRecord> device;
};

// Puts the draft, which is on the disk, in the place of `replaced`.
Result<ReplaceOutcome> FileCredentialsStorage::Records::publish(AtomicFile::Draft& draft,
                                                                const OAuth2Credentials& replaced) {
  {
    const auto guard = lock.acquire();
    if (!guard) return fail(guard.error());
    const auto current = credentials.load();
    if (!current) return fail(current.error());
    if (!*current || !haveSameTokens(**current, replaced)) return ReplaceOutcome::storeHasMovedOn;
    if (const auto published = credentials.publish(draft); !published) return fail(published.error());
  }
  // Without the lock: a process that is stopped here keeps nobody waiting.
  if (const auto synced = credentials.file().sync(); !synced) return fail(synced.error());
  return ReplaceOutcome::stored;
}

// Stores what a dead writer has obtained for `replaced`. All other abandoned drafts are removed.
Result<std::optional<OAuth2Credentials>> FileCredentialsStorage::Records::recover(const OAuth2Credentials& replaced) {
  for (auto& draft : credentials.file().abandonedDrafts()) {
    const auto text = draft.read();
    const auto stored = text ? credentials.decode(*text) : fail(text.error());
    if (!stored || stored->header.exchangedFor != digest(replaced)) continue;
    // Its writer may have been killed before it was on the disk.
    const auto written = draft.write(*text);
    const auto outcome = written ? publish(draft, replaced) : fail(written.error());
    if (!outcome) {
      draft.abandon();
      return fail(outcome.error());
    }
    if (*outcome == ReplaceOutcome::stored) return stored->record;
  }
  return std::nullopt;
}

class FileCredentialsStorage::Replacement final : public CredentialsReplacement {
 public:
  Replacement(Records& records, AtomicFile::Draft draft, OAuth2Credentials replaced)
      : records_(records), draft_(std::move(draft)), replaced_(std::move(replaced)) {}

  Result<ReplaceOutcome> store(const OAuth2Credentials& credentials) override {
    const auto text = records_.credentials.encode({{.exchangedFor = digest(replaced_)}, credentials});
    if (!text) return fail(text.error());
    if (const auto written = draft_.write(*text); !written) return fail(written.error());
    auto outcome = records_.publish(draft_, replaced_);
    if (!outcome) draft_.abandon();
    return outcome;
  }

 private:
  Records& records_;
  AtomicFile::Draft draft_;
  const OAuth2Credentials replaced_;
};

std::string FileCredentialsStorageError::typeName() const {
  return kind == Kind::malformed ? "FileCredentialsStorageError.malformed"
                                 : "FileCredentialsStorageError.unsupportedVersion";
}

std::string FileCredentialsStorageError::description() const {
  return file + (kind == Kind::malformed ? " is damaged (" : " is of a later version (") + reason + ")";
}

FileCredentialsStorage::FileCredentialsStorage(std::unique_ptr<Records> records) : records_(std::move(records)) {}

FileCredentialsStorage::~FileCredentialsStorage() = default;

Result<std::shared_ptr<FileCredentialsStorage>> FileCredentialsStorage::make(const std::string& folder) {
  if (mkdir(folder.c_str(), 0700) < 0 && errno != EEXIST) {
    return fail(AtomicFileError{AtomicFileError::Kind::unwritable, folder, errno});
  }
  return std::shared_ptr<FileCredentialsStorage>(new FileCredentialsStorage(std::make_unique<Records>(folder)));
}

Result<void> FileCredentialsStorage::storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) {
  const auto guard = records_->lock.acquire();
  if (!guard) return fail(guard.error());
  return records_->credentials.storeUnlessEcho(credentials);
}

Result<std::optional<OAuth2Credentials>> FileCredentialsStorage::loadOAuth2Credentials() {
  return records_->credentials.load();
}

Result<ReplaceOutcome> FileCredentialsStorage::replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                                        const OAuth2Credentials& credentials) {
  const auto current = records_->credentials.load();
  if (!current) return fail(current.error());
  if (!*current || !haveSameTokens(**current, replaced)) return ReplaceOutcome::storeHasMovedOn;
  if (**current == credentials) return ReplaceOutcome::stored;
  auto prepared = prepareReplacement(replaced);
  if (!prepared) return fail(prepared.error());
  return prepared->recovered ? ReplaceOutcome::storeHasMovedOn : prepared->replacement->store(credentials);
}

Result<PreparedReplacement> FileCredentialsStorage::prepareReplacement(const OAuth2Credentials& replaced) {
  auto recovered = records_->recover(replaced);
  if (!recovered) return fail(recovered.error());
  if (*recovered) return PreparedReplacement{nullptr, *std::move(recovered)};
  // Twice the size of the pair to replace: as a rule the next one is as long.
  constexpr std::size_t headerSize = 1024;
  auto draft = records_->credentials.file().makeDraft(headerSize +
                                                      2 * (replaced.accessToken.size() + replaced.refreshToken.size()));
  if (!draft) return fail(draft.error());
  return PreparedReplacement{std::make_unique<Replacement>(*records_, *std::move(draft), replaced), std::nullopt};
}

Result<void> FileCredentialsStorage::storeSignIn(const OAuth2AuthDTO& signIn) {
  const auto guard = records_->lock.acquire();
  if (!guard) return fail(guard.error());
  // On the disk before the new credentials are: each store waits for its own.
  if (const auto forgotten = records_->user.store(std::nullopt); !forgotten) return forgotten;
  if (const auto forgotten = records_->legacy.store(std::nullopt); !forgotten) return forgotten;
  if (const auto& device = signIn.deviceAuthData.trustedDeviceID) {
    if (const auto stored = records_->device.store(DeviceRecord{device}); !stored) return stored;
  }
  return records_->credentials.store(signIn.oauth2Credentials);
}

Result<void> FileCredentialsStorage::signOut() {
  const auto guard = records_->lock.acquire();
  if (!guard) return fail(guard.error());
  Result<void> outcome;
  for (auto& removed : {records_->credentials.store(std::nullopt), records_->legacy.store(std::nullopt),
                        records_->user.store(std::nullopt), records_->device.store(std::nullopt)}) {
    if (outcome && !removed) outcome = removed;
  }
  return outcome;
}

Result<void> FileCredentialsStorage::storeLegacyAuthData(const std::optional<UserAuthData>& authData) {
  return records_->store(records_->legacy, authData);
}

Result<std::optional<UserAuthData>> FileCredentialsStorage::loadLegacyAuthData() { return records_->legacy.load(); }

Result<void> FileCredentialsStorage::storeDeviceAuthData(const DeviceAuthData& deviceAuthData) {
  return records_->store(records_->device, std::optional(DeviceRecord{deviceAuthData.trustedDeviceID}));
}

Result<DeviceAuthData> FileCredentialsStorage::loadDeviceAuthData() {
  auto record = records_->device.load();
  if (!record) return fail(record.error());
  return *record ? DeviceAuthData{(*record)->trustedDeviceID} : DeviceAuthData();
}

Result<void> FileCredentialsStorage::storeUser(const std::optional<UserModel>& user) {
  return records_->store(records_->user, user);
}

Result<std::optional<UserModel>> FileCredentialsStorage::currentUser() { return records_->user.load(); }

std::optional<std::string> FileCredentialsStorage::trustedDeviceID() const {
  const auto record = records_->device.load();
  if (!record) {
    Logger::auth.log(4, "The device's record cannot be read", record.error().description(), "trustedDeviceID()");
    return std::nullopt;
  }
  return *record ? (*record)->trustedDeviceID : std::nullopt;
}

}  // namespace lx
