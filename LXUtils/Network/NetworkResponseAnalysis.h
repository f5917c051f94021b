#pragma once

#include <functional>
#include <memory>
#include <span>

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/NetworkServiceError.h"

// What is done with a task of NetworkResponse, as stages for Task::decode:
//   service.authorizeAndLoad(request).decode(analyzeNetworkResponse()).decode(&decodeData).decode(decodeJSONBody<T>)

namespace lx {

/// Reads what a server says about its error; empty when the body does not say it in the expected form.
using ErrorInfoDecoder =
    std::function<std::shared_ptr<const NetworkServiceServerErrorInfo>(std::span<const std::byte>)>;

/// The decoder of an error-info record with a coding table.
template <class Info>
ErrorInfoDecoder errorInfoDecoder() {
  return [](std::span<const std::byte> body) -> std::shared_ptr<const NetworkServiceServerErrorInfo> {
    auto info = decodeJSON<Info>(body);
    return info ? std::make_shared<const Info>(*std::move(info)) : nullptr;
  };
}

/// The one place where a response becomes an error: a status outside 200 to 299 fails as
/// NetworkServiceError::ServerError with what `decodeErrorInfo` makes of the body.
std::function<Result<NetworkResponse>(const NetworkResponse&)> analyzeNetworkResponse(
    ErrorInfoDecoder decodeErrorInfo = {});

/// The body. Fails as NetworkServiceError::MissingBody.
Result<Data> decodeData(const NetworkResponse& response);

/// The record in a body. Fails with the decoding error.
template <class T>
Result<T> decodeJSONBody(const Data& body) {
  return decodeJSON<T>(body);
}

/// The record in the body of a response. Fails as NetworkServiceError::MissingBody or ::UndecodableBody.
template <class T>
Result<T> decodeBody(const NetworkResponse& response) {
  if (!response.body) return fail(NetworkServiceError{NetworkServiceError::MissingBody{response}});
  auto record = decodeJSON<T>(*response.body);
  if (record) return record;
  return fail(NetworkServiceError{NetworkServiceError::UndecodableBody{response, *response.body, record.error()}});
}

/// A successful response's body as text; fails for a failing status, a missing body and text that is not UTF-8.
Result<std::string> analyzeAndDecodeString(const NetworkResponse& response);

/// A successful response's body; fails for a failing status and a missing body.
Result<Data> analyzeAndDecodeData(const NetworkResponse& response);

}  // namespace lx
