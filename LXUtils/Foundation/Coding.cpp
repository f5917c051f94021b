#include "LXUtils/Foundation/Coding.h"

#include <algorithm>
#include <cmath>

#include "LXUtils/Foundation/URL.h"

namespace lx {
namespace {

constexpr double microsecondsPerSecond = 1e6;

Decoded<URL> decodeURL(JSONValue value, Result<URL> (*make)(std::string_view)) {
  const auto text = value.asString();
  if (!text) return std::unexpected(DecodingFault::typeMismatch);
  auto url = make(*text);
  if (!url) return std::unexpected(DecodingFault::malformed);
  return std::move(*url);
}

}  // namespace

Decoded<Date> Coding<Date>::decode(JSONValue value) {
  const std::optional<double> seconds = value.asDouble();
  if (!seconds) return std::unexpected(DecodingFault::typeMismatch);
  const double count = std::round(*seconds * microsecondsPerSecond);
  if (!(std::abs(count) <= static_cast<double>(std::numeric_limits<std::int64_t>::max()))) {
    return std::unexpected(DecodingFault::outOfRange);
  }
  // Far from the reference date a double is coarser than a microsecond: an instant at an end of the range may be
  // rounded beyond it, and must still be read.
  const auto highest = (Date::max() - referenceDate).count();
  const auto lowest = Date::min().time_since_epoch().count();
  if (count >= static_cast<double>(highest)) return Date::max();
  if (count <= static_cast<double>(lowest)) return referenceDate + std::chrono::microseconds(lowest);
  return referenceDate + std::chrono::microseconds(static_cast<std::int64_t>(count));
}

void Coding<Date>::encode(JSONWriter& writer, Date value) {
  const Date earliest = Date::min() + referenceDate.time_since_epoch();
  const auto sinceReference = std::max(value, earliest) - referenceDate;
  writer.number(static_cast<double>(sinceReference.count()) / microsecondsPerSecond);
}

Decoded<URL> Coding<URL>::decode(JSONValue value) { return decodeURL(value, URL::make); }

void Coding<URL>::encode(JSONWriter& writer, const URL& value) { writer.string(value.string()); }

Decoded<URL> AbsoluteURLFormat::decode(JSONValue value) { return decodeURL(value, URL::makeAbsolute); }

void AbsoluteURLFormat::encode(JSONWriter& writer, const URL& value) { writer.string(value.string()); }

namespace coding {

bool failWith(DecodingError& error, DecodingFault fault) {
  error.fault = fault;
  return false;
}

bool failAt(DecodingError& error, std::string_view key) {
  prependKey(error.path, key);
  return false;
}

bool failAt(DecodingError& error, std::size_t index) {
  prependIndex(error.path, index);
  return false;
}

bool decodeBool(JSONValue value, bool& out, DecodingError& error) {
  const auto read = value.asBool();
  if (!read) return failWith(error, DecodingFault::typeMismatch);
  out = *read;
  return true;
}

bool decodeInteger(JSONValue value, std::int64_t min, std::int64_t max, std::int64_t& out, DecodingError& error) {
  if (value.kind() != JSONValue::Kind::number) return failWith(error, DecodingFault::typeMismatch);
  const auto read = value.asInt64();
  if (!read || *read < min || *read > max) return failWith(error, DecodingFault::outOfRange);
  out = *read;
  return true;
}

bool decodeDouble(JSONValue value, double& out, DecodingError& error) {
  const auto read = value.asDouble();
  if (!read) return failWith(error, DecodingFault::typeMismatch);
  out = *read;
  return true;
}

bool decodeString(JSONValue value, std::string& out, DecodingError& error) {
  const auto read = value.asString();
  if (!read) return failWith(error, DecodingFault::typeMismatch);
  out.assign(*read);
  return true;
}

bool requireKind(JSONValue value, JSONValue::Kind kind, DecodingError& error) {
  return value.kind() == kind || failWith(error, DecodingFault::typeMismatch);
}

std::size_t reservation(JSONValue array) {
  // A small text must not be able to ask for much memory before its elements turn out to be wrong.
  constexpr std::size_t most = 1024;
  return std::min(array.size(), most);
}

Result<Data> dataOf(Result<std::string> text) {
  if (!text) return fail(std::move(text.error()));
  return lx::dataOf(*text);
}

}  // namespace coding
}  // namespace lx
