#include <string>
#include <string_view>
#include <utility>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/TokenRefresh/RefreshLockInternal.h"

namespace lx {
namespace {

// The lock file holds `refreshingNote`, if its holder is refreshing, and then one line for each exchange, the latest
// first.
constexpr std::string_view refreshingNote = "refreshing\n";

// A process that was suspended for a while may come with credentials of some refreshes ago.
constexpr std::size_t rememberedExchanges = 5;

std::string exchangeNote(const OAuth2Credentials& credentials) { return digest(credentials) + "\n"; }

std::string_view exchangesIn(std::string_view notes) {
  if (notes.starts_with(refreshingNote)) notes.remove_prefix(refreshingNote.size());
  return notes;
}

}  // namespace

Result<std::unique_ptr<RefreshLock>> RefreshLock::make(const std::string& path) {
  auto file = FileLock::make(path);
  if (!file) return fail(file.error());
  return std::make_unique<RefreshLock>(*std::move(file));
}

RefreshLock::RefreshLock(std::unique_ptr<FileLock> file) : file_(std::move(file)) {}

Result<void> RefreshLock::take() {
  if (const auto taken = file_->try_(); !taken) return taken;
  const auto notes = file_->contents().value_or("");
  const auto noted = file_->setContents(std::string(refreshingNote).append(exchangesIn(notes)));
  static_cast<void>(noted);
  return {};
}

Result<void> RefreshLock::release() {
  if (const auto notes = file_->contents(); notes && notes->starts_with(refreshingNote)) {
    const auto removed = file_->setContents(exchangesIn(*notes));
    static_cast<void>(removed);
  }
  return file_->unlock();
}

bool RefreshLock::isHeldByAnother(const Error& error) {
  const auto* failure = error.as<FileLockError>();
  return failure && failure->kind == FileLockError::Kind::alreadyLocked;
}

bool RefreshLock::isAnotherRefreshing() {
  const auto notes = file_->contents();
  if (!notes || !notes->starts_with(refreshingNote)) return false;
  // A holder that was killed leaves its note behind, but not the lock.
  const auto taken = file_->try_();
  if (!taken) return isHeldByAnother(taken.error());
  const auto released = file_->unlock();
  static_cast<void>(released);
  return false;
}

Result<void> RefreshLock::noteExchange(const OAuth2Credentials& credentials) {
  const std::string note = exchangeNote(credentials);
  const auto notes = file_->contents().value_or("");
  const auto earlier = exchangesIn(notes).substr(0, (rememberedExchanges - 1) * note.size());
  return file_->setContents(std::string(refreshingNote).append(note).append(earlier));
}

bool RefreshLock::wereExchanged(const OAuth2Credentials& credentials) const {
  const auto notes = file_->contents();
  return notes && notes->contains(exchangeNote(credentials));
}

}  // namespace lx
