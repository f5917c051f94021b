#pragma once

#include <optional>

namespace lx {

/// What a failing status means for a retry.
enum class NetworkError { unauthorized, requestTimeout, tooManyRequests, serverError };

/// The class of a status: 401, 408, 429 and 500 to 599. Every other status has none.
constexpr std::optional<NetworkError> networkError(int statusCode) {
  switch (statusCode) {
    case 401:
      return NetworkError::unauthorized;
    case 408:
      return NetworkError::requestTimeout;
    case 429:
      return NetworkError::tooManyRequests;
    default:
      if (statusCode >= 500 && statusCode <= 599) return NetworkError::serverError;
      return std::nullopt;
  }
}

}  // namespace lx
