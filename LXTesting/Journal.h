#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lx {

/// One request that the development backend received. Secrets (tokens, codes, cookies, verifiers, states) stand as
/// "<redacted>" everywhere; `fingerprints` tells them apart.
struct JournalEntry {
  std::int64_t sequence = 0;         ///< from 1, in the order of arrival
  std::chrono::milliseconds time{};  ///< since the backend's start
  std::string method;
  std::string host;  ///< without the port
  std::string path;
  std::string query;
  std::optional<std::string> grant;      ///< "grant_type" of a token request
  std::optional<std::string> processID;  ///< the header X-Process-Id
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;                                 ///< JSON and forms; of anything else the size, as "<17 bytes>"
  std::map<std::string, std::string> fingerprints;  ///< field, header or "cookie.NAME" to 8 digits of its SHA-256
  std::optional<std::string> fault;                 ///< the kind of the fault that the scenario played
  int status = 0;                                   ///< 0 until answered, and when no status line was sent
  std::vector<std::pair<std::string, std::string>> responseHeaders;

  bool operator==(const JournalEntry&) const = default;
};

/// What the development backend was asked, in order. Thread-safe. Counts go on for ever; of the entries the latest
/// 16,384 are kept. Requests to the backend's own control paths do not appear.
class Journal {
 public:
  Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;
  ~Journal();

  std::vector<JournalEntry> entries() const;

  /// Those that came after the one of that sequence number.
  std::vector<JournalEntry> entriesAfter(std::int64_t sequence) const;

  /// How many requests came for a path, or for all paths where it is empty; with a grant only those of that grant.
  std::size_t count(std::string_view path = {}, std::string_view grant = {}) const;

  /// Waits until `count(path, grant)` is at least `n`; false when that takes longer than `timeout`. A request counts
  /// from its arrival, answered or not.
  bool waitForRequests(std::size_t n, std::string_view path, std::chrono::milliseconds timeout,
                       std::string_view grant = {}) const;

  void clear();

  /// The entries as a JSON array, an object each, keys named as the fields, durations in milliseconds.
  std::string json() const;

  /// Called by the backend when a request arrives; gives it its sequence number.
  std::int64_t begin(JournalEntry entry);

  /// Called by the backend directly before the answer goes out.
  void finish(std::int64_t sequence, int status, std::vector<std::pair<std::string, std::string>> responseHeaders);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace lx
