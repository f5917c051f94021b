#include "LXUtils/Network/URLSession.h"

namespace lx {
namespace {

struct Words {
  const char* name;
  const char* sentence;
};

Words wordsOf(URLSessionError::Kind kind) {
  using enum URLSessionError::Kind;
  switch (kind) {
    case invalidRequest:
      return {"invalidRequest", "The request cannot be sent as it is"};
    case cannotFindHost:
      return {"cannotFindHost", "The host cannot be found"};
    case cannotConnect:
      return {"cannotConnect", "The host cannot be reached"};
    case secureConnectionFailed:
      return {"secureConnectionFailed", "No secure connection could be made"};
    case timedOut:
      return {"timedOut", "The request timed out"};
    case connectionLost:
      return {"connectionLost", "The connection was lost"};
    case badServerResponse:
      return {"badServerResponse", "What the server sent is no valid response"};
    case bodyTooLarge:
      return {"bodyTooLarge", "The body of the response is too large"};
    case tooManyRedirects:
      return {"tooManyRedirects", "The server redirected too many times"};
    case redirectRefused:
      return {"redirectRefused", "The server redirected to where the request must not go"};
    case other:
      break;
  }
  return {"other", "The request failed"};
}

}  // namespace

std::string URLSessionError::typeName() const { return std::string("URLSessionError.") + wordsOf(kind).name; }

std::string URLSessionError::description() const {
  std::string text = wordsOf(kind).sentence;
  if (!details.empty()) text.append(" (").append(details).append(")");
  return text;
}

}  // namespace lx
