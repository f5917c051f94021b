#include "LXTesting/Backend/RouterInternal.h"
#include "LXTesting/Backend/SecretsInternal.h"
#include "LXUtils/Foundation/Base64.h"
#include "LXUtils/Foundation/Digest.h"

namespace lx::backend {

namespace {

ServerResponse issueToken(const World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  return {.contentType = "text/plain; charset=utf-8", .body = randomToken()};
}

/// The transcription in capitals, so that a text which came through the backend shows.
std::string generated(std::string text) {
  for (auto& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

ServerResponse generate(const World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto texts = requiredTexts<1>(*body, {"transcription"});
  if (!texts) return texts.error();
  json::object answer{{"text", generated(texts->front())}, {"feedbackKey", "feedback-" + randomToken()}};
  if (body->contains("contentLength") && body->contains("contentMD5")) {
    answer.emplace("uploadUrl", "https://" + request.host + "/murmura/uploads/" + randomToken());
  }
  return jsonResponse(200, answer);
}

ServerResponse feedback(const World& world, const ServerRequest& request) {
  const auto user = authenticatedUser(world, request, CookieUse::accepted);
  if (!user) return user.error();
  const auto body = jsonBody(request);
  if (!body) return body.error();
  const auto* rating = body->if_contains("rating");
  if (!textField(*body, "feedbackKey") || !rating || !rating->is_int64()) {
    return errorResponse(400, "invalid_request", "Missing feedbackKey or rating");
  }
  return jsonResponse(200, json::object());
}

ServerResponse upload(const ServerRequest& request) {
  if (request.mediaType() != "audio/m4a") {
    return errorResponse(415, "unsupported_media_type", "The body must be audio/m4a");
  }
  // RFC 1864; apps are free in how they write the digest, so anything that is not of its form passes.
  const auto expected = base64EncodedString(md5(std::as_bytes(std::span(request.body))));
  const auto sent = request.header("Content-MD5");
  if (sent.size() == expected.size() && sent.ends_with("==") && sent != expected) {
    return errorResponse(400, "invalid_digest", "The body does not have the announced digest");
  }
  return jsonResponse(201, json::object());
}

}  // namespace

void addVoiceRoutes(Router& router, World& world) {
  const std::string base = "/api/murmura/";
  router.add("POST", base + "issue-s2t-token", [&](const auto& request) { return issueToken(world, request); });
  router.add("POST", base + "generate", [&](const auto& request) { return generate(world, request); });
  router.add("POST", base + "feedback", [&](const auto& request) { return feedback(world, request); });
  router.add("PUT", "/murmura/uploads/*", upload);
}

}  // namespace lx::backend
