#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "LXUtils/Foundation/Error.h"
#include "LXUtils/Network/NetworkResponse.h"

namespace lx {

/// What a server said about its error, decoded from the body of the response.
class NetworkServiceServerErrorInfo {
 public:
  virtual ~NetworkServiceServerErrorInfo() = default;

  /// For people; joins the description of the error.
  virtual std::string errorDescriptionDetails() const = 0;
};

/// What can be wrong with a response that arrived.
struct NetworkServiceError {
  /// The status is none of 200 to 299.
  struct ServerError {
    NetworkResponse response;
    std::shared_ptr<const NetworkServiceServerErrorInfo> info;  ///< empty when the body told nothing
  };

  struct MissingBody {
    NetworkResponse response;
  };

  struct UndecodableBody {
    NetworkResponse response;
    Data body;
    Error decodingError;
  };

  /// Not all cookies that the response must set are there.
  struct MissingCookies {
    std::vector<HTTPCookieName> names;  ///< all that are required
  };

  std::variant<ServerError, MissingBody, UndecodableBody, MissingCookies> reason;

  const ServerError* serverError() const { return std::get_if<ServerError>(&reason); }

  std::string typeName() const;
  std::string description() const;
};

}  // namespace lx
