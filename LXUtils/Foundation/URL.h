#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "LXUtils/Foundation/Result.h"

namespace lx {

/// Why a text is not taken as a URL. The text itself is never part of the error, since a query can hold a secret.
struct URLError {
  enum class Kind {
    invalid,           ///< empty, longer than URL::maximumLength, or not in the grammar of RFC 3986
    notAbsolute,       ///< a scheme was needed
    invalidPort,       ///< above 65535
    emptyHost,         ///< http, https, ws or wss without a host
    invalidComponent,  ///< an identifier that cannot stand as one segment of a path: empty, "." or ".."
  };
  Kind kind = Kind::invalid;

  std::string typeName() const;
  std::string description() const;
  bool operator==(const URLError&) const = default;
};

/// What must agree for two URLs to belong together: RFC 6454, with lower-case scheme and host.
struct URLOrigin {
  std::string scheme;
  std::string host;
  std::optional<int> port;  ///< the effective one

  bool operator==(const URLOrigin&) const = default;
};

/// An RFC 3986 reference, absolute or relative, that keeps its text as it was given.
///
/// Views that the accessors return point into the URL and live as long as it stands unchanged. Components are
/// percent-encoded as in the text. Equality, order and hash are those of the text: nothing is normalised.
class URL {
 public:
  /// The longest text that is read, in bytes.
  static constexpr std::size_t maximumLength = std::size_t{1} << 20;

  /// Reads a non-empty reference. Errors: URLError.
  static Result<URL> make(std::string_view text);

  /// Reads a reference that must have a scheme. Errors: URLError.
  static Result<URL> makeAbsolute(std::string_view text);

  /// The empty reference: a place for a URL that is assigned later.
  URL() = default;

  const std::string& string() const { return text_; }

  /// True when there is a scheme.
  bool isAbsolute() const { return scheme_.present(); }

  /// Empty when absent; as written, so "HTTPS" stays upper-case.
  std::string_view scheme() const { return view(scheme_); }

  /// The part of the user information before its first colon, and the part after it.
  std::optional<std::string_view> user() const;
  std::optional<std::string_view> password() const;

  /// True when the reference has an authority ("//"), if only an empty one.
  bool hasAuthority() const { return host_.present(); }

  /// Empty when absent. An IP literal keeps its brackets (RFC 3986, section 3.2.2).
  std::string_view host() const { return view(host_); }

  /// The port that is written in the URL.
  std::optional<int> port() const;

  /// The port that is written, or else the scheme's own: 80 for http and ws, 443 for https and wss.
  std::optional<int> effectivePort() const;

  std::string_view path() const { return view(path_); }

  /// Without the leading "?". Present but empty for a text that ends in "?".
  std::optional<std::string_view> query() const { return optionalView(query_); }

  /// Without the leading "#".
  std::optional<std::string_view> fragment() const { return optionalView(fragment_); }

  URLOrigin origin() const;

  /// The reference resolved against this URL (RFC 3986, section 5.2, strict); the empty reference is allowed.
  /// Errors: URLError, `notAbsolute` when this URL has no scheme.
  Result<URL> resolving(std::string_view reference) const;

  /// The URL with `path` after its own path and exactly one slash between them. Slashes of `path` stay, a trailing one
  /// included; whatever else may not stand in a path is percent-encoded, "%" too. Query and fragment are kept, and an
  /// empty `path` changes nothing. Dot segments stay as they are: use appendingPathComponent for text from outside.
  URL appendingPath(std::string_view path) const;

  /// The URL with one more segment after its path, in which `/ ? # %` and all else outside the segment's alphabet are
  /// percent-encoded. Errors: URLError, `invalidComponent` for the empty text, "." and "..".
  Result<URL> appendingPathComponent(std::string_view identifier) const;

  bool operator==(const URL& other) const { return text_ == other.text_; }
  std::strong_ordering operator<=>(const URL& other) const { return text_ <=> other.text_; }

 private:
  friend class URLQueryParameters;

  struct Range {
    static constexpr std::uint32_t absent = UINT32_MAX;
    std::uint32_t begin = absent;
    std::uint32_t end = absent;
    bool present() const { return begin != absent; }
  };

  /// Takes a text that is known to be in the grammar and finds its components.
  static URL split(std::string text);
  static Result<URL> parse(std::string_view text);
  URL appendingEncodedPath(std::string_view encoded) const;

  std::string_view view(Range range) const {
    return range.present() ? std::string_view(text_).substr(range.begin, range.end - range.begin) : std::string_view();
  }
  std::optional<std::string_view> optionalView(Range range) const {
    return range.present() ? std::optional(view(range)) : std::nullopt;
  }

  std::string text_;
  Range scheme_, userInfo_, host_, port_, path_, query_, fragment_;
};

/// True when scheme, host and effective port agree, without regard to case.
bool sameOrigin(const URL& a, const URL& b);

}  // namespace lx

template <>
struct std::hash<lx::URL> {
  std::size_t operator()(const lx::URL& url) const noexcept { return std::hash<std::string>{}(url.string()); }
};
