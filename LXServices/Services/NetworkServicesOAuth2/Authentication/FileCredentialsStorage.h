#pragma once

#include <memory>
#include <optional>
#include <string>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/AuthCredentialsStorage.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2AuthDTO.h"

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

/// The credentials store of an app group: a folder with one JSON file for each record ("credentials.json", "user.json",
/// "legacy.json", "device.json"), all private to the user. A file is replaced as a whole and is on the disk when the
/// operation returns. Each process reads the old record or the new one, also if the writer is killed.
///
/// Loading credentials again costs one system call while their file stays.
///
/// **The lock.** All changes are made under one lock, a file in the folder, which is held for the time of a write to
/// the disk at most. Loading needs no lock. A change waits up to 5 s for the lock, since a process may be stopped while
/// it holds it.
///
/// **Refreshes.** `prepareReplacement` reserves a draft on the disk. The draft is filled and synced without the lock;
/// then, under the lock, it replaces the stored credentials if they are still those that were exchanged. If the process
/// is killed in between, the next `prepareReplacement` of the group stores the draft and returns it as `recovered`.
///
/// **Echoes.** `storeOAuth2Credentials` has no effect if the credentials are those that this object loaded last and the
/// file holds others by now: a process stores what it has read, while another one has written.
///
/// Errors of all operations: FileCredentialsStorageError, AtomicFileError for what the system refuses and for a lock
/// that another process keeps, EncodingError for text that is not UTF-8. Any thread.
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
  Result<ReplaceOutcome> replaceOAuth2Credentials(const OAuth2Credentials& replaced,
                                                  const OAuth2Credentials& credentials) override;
  Result<PreparedReplacement> prepareReplacement(const OAuth2Credentials& replaced) override;

  /// Stores what a sign-in returned, in one section of the lock. First forgets the former user and the cookie-era data,
  /// so that they cannot return if the process is killed in between. The device's identifier stays if the sign-in has
  /// no new one.
  Result<void> storeSignIn(const OAuth2AuthDTO& signIn);

  /// Removes all records, in one section of the lock, and every draft: afterwards no file holds a token, whatever was
  /// killed or is being written. Goes on past a file that cannot be removed; the error names the first of them.
  Result<void> signOut();

  /// Keeps the user as on the wire, that is without authentication data.
  Result<void> storeUser(const std::optional<UserModel>& user);
  Result<std::optional<UserModel>> currentUser() override;

  /// Nothing, and a message in the log, when the device's record cannot be read.
  std::optional<std::string> trustedDeviceID() const override;

 private:
  struct Records;
  class Replacement;
  explicit FileCredentialsStorage(std::unique_ptr<Records> records);

  const std::unique_ptr<Records> records_;
};

}  // namespace lx
