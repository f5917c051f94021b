#include "LXUtils/Network/NetworkResponseAnalysis.h"

#include <utility>

#include "LXUtils/Foundation/UTF8.h"

namespace lx {
namespace {

Result<NetworkResponse> analyze(const NetworkResponse& response, const ErrorInfoDecoder& decodeErrorInfo) {
  if (response.isSuccess()) return response;
  NetworkServiceError::ServerError error{response, nullptr};
  if (decodeErrorInfo && response.body) error.info = decodeErrorInfo(*response.body);
  return fail(NetworkServiceError{std::move(error)});
}

}  // namespace

std::function<Result<NetworkResponse>(const NetworkResponse&)> analyzeNetworkResponse(
    ErrorInfoDecoder decodeErrorInfo) {
  return [decodeErrorInfo = std::move(decodeErrorInfo)](const NetworkResponse& response) {
    return analyze(response, decodeErrorInfo);
  };
}

Result<Data> decodeData(const NetworkResponse& response) {
  if (!response.body) return fail(NetworkServiceError{NetworkServiceError::MissingBody{response}});
  return *response.body;
}

Result<Data> analyzeAndDecodeData(const NetworkResponse& response) {
  const auto analyzed = analyze(response, {});
  if (!analyzed) return fail(analyzed.error());
  return decodeData(*analyzed);
}

Result<std::string> analyzeAndDecodeString(const NetworkResponse& response) {
  const auto body = analyzeAndDecodeData(response);
  if (!body) return fail(body.error());
  const auto text = textView(*body);
  if (isValidUTF8(text)) return std::string(text);
  return fail(NetworkServiceError{
      NetworkServiceError::UndecodableBody{response, *body, DecodingError{"", DecodingFault::malformed}}});
}

}  // namespace lx
