#pragma once

#include <memory>
#include <optional>
#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"

namespace lx {

/// A file of the store was read and does not hold what it should. What it holds is never shown.
struct FileCredentialsStorageError {
  enum class Kind {
    malformed,           ///< not the record that it should be
    unsupportedVersion,  ///< written by a later version of this library
  };
  Kind kind = Kind::malformed;
  std::string file;    ///< its name without the folder
  std::string reason;  ///< what is wrong with it

  std::string typeName() const;
  std::string description() const;
  bool operator==(const FileCredentialsStorageError&) const = default;
};

/// The credentials store of an app group: a folder with a JSON file a record ("credentials.json", "user.json",
/// "legacy.json", "device.json"), all private to the user. A file is replaced as a whole and is on the disk when the
/// operation returns, so that each process reads the old record or the new one, whoever is killed meanwhile.
///
/// Credentials that are loaded again cost one call of the system as long as their file stays.
///
/// **Echoes.** A process that waited for another one's refresh stores the credentials again that it has just loaded.
/// Meanwhile a third process may have replaced them, or signed out: written, the echo would bring back a refresh token
/// that is spent. Credentials equal to those that this store loaded last are therefore not written: either they are
/// in the file already, or what is there is newer. As nothing is compared with the file, no lock is needed.
///
/// Errors of all operations: FileCredentialsStorageError, AtomicFileError for what the system refuses, EncodingError
/// for text that is not UTF-8. Any thread; no operation waits for another process.
class FileCredentialsStorage final : public AuthCredentialsStorage {
 public:
  /// The largest file that is read, in bytes.
  static constexpr std::size_t maximumFileSize = std::size_t{1} << 20;

  /// The store in `folder`, which is created with mode 0700 if it is missing, in one that must exist.
  static Result<std::shared_ptr<FileCredentialsStorage>> make(const std::string& folder);

  ~FileCredentialsStorage() override;

  Result<void> storeOAuth2Credentials(const std::optional<OAuth2Credentials>& credentials) override;
  Result<std::optional<OAuth2Credentials>> loadOAuth2Credentials() override;
  Result<void> storeLegacyAuthData(const std::optional<UserAuthData>& authData) override;
  Result<std::optional<UserAuthData>> loadLegacyAuthData() override;
  Result<void> storeDeviceAuthData(const DeviceAuthData& deviceAuthData) override;
  Result<DeviceAuthData> loadDeviceAuthData() override;

  /// Keeps the user as on the wire, that is without authentication data.
  Result<void> storeUser(const std::optional<UserModel>& user);
  Result<std::optional<UserModel>> currentUser() override;

  /// Nothing, and a message in the log, when the device's record cannot be read.
  std::optional<std::string> trustedDeviceID() const override;

 private:
  struct Records;
  explicit FileCredentialsStorage(std::unique_ptr<Records> records);

  const std::unique_ptr<Records> records_;
};

}  // namespace lx
