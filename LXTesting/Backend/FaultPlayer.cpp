#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "LXTesting/Backend/FaultPlayerInternal.h"
#include "LXTesting/Backend/JSONInternal.h"
#include "LXUtils/Foundation/Overloaded.h"

namespace lx::backend {

namespace {

/// The parent object of a dotted path, and its last key.
struct Place {
  json::object* parent = nullptr;
  std::string_view key;
};

Place placeOf(json::value& root, std::string_view path) {
  json::object* parent = root.if_object();
  for (auto dot = path.find('.'); parent && dot != std::string_view::npos; dot = path.find('.')) {
    auto* next = parent->if_contains(path.substr(0, dot));
    parent = next ? next->if_object() : nullptr;
    path.remove_prefix(dot + 1);
  }
  return {parent && parent->contains(path) ? parent : nullptr, path};
}

/// A body that is no JSON, or lacks the place, stays as it is.
template <class Change>
ServerResponse withChangedField(ServerResponse response, std::string_view path, const Change& change) {
  auto body = parsedJSON(response.body);
  if (!body) return response;
  if (const auto place = placeOf(*body, path); place.parent) change(*place.parent, place.key);
  response.body = json::serialize(*body);
  return response;
}

/// A value of another type than the given one.
json::value ofAnotherType(const json::value& value) {
  return value.is_array() || value.is_object() ? json::value("text") : json::value(json::array{value});
}

std::string headOf(const ServerResponse& response, std::optional<std::size_t> contentLength) {
  std::string head = "HTTP/1.1 " + std::to_string(response.status) + " \r\nConnection: close\r\n";
  const auto add = [&](std::string_view name, std::string_view value) {
    head.append(name).append(": ").append(value).append("\r\n");
  };
  for (const auto& [name, value] : response.headers) add(name, value);
  if (!response.contentType.empty()) add("Content-Type", response.contentType);
  if (contentLength) {
    add("Content-Length", std::to_string(*contentLength));
  } else {
    add("Transfer-Encoding", "chunked");
  }
  return head + "\r\n";
}

int milliseconds(std::chrono::milliseconds duration) {
  return static_cast<int>(std::min<std::int64_t>(duration.count(), std::numeric_limits<int>::max()));
}

/// Head, the pause that the fault asks for, and then the body as `sendBody` sends it.
template <class SendBody>
void sendByHand(const Fault& fault, const ServerResponse& response, std::optional<std::size_t> contentLength,
                Wire& wire, const SendBody& sendBody) {
  if (!wire.send(headOf(response, contentLength))) return;
  if (fault.bodyDelay.count() > 0 && !wire.pause(milliseconds(fault.bodyDelay))) return;
  sendBody();
}

void sendSlowly(std::string_view body, const Fault::Slow& slow, Wire& wire) {
  while (!body.empty()) {
    const auto piece = body.substr(0, std::max<std::size_t>(slow.bytes, 1));
    if (!wire.send(piece) || !wire.pause(milliseconds(slow.interval))) return;
    body.remove_prefix(piece.size());
  }
}

void sendBlanks(const Fault::Oversized& oversized, Wire& wire) {
  const std::string piece(std::size_t{16} * 1024, ' ');
  for (std::size_t left = oversized.bytes; left > 0;) {
    const auto blanks = std::string_view(piece).substr(0, left);
    left -= blanks.size();
    if (!oversized.chunked) {
      if (!wire.send(blanks)) return;
      continue;
    }
    std::array<char, 16> size{};
    const auto end = std::to_chars(size.data(), size.data() + size.size(), blanks.size(), 16).ptr;
    if (!wire.send(std::string(size.data(), end).append("\r\n").append(blanks).append("\r\n"))) return;
  }
  if (oversized.chunked) wire.send("0\r\n\r\n");
}

}  // namespace

ServerResponse faultyResponse(const Fault& fault, const std::function<ServerResponse()>& route) {
  return std::visit(
      Overloaded{
          [&](const Fault::Status& status) {
            return ServerResponse{status.status, status.contentType, status.body, status.headers};
          },
          [&](const Fault::Drop& drop) { return drop.processed ? route() : ServerResponse(); },
          [](const Fault::Garbage&) { return ServerResponse(); },
          [](const Fault::Oversized&) { return ServerResponse{200, "application/json; charset=utf-8", {}, {}}; },
          [&](const Fault::WrongType& wrong) {
            return withChangedField(route(), wrong.field, [](json::object& parent, std::string_view key) {
              parent[key] = ofAnotherType(parent[key]);
            });
          },
          [&](const Fault::MissingFields& missing) {
            auto response = route();
            for (const auto& field : missing.fields) {
              response = withChangedField(std::move(response), field,
                                          [](json::object& parent, std::string_view key) { parent.stable_erase(key); });
            }
            return response;
          },
          [&](const Fault::NotJSON&) {
            auto response = route();
            response.body = "{\"unfinished\": ";
            return response;
          },
          [&](const Fault::EmptyBody&) {
            auto response = route();
            response.body.clear();
            return response;
          },
          [&](const auto&) { return route(); },
      },
      fault.effect);
}

int statusOnTheWire(const Fault& fault, const ServerResponse& response) {
  const bool silent =
      std::holds_alternative<Fault::Drop>(fault.effect) || std::holds_alternative<Fault::Garbage>(fault.effect);
  return silent ? 0 : response.status;
}

std::optional<ServerResponse> deliver(const Fault& fault, ServerResponse response, Wire& wire) {
  if (fault.delay.count() > 0 && !wire.pause(milliseconds(fault.delay))) {
    wire.abort();
    return std::nullopt;
  }
  const auto size = response.body.size();
  const auto inGoodOrder = [&](std::optional<std::size_t> contentLength, const auto& sendBody) {
    sendByHand(fault, response, contentLength, wire, sendBody);
    wire.finish();
    return true;
  };
  const bool written = std::visit(
      Overloaded{
          [&](const Fault::Drop&) {
            wire.abort();
            return true;
          },
          [&](const Fault::DropInBody& drop) {
            const auto part = std::string_view(response.body).substr(0, drop.bytes);
            sendByHand(fault, response, std::max(size, part.size() + 1), wire, [&] { wire.send(part); });
            wire.abort();
            return true;
          },
          [&](const Fault::Truncated& truncated) {
            return inGoodOrder(size + truncated.missing, [&] { wire.send(response.body); });
          },
          [&](const Fault::Slow& slow) { return inGoodOrder(size, [&] { sendSlowly(response.body, slow, wire); }); },
          [&](const Fault::Garbage& garbage) {
            wire.send(garbage.bytes);
            wire.finish();
            return true;
          },
          [&](const Fault::Oversized& oversized) {
            const auto length = oversized.chunked ? std::nullopt : std::optional(oversized.bytes);
            return inGoodOrder(length, [&] { sendBlanks(oversized, wire); });
          },
          [&](const auto&) {
            return fault.bodyDelay.count() > 0 && inGoodOrder(size, [&] { wire.send(response.body); });
          },
      },
      fault.effect);
  return written ? std::nullopt : std::optional(std::move(response));
}

}  // namespace lx::backend
