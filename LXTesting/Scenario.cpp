#include "LXTesting/Scenario.h"

#include <algorithm>
#include <array>
#include <utility>

#include "LXTesting/Backend/JSONInternal.h"

namespace lx {

namespace {

namespace json = boost::json;

constexpr std::array<std::string_view, std::variant_size_v<Fault::Effect>> faultKinds{
    "answer",  "status",    "drop",      "dropInBody",    "truncated", "slow",
    "garbage", "oversized", "wrongType", "missingFields", "notJSON",   "empty"};

/// Reads the members of one object, remembers the first thing that is wrong, and which keys were known.
class Reader {
 public:
  Reader(const json::value& value, std::string path) : object_(value.if_object()), path_(std::move(path)) {
    if (!object_) note("", "must be an object");
  }

  const json::value* find(std::string_view key) {
    known_.emplace_back(key);
    return object_ ? object_->if_contains(key) : nullptr;
  }

  template <class Integer>
  void integer(std::string_view key, Integer& target) {
    if (const auto* value = find(key)) {
      const auto* number = value->if_int64();
      if (number && *number >= 0 && std::in_range<Integer>(*number)) {
        target = static_cast<Integer>(*number);
      } else {
        note(key, "must be a whole number that is not negative");
      }
    }
  }

  void milliseconds(std::string_view key, std::chrono::milliseconds& target) {
    int count = static_cast<int>(target.count());
    integer(key, count);
    target = std::chrono::milliseconds(count);
  }

  void boolean(std::string_view key, bool& target) {
    if (const auto* value = find(key)) {
      if (const auto* flag = value->if_bool()) {
        target = *flag;
      } else {
        note(key, "must be true or false");
      }
    }
  }

  void text(std::string_view key, std::string& target) {
    if (const auto* value = find(key)) {
      if (const auto* found = value->if_string()) {
        target = std::string(*found);
      } else {
        note(key, "must be text");
      }
    }
  }

  void note(std::string_view key, std::string message) {
    if (error_) return;
    error_ =
        ScenarioError{key.empty() ? path_ : path_ + (path_.empty() ? "" : ".") + std::string(key), std::move(message)};
  }

  /// What was wrong, an unknown key included.
  std::optional<ScenarioError> error() {
    if (object_) {
      for (const auto& member : *object_) {
        if (std::find(known_.begin(), known_.end(), member.key()) == known_.end()) note(member.key(), "is unknown");
      }
    }
    return error_;
  }

 private:
  const json::object* object_;
  std::string path_;
  std::vector<std::string> known_;
  std::optional<ScenarioError> error_;
};

Fault::Status readStatus(Reader& reader) {
  Fault::Status status{};
  reader.integer("status", status.status);
  reader.text("contentType", status.contentType);
  if (const auto* body = reader.find("body")) {
    status.body = body->is_string() ? std::string(body->get_string()) : json::serialize(*body);
  }
  if (const auto* headers = reader.find("headers")) {
    const auto* object = headers->if_object();
    if (!object) reader.note("headers", "must be an object");
    for (const auto& [name, value] : object ? *object : json::object()) {
      if (!value.is_string()) return reader.note("headers", "must hold texts"), status;
      status.headers.emplace_back(name, value.get_string());
    }
  }
  if (status.status < 100 || status.status > 599) reader.note("status", "must be 100 to 599");
  return status;
}

Fault::MissingFields readMissingFields(Reader& reader) {
  Fault::MissingFields missing{};
  const auto* value = reader.find("fields");
  const auto* array = value ? value->if_array() : nullptr;
  if (!array || array->empty()) reader.note("fields", "must be a list of texts");
  for (const auto& field : array ? *array : json::array()) {
    if (!field.is_string()) return reader.note("fields", "must be a list of texts"), missing;
    missing.fields.emplace_back(field.get_string());
  }
  return missing;
}

Fault::Effect readEffect(Reader& reader) {
  std::string kind;
  reader.text("fault", kind);
  if (kind == "answer") return Fault::Answer{};
  if (kind == "status") return readStatus(reader);
  if (kind == "missingFields") return readMissingFields(reader);
  if (kind == "notJSON") return Fault::NotJSON{};
  if (kind == "empty") return Fault::EmptyBody{};
  if (kind == "drop") {
    Fault::Drop drop{};
    reader.boolean("processed", drop.processed);
    return drop;
  }
  if (kind == "dropInBody") {
    Fault::DropInBody drop{};
    reader.integer("bytes", drop.bytes);
    return drop;
  }
  if (kind == "truncated") {
    Fault::Truncated truncated{};
    reader.integer("missing", truncated.missing);
    return truncated;
  }
  if (kind == "slow") {
    Fault::Slow slow{};
    reader.integer("bytes", slow.bytes);
    reader.milliseconds("interval", slow.interval);
    return slow;
  }
  if (kind == "garbage") {
    Fault::Garbage garbage{.bytes = "This is not HTTP.\r\n\r\n"};
    reader.text("bytes", garbage.bytes);
    return garbage;
  }
  if (kind == "oversized") {
    Fault::Oversized oversized{};
    reader.integer("bytes", oversized.bytes);
    reader.boolean("chunked", oversized.chunked);
    return oversized;
  }
  if (kind == "wrongType") {
    Fault::WrongType wrong{};
    reader.text("field", wrong.field);
    if (wrong.field.empty()) reader.note("field", "is missing");
    return wrong;
  }
  reader.note("fault", kind.empty() ? "is missing" : "is no kind of fault");
  return Fault::Answer{};
}

Fault readFault(Reader& reader) {
  Fault fault{.effect = readEffect(reader)};
  reader.milliseconds("delay", fault.delay);
  reader.milliseconds("bodyDelay", fault.bodyDelay);
  const auto* count = reader.find("count");
  if (count && *count == json::value("all")) {
    fault.count.reset();
  } else {
    reader.integer("count", *fault.count);
    if (*fault.count == 0) reader.note("count", "must be positive or \"all\"");
  }
  return fault;
}

Relay::Effect readRelayEffect(Reader& reader) {
  std::string name;
  reader.text("effect", name);
  if (name == "cut") return Relay::Cut{};
  if (name == "reset") return Relay::Reset{};
  if (name == "corrupt") return Relay::Corrupt{};
  if (name == "stall") {
    Relay::Stall stall{};
    if (reader.find("duration")) reader.milliseconds("duration", stall.duration.emplace());
    return stall;
  }
  if (name == "slow") {
    Relay::Slow slow{};
    reader.integer("bytesPerSecond", slow.bytesPerSecond);
    if (slow.bytesPerSecond == 0) reader.note("bytesPerSecond", "must be positive");
    return slow;
  }
  reader.note("effect", name.empty() ? "is missing" : "is no effect of the relay");
  return Relay::Cut{};
}

Relay::Rule readRule(Reader& reader) {
  Relay::Rule rule{.effect = readRelayEffect(reader)};
  std::string direction = "toClient";
  reader.text("direction", direction);
  if (direction != "toClient" && direction != "toServer") reader.note("direction", "must be toClient or toServer");
  rule.direction = direction == "toServer" ? Relay::Direction::toServer : Relay::Direction::toClient;
  reader.integer("offset", rule.offset);
  if (reader.find("connection")) reader.integer("connection", rule.connection.emplace());
  return rule;
}

/// Reads each element of a list; false with `error` set at the first that is wrong.
template <class Element, class Read>
bool readList(const json::value& value, const std::string& path, const Read& read, std::vector<Element>& target,
              std::optional<ScenarioError>& error) {
  const auto* array = value.if_array();
  if (!array) error = ScenarioError{path, "must be a list"};
  for (std::size_t i = 0; array && i < array->size() && !error; ++i) {
    Reader reader((*array)[i], path + "[" + std::to_string(i) + "]");
    target.push_back(read(reader));
    error = reader.error();
  }
  return !error;
}

}  // namespace

std::string_view kind(const Fault& fault) { return faultKinds[fault.effect.index()]; }

Result<Scenario> Scenario::parse(std::string_view text) {
  const auto root = backend::parsedJSON(text);
  if (!root) return fail(ScenarioError{"", "The scenario is not JSON"});
  Scenario scenario;
  std::optional<ScenarioError> error;
  Reader reader(*root, "");
  if (const auto* routes = reader.find("routes")) {
    const auto* object = routes->if_object();
    if (!object) reader.note("routes", "must be an object");
    for (const auto& [route, faults] : object ? *object : json::object()) {
      auto& target = scenario.routes.emplace_back(RouteFaults{std::string(route), {}});
      const auto path = "routes[\"" + target.route + "\"]";
      if (!readList(faults, path, readFault, target.faults, error)) return fail(*error);
    }
  }
  if (const auto* connections = reader.find("connections")) {
    if (!readList(*connections, "connections", readRule, scenario.connections, error)) return fail(*error);
  }
  error = reader.error();
  if (error) return fail(*error);
  return scenario;
}

}  // namespace lx
