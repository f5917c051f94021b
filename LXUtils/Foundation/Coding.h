#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "LXUtils/Foundation/CodingError.h"
#include "LXUtils/Foundation/Data.h"
#include "LXUtils/Foundation/Date.h"
#include "LXUtils/Foundation/JSON.h"
#include "LXUtils/Foundation/JSONWriter.h"
#include "LXUtils/Foundation/RawValue.h"
#include "LXUtils/Foundation/Result.h"

namespace lx {

class URL;

/// How a type stands in JSON. A record has one table that drives both directions, in the order of the wire:
///
///     template <> struct Coding<RefreshTokenBody> {
///       static constexpr auto fields = std::tuple{
///           field("refresh_token", &RefreshTokenBody::refreshToken),
///           field("client_id", &RefreshTokenBody::clientID)};
///     };
///
/// A type that is no record has, instead, functions for the directions that it needs:
///
///     static Decoded<T> decode(JSONValue value);
///     static void encode(JSONWriter& writer, const T& value);          // one value
///     static void encodeMembers(JSONWriter& writer, const T& value);   // keys and values of an object, which may be
///                                                                      // flattened into another one
///
/// Known without a Coding: bool, whole numbers, double, std::string, Date (seconds since the reference date), URL
/// (a non-empty RFC 3986 reference), closed enumerations with RawValues, open values with a `std::string rawValue`,
/// and std::optional, std::vector and std::map<std::string, V> of whatever is known. Records are made by their default
/// constructor before they are read.
template <class T>
struct Coding;

template <>
struct Coding<Date> {
  static Decoded<Date> decode(JSONValue value);
  static void encode(JSONWriter& writer, Date value);
};

template <>
struct Coding<URL> {
  static Decoded<URL> decode(JSONValue value);
  static void encode(JSONWriter& writer, const URL& value);
};

/// The format of a URL field that must be absolute: `field<AbsoluteURLFormat>("logoUrl", &KivInfo::logoURL)`.
struct AbsoluteURLFormat {
  static Decoded<URL> decode(JSONValue value);
  static void encode(JSONWriter& writer, const URL& value);
};

/// The format of a field without another: the Coding of its type.
struct StandardFormat;

enum class FieldMode : std::uint8_t { strict, tolerant, defaulted, flattened };

/// One row of a table.
template <FieldMode fieldMode, class FieldFormat, class Record, class Member>
struct Field {
  static constexpr FieldMode mode = fieldMode;
  using Format = FieldFormat;

  std::string_view key;
  Member Record::* member;
};

/// Required, except for a std::optional, where an absent key and null give none; a none is left out when writing.
/// A format is a struct with functions like those of a Coding; it applies inside optional, vector and map.
template <class Format = StandardFormat, class Record, class Member>
constexpr auto field(std::string_view key, Member Record::* member) {
  return Field<FieldMode::strict, Format, Record, Member>{key, member};
}

/// Whatever cannot be read leaves the value that the default constructor gives; never fails.
template <class Format = StandardFormat, class Record, class Member>
constexpr auto tolerant(std::string_view key, Member Record::* member) {
  return Field<FieldMode::tolerant, Format, Record, Member>{key, member};
}

/// An absent key and null leave the value that the default constructor gives; anything else must be right.
template <class Format = StandardFormat, class Record, class Member>
constexpr auto defaulted(std::string_view key, Member Record::* member) {
  return Field<FieldMode::defaulted, Format, Record, Member>{key, member};
}

/// The keys of the nested record stand in the same object.
template <class Record, class Member>
constexpr auto flattened(Member Record::* member) {
  return Field<FieldMode::flattened, StandardFormat, Record, Member>{{}, member};
}

namespace coding {

bool failWith(DecodingError& error, DecodingFault fault);
bool failAt(DecodingError& error, std::string_view key);
bool failAt(DecodingError& error, std::size_t index);
bool decodeBool(JSONValue value, bool& out, DecodingError& error);
bool decodeInteger(JSONValue value, std::int64_t min, std::int64_t max, std::int64_t& out, DecodingError& error);
bool decodeDouble(JSONValue value, double& out, DecodingError& error);
bool decodeString(JSONValue value, std::string& out, DecodingError& error);
bool requireKind(JSONValue value, JSONValue::Kind kind, DecodingError& error);
std::size_t reservation(JSONValue array);

template <class T>
inline constexpr bool isOptional = false;
template <class T>
inline constexpr bool isOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool isVector = false;
template <class T>
inline constexpr bool isVector<std::vector<T>> = true;

template <class T>
inline constexpr bool isMap = false;
template <class V>
inline constexpr bool isMap<std::map<std::string, V>> = true;

template <class T>
concept Record = requires { Coding<T>::fields; };

template <class T>
concept OpenString = requires(T& t) {
  { t.rawValue } -> std::same_as<std::string&>;
};

template <class T>
concept WholeNumber =
    std::integral<T> && !std::same_as<T, bool> && (std::signed_integral<T> || sizeof(T) < sizeof(std::int64_t));

template <class Format, class T>
using FormatOf = std::conditional_t<std::is_same_v<Format, StandardFormat>, Coding<T>, Format>;

template <class Format, class T>
concept Decodes = requires(JSONValue value) {
  { Format::decode(value) } -> std::same_as<Decoded<T>>;
};

template <class Format, class T>
concept Encodes = requires(JSONWriter& writer, const T& value) { Format::encode(writer, value); };

template <class T>
concept EncodesMembers = requires(JSONWriter& writer, const T& value) { Coding<T>::encodeMembers(writer, value); };

template <class T>
bool decodeMembers(JSONValue object, T& out, DecodingError& error);

template <class Format, class T>
bool decodeValue(JSONValue value, T& out, DecodingError& error);

template <class Format, class T>
bool decodeElements(JSONValue array, std::vector<T>& out, DecodingError& error) {
  if (!requireKind(array, JSONValue::Kind::array, error)) return false;
  out.clear();
  out.reserve(reservation(array));
  for (std::size_t i = 0; i < array.size(); ++i) {
    if constexpr (Decodes<FormatOf<Format, T>, T>) {
      auto decoded = FormatOf<Format, T>::decode(array.element(i));
      if (!decoded) return failWith(error, decoded.error()) || failAt(error, i);
      out.push_back(std::move(*decoded));
    } else {
      T element{};
      if (!decodeValue<Format>(array.element(i), element, error)) return failAt(error, i);
      out.push_back(std::move(element));
    }
  }
  return true;
}

template <class Format, class V>
bool decodeMap(JSONValue object, std::map<std::string, V>& out, DecodingError& error) {
  if (!requireKind(object, JSONValue::Kind::object, error)) return false;
  out.clear();
  for (std::size_t i = 0; i < object.size(); ++i) {
    std::optional<V> value;
    if (!decodeValue<Format>(object.element(i), value, error)) return failAt(error, i);
    if (!value) return failWith(error, DecodingFault::typeMismatch) || failAt(error, i);
    out.insert_or_assign(std::string(object.key(i)), std::move(*value));
  }
  return true;
}

/// Reads one value; `out` holds the type's default before. On failure the path is built while unwinding, so that
/// success costs none.
template <class Format, class T>
bool decodeValue(JSONValue value, T& out, DecodingError& error) {
  using TypeFormat = FormatOf<Format, T>;
  if constexpr (Decodes<TypeFormat, T>) {
    auto decoded = TypeFormat::decode(value);
    if (!decoded) return failWith(error, decoded.error());
    out = std::move(*decoded);
    return true;
  } else if constexpr (isOptional<T>) {
    using Wrapped = typename T::value_type;
    out.reset();
    if (value.isNull()) return true;
    if constexpr (Decodes<FormatOf<Format, Wrapped>, Wrapped>) {
      auto decoded = FormatOf<Format, Wrapped>::decode(value);
      if (!decoded) return failWith(error, decoded.error());
      out = std::move(*decoded);
      return true;
    } else {
      // Not emplace(): to clang, a nested struct with initialisers was not default-constructible within its enclosing
      // class, and the optional remembers that.
      out = Wrapped{};
      return decodeValue<Format>(value, *out, error);
    }
  } else if constexpr (isVector<T>) {
    return decodeElements<Format>(value, out, error);
  } else if constexpr (isMap<T>) {
    return decodeMap<Format>(value, out, error);
  } else if constexpr (Record<T>) {
    return requireKind(value, JSONValue::Kind::object, error) && decodeMembers(value, out, error);
  } else if constexpr (std::same_as<T, bool>) {
    return decodeBool(value, out, error);
  } else if constexpr (WholeNumber<T>) {
    using Limits = std::numeric_limits<T>;
    std::int64_t number = 0;
    if (!decodeInteger(value, std::int64_t{Limits::min()}, std::int64_t{Limits::max()}, number, error)) return false;
    out = static_cast<T>(number);
    return true;
  } else if constexpr (std::same_as<T, double>) {
    return decodeDouble(value, out, error);
  } else if constexpr (std::same_as<T, std::string>) {
    return decodeString(value, out, error);
  } else if constexpr (ClosedStringEnum<T>) {
    const auto text = value.asString();
    const auto known = text ? fromRawValue<T>(*text) : std::nullopt;
    if (!known) return failWith(error, text ? DecodingFault::malformed : DecodingFault::typeMismatch);
    out = *known;
    return true;
  } else {
    static_assert(OpenString<T>, "the type has no Coding that reads it");
    return decodeString(value, out.rawValue, error);
  }
}

template <class F, class T>
bool decodeField(const F& row, JSONValue object, T& record, DecodingError& error) {
  auto& out = record.*row.member;
  using Member = std::remove_reference_t<decltype(out)>;
  if constexpr (F::mode == FieldMode::flattened) {
    return decodeMembers(object, out, error);
  } else {
    const std::optional<JSONValue> value = object.member(row.key);
    if constexpr (F::mode == FieldMode::tolerant) {
      if (!value) return true;
      Member candidate = out;
      DecodingError ignored;
      if (decodeValue<typename F::Format>(*value, candidate, ignored)) out = std::move(candidate);
      return true;
    } else {
      if (!value) {
        if constexpr (F::mode == FieldMode::defaulted || isOptional<Member>) return true;
        return failWith(error, DecodingFault::missing) || failAt(error, row.key);
      }
      if (F::mode == FieldMode::defaulted && value->isNull()) return true;
      return decodeValue<typename F::Format>(*value, out, error) || failAt(error, row.key);
    }
  }
}

template <class T>
bool decodeMembers(JSONValue object, T& out, DecodingError& error) {
  return std::apply([&](const auto&... rows) { return (decodeField(rows, object, out, error) && ...); },
                    Coding<T>::fields);
}

template <class T>
void encodeMembers(JSONWriter& writer, const T& record);

template <class Format, class T>
void encodeValue(JSONWriter& writer, const T& value) {
  using TypeFormat = FormatOf<Format, T>;
  if constexpr (Encodes<TypeFormat, T>) {
    TypeFormat::encode(writer, value);
  } else if constexpr (isOptional<T>) {
    value ? encodeValue<Format>(writer, *value) : writer.null();
  } else if constexpr (isVector<T>) {
    writer.beginArray();
    for (std::size_t i = 0; i < value.size() && !writer.hasFailed(); ++i) {
      encodeValue<Format, typename T::value_type>(writer, value[i]);
      if (writer.hasFailed()) writer.prependIndexToPath(i);
    }
    writer.endArray();
  } else if constexpr (isMap<T>) {
    writer.beginObject();
    std::size_t i = 0;
    for (auto member = value.begin(); member != value.end() && !writer.hasFailed(); ++member, ++i) {
      writer.key(member->first);
      encodeValue<Format>(writer, member->second);
      if (writer.hasFailed()) writer.prependIndexToPath(i);
    }
    writer.endObject();
  } else if constexpr (Record<T> || EncodesMembers<T>) {
    writer.beginObject();
    encodeMembers(writer, value);
    writer.endObject();
  } else if constexpr (std::same_as<T, bool>) {
    writer.boolean(value);
  } else if constexpr (WholeNumber<T>) {
    writer.integer(value);
  } else if constexpr (std::same_as<T, double>) {
    writer.number(value);
  } else if constexpr (std::same_as<T, std::string>) {
    writer.string(value);
  } else if constexpr (ClosedStringEnum<T>) {
    writer.string(rawValue(value));
  } else {
    static_assert(OpenString<const T> || OpenString<T>, "the type has no Coding that writes it");
    writer.string(value.rawValue);
  }
}

template <class F, class T>
void encodeField(const F& row, JSONWriter& writer, const T& record) {
  if (writer.hasFailed()) return;
  const auto& value = record.*row.member;
  using Member = std::remove_cvref_t<decltype(value)>;
  if constexpr (F::mode == FieldMode::flattened) {
    encodeMembers(writer, value);
  } else {
    if constexpr (isOptional<Member>) {
      if (!value) return;
    }
    writer.key(row.key);
    encodeValue<typename F::Format>(writer, value);
    if (writer.hasFailed()) writer.prependKeyToPath(row.key);
  }
}

template <class T>
void encodeMembers(JSONWriter& writer, const T& record) {
  if constexpr (EncodesMembers<T>) {
    Coding<T>::encodeMembers(writer, record);
  } else {
    std::apply([&](const auto&... rows) { (encodeField(rows, writer, record), ...); }, Coding<T>::fields);
  }
}

Result<Data> dataOf(Result<std::string> text);

}  // namespace coding

/// The value of type T that `value` holds, or a DecodingError.
template <class T>
Result<T> decodeJSON(JSONValue value) {
  DecodingError error;
  if constexpr (coding::Decodes<Coding<T>, T>) {
    auto decoded = Coding<T>::decode(value);
    if (decoded) return std::move(*decoded);
    error.fault = decoded.error();
  } else {
    Result<T> result{T{}};
    if (coding::decodeValue<StandardFormat>(value, *result, error)) return result;
  }
  return fail(std::move(error));
}

template <class T>
Result<T> decodeJSON(std::string_view text, const JSONLimits& limits = {}) {
  const auto document = JSONDocument::parseInPlace(text, limits);
  if (!document) return fail(document.error());
  return decodeJSON<T>(document->root());
}

template <class T>
Result<T> decodeJSON(std::span<const std::byte> text, const JSONLimits& limits = {}) {
  return decodeJSON<T>(textView(text), limits);
}

/// Writes `value` where the writer stands.
template <class T>
void encodeJSON(JSONWriter& writer, const T& value) {
  coding::encodeValue<StandardFormat>(writer, value);
}

/// The JSON text of `value`, or an EncodingError.
template <class T>
Result<std::string> encodeJSONText(const T& value) {
  JSONWriter writer;
  encodeJSON(writer, value);
  return std::move(writer).finish();
}

/// The bytes of the JSON text of `value`, or an EncodingError.
template <class T>
Result<Data> encodeJSON(const T& value) {
  return coding::dataOf(encodeJSONText(value));
}

}  // namespace lx
