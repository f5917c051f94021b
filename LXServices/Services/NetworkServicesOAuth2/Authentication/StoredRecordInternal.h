#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/FileCredentialsStorage.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/System/AtomicFileInternal.h"

namespace lx {

/// What every file of the store holds beside its record.
struct StoredHeader {
  static constexpr std::int64_t currentVersion = 1;

  std::int64_t version = currentVersion;    ///< a file without a version is of the first
  std::optional<std::string> exchangedFor;  ///< the digest of the credentials that these were exchanged for
};

template <class T>
struct Stored {
  StoredHeader header;
  T record;
};

template <>
struct Coding<StoredHeader> {
  static constexpr auto fields = std::tuple{
      defaulted("version", &StoredHeader::version),
      field("exchangedFor", &StoredHeader::exchangedFor),
  };
};

template <class T>
struct Coding<Stored<T>> {
  static constexpr auto fields = std::tuple{
      flattened(&Stored<T>::header),
      flattened(&Stored<T>::record),
  };
};

/// One record in its file, with the one that was loaded last. Any thread; whoever changes the file holds the store's
/// lock.
template <class T>
class StoredRecord {
 public:
  StoredRecord(const std::string& folder, std::string name)
      : file_(folder, std::move(name), FileCredentialsStorage::maximumFileSize) {}

  const AtomicFile& file() const { return file_; }

  Result<std::optional<T>> load() {
    const std::lock_guard lock(mutex_);
    return loadLocked();
  }

  Result<void> store(const std::optional<T>& record) {
    const std::lock_guard lock(mutex_);
    return storeLocked(record);
  }

  /// As `store`, but has no effect if the record is the one that was loaded last and the file holds another by now.
  Result<void> storeUnlessEcho(const std::optional<T>& record) {
    const std::lock_guard lock(mutex_);
    if (record && record == lastLoaded_) {
      const auto current = loadLocked();
      if (current && *current && *current != record) return {};
    }
    return storeLocked(record);
  }

  /// Publishes a draft of the file. `AtomicFile::sync` makes that lasting.
  Result<void> publish(AtomicFile::Draft& draft) {
    const std::lock_guard lock(mutex_);
    if (const auto published = draft.publish(); !published) return published;
    forget();
    return {};
  }

  Result<std::string> encode(const Stored<T>& stored) const { return encodeJSONText(stored); }

  Result<Stored<T>> decode(std::string_view text) const {
    using Kind = FileCredentialsStorageError::Kind;
    const auto malformed = [&](const Error& error) {
      return fail(FileCredentialsStorageError{Kind::malformed, file_.name(), error.description()});
    };
    const auto document = JSONDocument::parseInPlace(text);
    if (!document) return malformed(document.error());
    auto header = decodeJSON<StoredHeader>(document->root());
    if (!header) return malformed(header.error());
    if (header->version != StoredHeader::currentVersion) {
      return fail(FileCredentialsStorageError{Kind::unsupportedVersion, file_.name(), std::to_string(header->version)});
    }
    auto record = decodeJSON<T>(document->root());
    if (!record) return malformed(record.error());
    return Stored<T>{*std::move(header), *std::move(record)};
  }

 private:
  Result<std::optional<T>> loadLocked() {
    if (snapshot_ && file_.isStill(*snapshot_)) return lastLoaded_;
    snapshot_.reset();
    auto reading = file_.read();
    if (!reading) return fail(reading.error());
    if (!*reading) return std::optional<T>();
    auto stored = decode((*reading)->text);
    if (!stored) return fail(stored.error());
    snapshot_ = std::move((*reading)->snapshot);
    lastLoaded_ = std::move(stored->record);
    return lastLoaded_;
  }

  Result<void> storeLocked(const std::optional<T>& record) {
    if (!record) {
      forget();
      return file_.remove();
    }
    const auto text = encode({{}, *record});
    if (!text) return fail(text.error());
    auto written = file_.replace(*text);
    if (written) forget();
    return written;
  }

  // What was loaded before an own change may be stored again on purpose.
  void forget() {
    snapshot_.reset();
    lastLoaded_.reset();
  }

  std::mutex mutex_;
  const AtomicFile file_;
  std::optional<AtomicFile::Snapshot> snapshot_;  // of the file that lastLoaded_ was read from
  std::optional<T> lastLoaded_;
};

}  // namespace lx
