#pragma once

#include <initializer_list>
#include <optional>
#include <vector>

#include "LXUtils/Network/NetworkError.h"
#include "LXUtils/Network/RetryAction.h"

namespace lx {

/// A fixed list of delays, and how far it has been used up.
class RetryProgression {
 public:
  /// Delays in seconds; the one at position i (from 0) belongs to attempt i + 1.
  explicit RetryProgression(const std::vector<double>& delays);
  RetryProgression(std::initializer_list<double> delays) : RetryProgression(std::vector<double>(delays)) {}

  /// 0, 1 and 2 seconds.
  static RetryProgression makeStandardOAuth2Progression();

  /// 1, 2 and 4 seconds.
  static RetryProgression makeTooManyRequestsProgression();

  /// `delay` once.
  static RetryProgression makeSingleItemProgression(double delay);

  /// The progression for a class of failing status.
  static RetryProgression make(NetworkError error);

  /// The next attempt; nothing once all are used up.
  std::optional<RetryDescriptor> next();

  const std::vector<RetryDescriptor>& retryProgression() const { return retryProgression_; }

  bool operator==(const RetryProgression&) const = default;

 private:
  std::vector<RetryDescriptor> retryProgression_;
  std::size_t position_ = 0;
};

}  // namespace lx
