#pragma once

#include <cstdint>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>

namespace lx {

/// 0 debug, 1 information, 2 notice, 3 warning, 4 error.
using LogLevel = int;

/// Where a message comes from: the operation by its documented name, such as "handleRedirectURL(url:expectedState:)",
/// and the place in the source.
struct LogSite {
  LogSite(const char* name, std::source_location place = std::source_location::current())
      : operation(name), file(place.file_name()), line(place.line()) {}

  const char* operation;
  const char* file;
  std::uint32_t line;
};

/// One message as a sink gets it.
struct LogRecord {
  std::string_view logger;
  LogLevel level;
  std::string_view message;
  LogSite site;
};

/// Takes the messages of all loggers. Any thread, several at once.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(const LogRecord& record) = 0;
};

/// Writes "level logger message (file:line operation)" to standard error, as one line: what would act on a terminal in
/// the message is replaced by "?".
class StandardErrorLogSink final : public LogSink {
 public:
  void write(const LogRecord& record) override;
};

/// The sinks of the process. At first there is none, so that a library stays silent until its app asks.
struct Logging {
  /// Puts `sink` in the place of the one before and passes it the messages from `minimumLevel` up. An empty sink
  /// silences all loggers.
  static void setSink(std::shared_ptr<LogSink> sink, LogLevel minimumLevel = 0);
};

/// A named source of messages. Copies are the same logger.
class Logger {
 public:
  explicit constexpr Logger(const char* name) : name_(name) {}

  static const Logger auth;
  static const Logger oauth2;
  static const Logger network;
  static const Logger experiments;
  static const Logger murmura;

  std::string_view name() const { return name_; }

  /// True when a message of this level would reach a sink: to spare building one that does not.
  static bool isEnabled(LogLevel level);

  /// `message` holds no token, code, cookie, verifier or state value.
  void log(LogLevel level, std::string_view message, LogSite site) const;

  /// The message of a failure: `message`, ": " and the error's description.
  void log(LogLevel level, std::string_view message, std::string_view errorDescription, LogSite site) const;

 private:
  const char* name_;
};

inline constexpr Logger Logger::auth{"auth"};
inline constexpr Logger Logger::oauth2{"oauth2"};
inline constexpr Logger Logger::network{"network"};
inline constexpr Logger Logger::experiments{"experiments"};
inline constexpr Logger Logger::murmura{"murmura"};

}  // namespace lx
