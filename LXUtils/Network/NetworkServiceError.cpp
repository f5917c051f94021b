#include "LXUtils/Network/NetworkServiceError.h"

#include "LXUtils/Foundation/Overloaded.h"

namespace lx {

std::string NetworkServiceError::typeName() const {
  return std::visit(Overloaded{
                        [](const ServerError&) { return std::string("NetworkServiceError.serverError"); },
                        [](const MissingBody&) { return std::string("NetworkServiceError.missingBody"); },
                        [](const UndecodableBody&) { return std::string("NetworkServiceError.undecodableBody"); },
                        [](const MissingCookies&) { return std::string("NetworkServiceError.missingCookies"); },
                    },
                    reason);
}

std::string NetworkServiceError::description() const {
  return std::visit(
      Overloaded{
          [](const ServerError& error) {
            std::string text = "The server answered with status " + std::to_string(error.response.statusCode);
            const std::string details = error.info ? error.info->errorDescriptionDetails() : "";
            return details.empty() ? text : text + " " + details;
          },
          [](const MissingBody& error) {
            return "The server's answer with status " + std::to_string(error.response.statusCode) + " has no body";
          },
          [](const UndecodableBody& error) {
            return "The body of the server's answer cannot be decoded: " + error.decodingError.description();
          },
          [](const MissingCookies& error) {
            std::string text = "The server's answer lacks a cookie; required are";
            for (const auto& name : error.names) text.append(" ").append(name.rawValue);
            return text;
          },
      },
      reason);
}

}  // namespace lx
