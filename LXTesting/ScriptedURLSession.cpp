#include "LXTesting/ScriptedURLSession.h"

#include <algorithm>
#include <utility>

namespace lx {

ScriptedURLSession::ScriptedURLSession(Script script, std::optional<std::chrono::milliseconds> callTimeout)
    : script_(std::move(script)), callTimeout_(callTimeout) {}

std::shared_ptr<ScriptedURLSession> ScriptedURLSession::answering(std::vector<Result<NetworkResponse>> answers) {
  return std::make_shared<ScriptedURLSession>([answers = std::move(answers)](const URLRequest&, std::size_t position) {
    return Task<NetworkResponse>::completed(answers[std::min(position, answers.size() - 1)]);
  });
}

Task<NetworkResponse> ScriptedURLSession::send(URLRequest request) {
  const std::size_t position = requests_.withLock([&](auto& requests) {
    requests.push_back(request);
    return requests.size() - 1;
  });
  return script_(request, position);
}

std::vector<URLRequest> ScriptedURLSession::requests() const {
  return requests_.withLock([](const auto& requests) { return requests; });
}

NetworkResponse makeResponse(int statusCode, std::string_view body, HTTPHeaders headers) {
  NetworkResponse response;
  response.statusCode = statusCode;
  response.headers = std::move(headers);
  if (!body.empty()) response.body = std::make_shared<const Data>(dataOf(body));
  return response;
}

}  // namespace lx
