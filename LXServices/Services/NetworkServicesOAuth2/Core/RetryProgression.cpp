#include "LXServices/Services/NetworkServicesOAuth2/Core/RetryProgression.h"

namespace lx {

RetryProgression::RetryProgression(const std::vector<double>& delays) {
  retryProgression_.reserve(delays.size());
  for (const double delay : delays) {
    retryProgression_.push_back({static_cast<int>(retryProgression_.size()) + 1, delay});
  }
}

RetryProgression RetryProgression::makeStandardOAuth2Progression() { return {0, 1, 2}; }
RetryProgression RetryProgression::makeTooManyRequestsProgression() { return {1, 2, 4}; }
RetryProgression RetryProgression::makeSingleItemProgression(double delay) { return {delay}; }

RetryProgression RetryProgression::make(NetworkError error) {
  switch (error) {
    case NetworkError::unauthorized:
      return makeSingleItemProgression(0);
    case NetworkError::requestTimeout:
      return makeSingleItemProgression(1);
    case NetworkError::tooManyRequests:
      return makeTooManyRequestsProgression();
    case NetworkError::serverError:
      return makeStandardOAuth2Progression();
  }
  return RetryProgression(std::vector<double>{});
}

std::optional<RetryDescriptor> RetryProgression::next() {
  if (position_ == retryProgression_.size()) return std::nullopt;
  return retryProgression_[position_++];
}

}  // namespace lx
