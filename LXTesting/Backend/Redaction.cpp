#include <algorithm>
#include <array>

#include "LXTesting/Backend/JSONInternal.h"
#include "LXTesting/Backend/RedactionInternal.h"
#include "LXTesting/Backend/SecretsInternal.h"

namespace lx::backend {

namespace {

using Fingerprints = std::map<std::string, std::string>;

constexpr std::string_view redacted = "<redacted>";

/// Fields of queries, forms and JSON bodies.
bool isSecretField(std::string_view name) {
  constexpr std::array<std::string_view, 15> names{
      "access_token", "refresh_token",    "id_token",       "subject_token", "token",  "authorization_code",
      "code",         "code_verifier",    "code_challenge", "state",         "lxauth", "csrf-token",
      "tdi",          "originalLocation", "device_id"};
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool isSecretHeader(std::string_view name) {
  constexpr std::array<std::string_view, 6> names{"authorization", "proxy-authorization", "cookie",
                                                  "set-cookie",    "x-csrf-token",        "x-auth-policy"};
  return std::find(names.begin(), names.end(), lowercased(name)) != names.end();
}

/// Fields keep their order and their own spelling; only secrets are replaced.
std::string redactedFields(std::string_view text, Fingerprints& fingerprints) {
  std::string result;
  while (!text.empty()) {
    const auto end = std::min(text.find('&'), text.size());
    const auto pair = text.substr(0, end);
    const auto fields = formFields(pair);
    if (!result.empty()) result += '&';
    if (!fields.empty() && isSecretField(fields[0].first)) {
      fingerprints[fields[0].first] = fingerprint(fields[0].second);
      result.append(fields[0].first).append("=").append(redacted);
    } else {
      result += pair;
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return result;
}

void redact(json::value& value, Fingerprints& fingerprints) {
  if (auto* array = value.if_array()) {
    for (auto& element : *array) redact(element, fingerprints);
  } else if (auto* object = value.if_object()) {
    for (auto& member : *object) {
      if (isSecretField(member.key()) && !member.value().is_structured()) {
        if (const auto* text = member.value().if_string()) fingerprints[member.key()] = fingerprint(*text);
        member.value() = redacted;
      } else {
        redact(member.value(), fingerprints);
      }
    }
  }
}

std::string redactedURL(std::string_view url, Fingerprints& fingerprints) {
  const auto question = url.find('?');
  if (question == std::string_view::npos) return std::string(url);
  return std::string(url.substr(0, question + 1)) + redactedFields(url.substr(question + 1), fingerprints);
}

HeaderList redactedHeaders(const HeaderList& headers, Fingerprints& fingerprints) {
  HeaderList result;
  result.reserve(headers.size());
  for (const auto& [name, value] : headers) {
    if (isSecretHeader(name)) {
      result.emplace_back(name, redacted);
    } else if (equalsIgnoringCase(name, "Location") || equalsIgnoringCase(name, "Referer")) {
      result.emplace_back(name, redactedURL(value, fingerprints));
    } else {
      result.emplace_back(name, value);
    }
  }
  return result;
}

std::string sizeOf(std::string_view body) {
  return body.empty() ? std::string() : "<" + std::to_string(body.size()) + " bytes>";
}

}  // namespace

JournalEntry journalEntry(const ServerRequest& request, std::chrono::milliseconds time) {
  JournalEntry entry{};
  entry.time = time;
  entry.method = request.method;
  entry.host = request.host;
  entry.path = request.path;
  entry.query = redactedFields(request.query, entry.fingerprints);
  entry.headers = redactedHeaders(request.headers, entry.fingerprints);
  if (const auto processID = request.header("X-Process-Id"); !processID.empty()) entry.processID = processID;
  if (const auto token = request.bearerToken()) entry.fingerprints["authorization"] = fingerprint(*token);
  for (const auto* name : {"lxauth", "csrf-token", "tdi"}) {
    if (const auto cookie = request.cookie(name)) {
      entry.fingerprints[std::string("cookie.") + name] = fingerprint(*cookie);
    }
  }
  const auto mediaType = request.mediaType();
  if (auto value = mediaType == "application/json" ? parsedJSON(request.body) : std::nullopt) {
    if (const auto* object = value->if_object()) entry.grant = textField(*object, "grant_type");
    redact(*value, entry.fingerprints);
    entry.body = json::serialize(*value);
  } else if (mediaType == "application/x-www-form-urlencoded") {
    entry.body = redactedFields(request.body, entry.fingerprints);
  } else {
    entry.body = sizeOf(request.body);
  }
  return entry;
}

HeaderList redactedHeaders(const ServerResponse& response) {
  Fingerprints ignored;
  auto result = redactedHeaders(response.headers, ignored);
  if (!response.contentType.empty()) result.emplace_back("Content-Type", response.contentType);
  return result;
}

}  // namespace lx::backend
