#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace lx {

/// What a type offers to travel as an Error: `typeName()` such as "OAuth2Error.credentialsNotFound" and a
/// `description()` for people, which never holds a token or another secret.
template <class E>
concept ErrorRecord = requires(const E& e) {
  { e.typeName() } -> std::convertible_to<std::string>;
  { e.description() } -> std::convertible_to<std::string>;
};

/// An error record that carries a code made of a prefix (the kind of error) and a suffix (the case).
template <class E>
concept CodifiedError = ErrorRecord<E> && requires(const E& e) {
  { e.codePrefix() } -> std::convertible_to<int>;
  { e.codeSuffix() } -> std::convertible_to<int>;
};

/// The code of a codified error as it is printed: prefix, "-", suffix.
template <CodifiedError E>
std::string code(const E& error) {
  return std::to_string(error.codePrefix()) + "-" + std::to_string(error.codeSuffix());
}

/// One owning value over any error record. Copies share the record, which never changes.
class Error {
 public:
  template <class E>
    requires(!std::same_as<E, Error> && ErrorRecord<E>)
  Error(E record) : record_(std::make_shared<const Holder<E>>(std::move(record))) {}

  /// The record, when it is of type E.
  template <class E>
  const E* as() const {
    const auto* holder = dynamic_cast<const Holder<E>*>(record_.get());
    return holder ? &holder->record : nullptr;
  }

  /// True when the record is of the same type and equal.
  template <class E>
  bool is(const E& record) const {
    const E* mine = as<E>();
    return mine && *mine == record;
  }

  /// The record's type and case, for example "OAuth2Error.credentialsNotFound".
  std::string typeName() const { return record_->typeName(); }

  /// What happened, for people and logs.
  std::string description() const { return record_->description(); }

  /// The code of a codified error, for example "3-1".
  std::optional<std::string> code() const { return record_->code(); }

 private:
  struct AnyRecord {
    virtual ~AnyRecord() = default;
    virtual std::string typeName() const = 0;
    virtual std::string description() const = 0;
    virtual std::optional<std::string> code() const = 0;
  };

  template <class E>
  struct Holder final : AnyRecord {
    explicit Holder(E value) : record(std::move(value)) {}
    std::string typeName() const override { return record.typeName(); }
    std::string description() const override { return record.description(); }
    std::optional<std::string> code() const override {
      if constexpr (CodifiedError<E>) {
        return lx::code(record);
      } else {
        return std::nullopt;
      }
    }
    E record;
  };

  std::shared_ptr<const AnyRecord> record_;
};

/// A value that had to be present is absent.
struct UnwrapError {
  std::string message;

  std::string typeName() const { return "Optional.Error"; }
  std::string description() const { return message; }
  bool operator==(const UnwrapError&) const = default;
};

}  // namespace lx
