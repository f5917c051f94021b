#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"
#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2CredentialsNativeSignonResponse.h"
#include "LXServices/Services/UserModel.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

/// What could be read can be written, and reads back as the same record and the same text.
template <class T>
void requireRoundTrip(lx::JSONValue value) {
  const auto record = lx::decodeJSON<T>(value);
  if (!record) return;
  const auto text = lx::encodeJSONText(*record);
  require(text.has_value());
  const auto again = lx::decodeJSON<T>(*text);
  require(again && *again == *record);
  require(lx::encodeJSONText(*again).value() == *text);
}

/// Writes any value as it stands.
void write(lx::JSONWriter& writer, lx::JSONValue value) {
  using Kind = lx::JSONValue::Kind;
  switch (value.kind()) {
    case Kind::null:
      return writer.null();
    case Kind::boolean:
      return writer.boolean(*value.asBool());
    case Kind::number:
      return value.asInt64() ? writer.integer(*value.asInt64()) : writer.number(*value.asDouble());
    case Kind::string:
      return writer.string(*value.asString());
    case Kind::array:
      writer.beginArray();
      for (std::size_t i = 0; i < value.size(); ++i) write(writer, value.element(i));
      return writer.endArray();
    case Kind::object:
      writer.beginObject();
      for (std::size_t i = 0; i < value.size(); ++i) {
        writer.key(value.key(i));
        write(writer, value.element(i));
      }
      return writer.endObject();
  }
}

std::string written(lx::JSONValue value) {
  lx::JSONWriter writer;
  write(writer, value);
  auto text = std::move(writer).finish();
  require(text.has_value());
  return *std::move(text);
}

}  // namespace

/// The input is a JSON text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto document = lx::JSONDocument::parse(text);
  require(document.has_value() == lx::JSONDocument::parseInPlace(text).has_value());
  if (!document) return 0;

  const std::string normal = written(document->root());
  const auto again = lx::JSONDocument::parse(normal);
  require(again && written(again->root()) == normal);

  requireRoundTrip<lx::UserModel>(document->root());
  requireRoundTrip<lx::OAuth2CredentialsResponse>(document->root());
  requireRoundTrip<lx::OAuth2CredentialsNativeSignonResponse>(document->root());
  if (const auto credentials = lx::decodeJSON<lx::OAuth2Credentials>(document->root())) {
    require(lx::decodeJSON<lx::OAuth2Credentials>(lx::encodeJSONText(*credentials).value()).has_value());
  }
  return 0;
}
