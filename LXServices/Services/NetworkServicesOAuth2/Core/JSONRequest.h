#pragma once

#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Network/URLRequest.h"

namespace lx {

/// A POST of a record as JSON in UTF-8. A record that cannot be encoded gives a request without a body: what the server
/// answers to that reports the failure.
template <class Body>
URLRequest makeJSONRequest(URL url, const Body& body) {
  auto encoded = encodeJSON(body);
  return URLRequest(HTTPMethod::post, std::move(url), HTTPContentType::jsonWithUTF8,
                    encoded ? std::optional(*std::move(encoded)) : std::nullopt);
}

}  // namespace lx
