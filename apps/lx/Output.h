#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2AuthDTO.h"
#include "LXUtils/Foundation/Coding.h"
#include "LXUtils/Foundation/Date.h"
#include "LXUtils/Foundation/PrintableText.h"
#include "LXUtils/Foundation/Result.h"

namespace lx::tool {

class ObjectWriter;

/// Writes the members of an object.
using Members = std::function<void(ObjectWriter&)>;

/// Writes an object for people and programs alike. Secrets come out as "<redacted>" unless they are to be revealed.
class ObjectWriter {
 public:
  ObjectWriter(JSONWriter& writer, bool reveal) : writer_(writer), reveal_(reveal) {}

  void text(std::string_view key, std::string_view value);
  void texts(std::string_view key, const std::vector<std::string>& values);
  void secret(std::string_view key, std::string_view value);
  void integer(std::string_view key, std::int64_t value);
  void boolean(std::string_view key, bool value);
  void null(std::string_view key);
  void date(std::string_view key, Date value);
  void object(std::string_view key, const Members& members);

  /// A record of the wire in its wire form: under a key, or its members here. It must not hold secrets.
  template <class Record>
  void wire(std::string_view key, const Record& record) {
    writer_.key(key);
    encodeJSON(writer_, record);
  }
  template <class Record>
  void wireMembers(const Record& record) {
    coding::encodeMembers(writer_, record);
  }

  /// The members of records whose wire form would show secrets.
  void members(const OAuth2Credentials& credentials);
  void members(const OAuth2AuthDTO& authDTO);
  void members(const Error& error);

 private:
  JSONWriter& writer_;
  const bool reveal_;
};

/// Colours for a terminal that wants them, nothing otherwise.
class Style {
 public:
  /// Of a file descriptor: a terminal, and NO_COLOR is not set.
  static Style of(int descriptor);

  std::string bold(std::string_view text) const { return wrapped("1", text); }
  std::string dim(std::string_view text) const { return wrapped("2", text); }
  std::string red(std::string_view text) const { return wrapped("31", text); }
  std::string green(std::string_view text) const { return wrapped("32", text); }
  std::string cyan(std::string_view text) const { return wrapped("36", text); }

 private:
  explicit Style(bool colours) : colours_(colours) {}
  std::string wrapped(const char* code, std::string_view text) const;

  bool colours_;
};

/// Where commands put what they have to tell. Errors: EncodingError, ToolError when nobody reads any more.
class Output {
 public:
  Output(bool json, bool reveal);

  bool isJSON() const { return json_; }
  bool reveals() const { return reveal_; }
  const Style& style() const { return style_; }

  /// A record: one JSON object, or a table of its members.
  Result<void> object(const Members& members) const;

  /// A single value: an object of that one member, or just the value.
  Result<void> value(std::string_view key, std::string_view value) const;

  /// Something that happened: one JSON object on a line, or the text.
  Result<void> event(const Members& members, std::string_view text) const;

  /// A line for people only.
  Result<void> say(std::string_view text) const;

  /// The failure of the command, on standard error, with what to do about it where that is known.
  void failure(const Error& error, std::string_view hint) const;

 private:
  Result<std::string> encoded(const Members& members) const;

  bool json_;
  bool reveal_;
  Style style_;
};

}  // namespace lx::tool
