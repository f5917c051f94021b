#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lx::backend {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// A request as the routes see it: free of the HTTP library, the port in Host cut off.
struct ServerRequest {
  std::string method = {};
  std::string host = {};
  std::string path = {};   ///< as sent, not decoded
  std::string query = {};  ///< as sent, without the question mark
  HeaderList headers = {};
  std::string body = {};

  /// The first header of that name, whatever its case; empty when there is none.
  std::string_view header(std::string_view name) const;
  std::optional<std::string> cookie(std::string_view name) const;
  std::optional<std::string> bearerToken() const;
  /// The media type of the body in lower case, without parameters.
  std::string mediaType() const;
};

struct ServerResponse {
  int status = 200;
  std::string contentType = {};
  std::string body = {};
  HeaderList headers = {};
};

/// The connection below an answer, for what a well-behaved server cannot do to it.
class Wire {
 public:
  virtual ~Wire() = default;

  /// Waits `milliseconds`; false at once when the server stops or the client hangs up.
  virtual bool pause(int milliseconds) = 0;
  /// Sends these bytes as they are; false when the connection is broken.
  virtual bool send(std::string_view bytes) = 0;
  /// Closes in good order. No answer is written afterwards.
  virtual void finish() = 0;
  /// Resets the connection without a farewell. No answer is written afterwards.
  virtual void abort() = 0;
};

/// Answers a request; nothing when the answer was written to the wire already.
using Handler = std::function<std::optional<ServerResponse>(const ServerRequest&, Wire&)>;

using FormFields = std::vector<std::pair<std::string, std::string>>;

/// The decoded fields of a query or of a form body, in their order.
FormFields formFields(std::string_view text);
/// The first field of that name.
std::optional<std::string> fieldValue(const FormFields& fields, std::string_view name);
bool equalsIgnoringCase(std::string_view a, std::string_view b);
std::string lowercased(std::string_view text);

}  // namespace lx::backend
