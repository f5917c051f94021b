#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "LXUtils/Concurrency/Protected.h"
#include "LXUtils/Network/URLSession.h"

namespace lx {

/// A transport that keeps every request and has a script answer it. Any thread.
class ScriptedURLSession final : public URLSession {
 public:
  using Script = std::function<Task<NetworkResponse>(const URLRequest& request, std::size_t position)>;

  /// `script` is called with each request and its position in the order of sending, counted from 0. A task that it
  /// leaves uncompleted is a request on its way.
  explicit ScriptedURLSession(Script script, std::optional<std::chrono::milliseconds> callTimeout = std::nullopt);

  /// Answers the requests one after the other, and those after the last answer like the last.
  static std::shared_ptr<ScriptedURLSession> answering(std::vector<Result<NetworkResponse>> answers);

  Task<NetworkResponse> send(URLRequest request) override;
  std::optional<std::chrono::milliseconds> callTimeout() const override { return callTimeout_; }

  std::vector<URLRequest> requests() const;

 private:
  const Script script_;
  const std::optional<std::chrono::milliseconds> callTimeout_;
  Protected<std::vector<URLRequest>> requests_;
};

/// A response of the given status and JSON text; an empty text is no body.
NetworkResponse makeResponse(int statusCode, std::string_view body = {}, HTTPHeaders headers = {});

}  // namespace lx
