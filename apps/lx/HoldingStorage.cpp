#include "lx/HoldingStorage.h"

#include <utility>

#include "lx/SignalHold.h"

namespace lx::tool {
namespace {

class HoldingReplacement final : public CredentialsReplacement {
 public:
  explicit HoldingReplacement(std::unique_ptr<CredentialsReplacement> replacement)
      : replacement_(std::move(replacement)) {}

  Result<ReplaceOutcome> store(const OAuth2Credentials& credentials) override {
    return replacement_->store(credentials);
  }

 private:
  const SignalHold hold_;
  const std::unique_ptr<CredentialsReplacement> replacement_;
};

}  // namespace

Result<PreparedReplacement> HoldingStorage::prepareReplacement(const OAuth2Credentials& replaced) {
  auto prepared = storage_->prepareReplacement(replaced);
  if (prepared && prepared->replacement) {
    prepared->replacement = std::make_unique<HoldingReplacement>(std::move(prepared->replacement));
  }
  return prepared;
}

}  // namespace lx::tool
