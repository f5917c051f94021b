#include "LXTesting/Journal.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "LXTesting/Backend/JSONInternal.h"

namespace lx {

namespace {

constexpr std::size_t mostEntries = 16'384;

namespace json = boost::json;

template <class Pairs>
json::array pairsAsJSON(const Pairs& pairs) {
  json::array result;
  for (const auto& [name, value] : pairs) result.push_back(json::array{name, value});
  return result;
}

json::object asJSON(const JournalEntry& entry) {
  json::object result{{"sequence", entry.sequence}, {"time", entry.time.count()}, {"method", entry.method},
                      {"host", entry.host},         {"path", entry.path},         {"query", entry.query}};
  const auto addOptional = [&](std::string_view key, const std::optional<std::string>& value) {
    if (value) result.emplace(key, *value);
  };
  addOptional("grant", entry.grant);
  addOptional("processID", entry.processID);
  result.emplace("headers", pairsAsJSON(entry.headers));
  result.emplace("body", entry.body);
  json::object fingerprints;
  for (const auto& [name, value] : entry.fingerprints) fingerprints.emplace(name, value);
  result.emplace("fingerprints", std::move(fingerprints));
  addOptional("fault", entry.fault);
  result.emplace("status", entry.status);
  result.emplace("responseHeaders", pairsAsJSON(entry.responseHeaders));
  return result;
}

}  // namespace

struct Journal::State {
  using Counts = std::map<std::pair<std::string, std::string>, std::size_t>;

  mutable std::mutex mutex;
  mutable std::condition_variable arrived;
  std::deque<JournalEntry> entries;
  std::int64_t nextSequence = 1;
  Counts counts;  ///< by path and grant

  std::size_t count(std::string_view path, std::string_view grant) const {
    std::size_t result = 0;
    for (const auto& [key, number] : counts) {
      if ((path.empty() || key.first == path) && (grant.empty() || key.second == grant)) result += number;
    }
    return result;
  }
};

Journal::Journal() : state_(std::make_unique<State>()) {}
Journal::~Journal() = default;

std::vector<JournalEntry> Journal::entries() const {
  const std::lock_guard lock(state_->mutex);
  return {state_->entries.begin(), state_->entries.end()};
}

std::vector<JournalEntry> Journal::entriesAfter(std::int64_t sequence) const {
  const std::lock_guard lock(state_->mutex);
  const auto first = std::ranges::upper_bound(state_->entries, sequence, {}, &JournalEntry::sequence);
  return {first, state_->entries.end()};
}

std::size_t Journal::count(std::string_view path, std::string_view grant) const {
  const std::lock_guard lock(state_->mutex);
  return state_->count(path, grant);
}

bool Journal::waitForRequests(std::size_t n, std::string_view path, std::chrono::milliseconds timeout,
                              std::string_view grant) const {
  std::unique_lock lock(state_->mutex);
  return state_->arrived.wait_for(lock, timeout, [&] { return state_->count(path, grant) >= n; });
}

void Journal::clear() {
  const std::lock_guard lock(state_->mutex);
  state_->entries.clear();
  state_->counts.clear();
}

std::string Journal::json() const {
  boost::json::array result;
  for (const auto& entry : entries()) result.push_back(asJSON(entry));
  return boost::json::serialize(result);
}

std::int64_t Journal::begin(JournalEntry entry) {
  std::int64_t sequence = 0;
  {
    const std::lock_guard lock(state_->mutex);
    sequence = state_->nextSequence++;
    entry.sequence = sequence;
    ++state_->counts[{entry.path, entry.grant.value_or("")}];
    if (state_->entries.size() == mostEntries) state_->entries.pop_front();
    state_->entries.push_back(std::move(entry));
  }
  state_->arrived.notify_all();
  return sequence;
}

void Journal::finish(std::int64_t sequence, int status,
                     std::vector<std::pair<std::string, std::string>> responseHeaders) {
  const std::lock_guard lock(state_->mutex);
  // Sequence numbers are consecutive, so the entry's place follows from the oldest one's.
  if (state_->entries.empty() || sequence < state_->entries.front().sequence) return;
  auto& entry = state_->entries[static_cast<std::size_t>(sequence - state_->entries.front().sequence)];
  entry.status = status;
  entry.responseHeaders = std::move(responseHeaders);
}

}  // namespace lx
