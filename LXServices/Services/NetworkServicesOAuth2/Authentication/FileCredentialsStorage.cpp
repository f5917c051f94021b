#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"

#include <cerrno>
#include <cstdint>
#include <mutex>
#include <utility>

#include <sys/stat.h>

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Logging/Logger.h"
#include "LXUtils/System/AtomicFileInternal.h"

namespace lx {
namespace {

using StorageError = FileCredentialsStorageError;

constexpr std::int64_t currentVersion = 1;

// What every file holds beside its record. A file without a version is of the first.
struct Header {
  std::int64_t version = currentVersion;
};

template <class T>
struct Stored {
  Header header;
  T record;
};

struct DeviceRecord {
  std::optional<std::string> trustedDeviceID;
};

}  // namespace

template <>
struct Coding<Header> {
  static constexpr auto fields = std::tuple{defaulted("version", &Header::version)};
};

template <class T>
struct Coding<Stored<T>> {
  static constexpr auto fields = std::tuple{
      flattened(&Stored<T>::header),
      flattened(&Stored<T>::record),
  };
};

template <>
struct Coding<DeviceRecord> {
  static constexpr auto fields = std::tuple{field("trustedDeviceID", &DeviceRecord::trustedDeviceID)};
};

namespace {

template <class T>
Result<T> decodeStored(const std::string& file, std::string_view text) {
  const auto malformed = [&](const Error& error) {
    return fail(StorageError{StorageError::Kind::malformed, file, error.description()});
  };
  const auto document = JSONDocument::parseInPlace(text);
  if (!document) return malformed(document.error());
  const auto header = decodeJSON<Header>(document->root());
  if (!header) return malformed(header.error());
  if (header->version != currentVersion) {
    return fail(StorageError{StorageError::Kind::unsupportedVersion, file, std::to_string(header->version)});
  }
  auto record = decodeJSON<T>(document->root());
  if (!record) return malformed(record.error());
  return record;
}

// One record in its file, with the one that was loaded last.
template <class T>
class StoredRecord {
 public:
  StoredRecord(const std::string& folder, std::string name)
      : file_(folder, std::move(name), FileCredentialsStorage::maximumFileSize) {}

  Result<std::optional<T>> load() {
    const std::lock_guard lock(mutex_);
    if (snapshot_ && file_.isStill(*snapshot_)) return lastLoaded_;
    snapshot_.reset();
    auto reading = file_.read();
    if (!reading) return fail(reading.error());
    if (!*reading) return std::optional<T>();
    auto record = decodeStored<T>(file_.name(), (*reading)->text);
    if (!record) return fail(record.error());
    snapshot_ = std::move((*reading)->snapshot);
    lastLoaded_ = std::move(*record);
    return lastLoaded_;
  }

  Result<void> store(const std::optional<T>& record) {
    const std::lock_guard lock(mutex_);
    return write(record);
  }

  Result<void> storeUnlessEcho(const std::optional<T>& record) {
    const std::lock_guard lock(mutex_);
    if (record && record == lastLoaded_) return {};
    return write(record);
  }

 private:
  Result<void> write(const std::optional<T>& record) {
    Result<void> written;
    if (record) {
      const auto text = encodeJSONText(Stored<T>{{}, *record});
      if (!text) return fail(text.error());
      written = file_.replace(*text);
    } else {
      written = file_.remove();
    }
    // What was loaded before an own change may be stored again on purpose.
    if (written) {
      snapshot_.reset();
      lastLoaded_.reset();
    }
    return written;
  }

  std::mutex mutex_;
  const AtomicFile file_;
  std::optional<AtomicFile::Snapshot> snapshot_;  // of the file that lastLoaded_ was read from
  std::optional<T> lastLoaded_;
};

}  // namespace

struct FileCredentialsStorage::Records {
  explicit Records(const std::string& folder)
      : credentials(folder, "credentials.json"),
        user(folder, "user.json"),
        legacy(folder, "legacy.json"),
        device(folder, "device.json") {}

  StoredRecord<OAuth2Credentials> credentials;
  StoredRecord<UserModel> user;
  StoredRecord<UserAuthData> legacy;
  StoredRecord<DeviceRecord> device;
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
  return records_->credentials.storeUnlessEcho(credentials);
}

Result<std::optional<OAuth2Credentials>> FileCredentialsStorage::loadOAuth2Credentials() {
  return records_->credentials.load();
}

Result<void> FileCredentialsStorage::storeLegacyAuthData(const std::optional<UserAuthData>& authData) {
  return records_->legacy.store(authData);
}

Result<std::optional<UserAuthData>> FileCredentialsStorage::loadLegacyAuthData() { return records_->legacy.load(); }

Result<void> FileCredentialsStorage::storeDeviceAuthData(const DeviceAuthData& deviceAuthData) {
  return records_->device.store(DeviceRecord{deviceAuthData.trustedDeviceID});
}

Result<DeviceAuthData> FileCredentialsStorage::loadDeviceAuthData() {
  auto record = records_->device.load();
  if (!record) return fail(record.error());
  return *record ? DeviceAuthData{(*record)->trustedDeviceID} : DeviceAuthData();
}

Result<void> FileCredentialsStorage::storeUser(const std::optional<UserModel>& user) {
  return records_->user.store(user);
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
