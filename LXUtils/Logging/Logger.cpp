#include "LXUtils/Logging/Logger.h"

#include <array>
#include <atomic>
#include <climits>
#include <cstdio>
#include <mutex>

#include "LXUtils/Foundation/PrintableText.h"

namespace lx {
namespace {

std::atomic<LogLevel> minimumEnabledLevel{INT_MAX};

struct SinkSlot {
  std::mutex mutex;
  std::shared_ptr<LogSink> sink;
};

// Never destroyed: objects that end with the process may still log.
SinkSlot& sinkSlot() {
  static auto& slot = *new SinkSlot;
  return slot;
}

const char* levelName(LogLevel level) {
  static constexpr std::array names{"debug", "info", "notice", "warning", "error"};
  return level >= 0 && level < static_cast<LogLevel>(names.size()) ? names[static_cast<std::size_t>(level)] : "?";
}

}  // namespace

void StandardErrorLogSink::write(const LogRecord& record) {
  std::string line = levelName(record.level);
  line.append(" ").append(record.logger).append(" ").append(printable(record.message));
  std::string_view file = record.site.file;
  file.remove_prefix(file.find_last_of('/') + 1);
  line.append(" (").append(file).append(":").append(std::to_string(record.site.line));
  line.append(" ").append(record.site.operation).append(")\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void Logging::setSink(std::shared_ptr<LogSink> sink, LogLevel minimumLevel) {
  auto& slot = sinkSlot();
  const std::lock_guard lock(slot.mutex);
  minimumEnabledLevel = sink ? minimumLevel : INT_MAX;
  slot.sink.swap(sink);
}

bool Logger::isEnabled(LogLevel level) { return level >= minimumEnabledLevel.load(std::memory_order_relaxed); }

void Logger::log(LogLevel level, std::string_view message, LogSite site) const {
  if (!isEnabled(level)) return;
  std::shared_ptr<LogSink> sink;
  {
    auto& slot = sinkSlot();
    const std::lock_guard lock(slot.mutex);
    sink = slot.sink;
  }
  if (sink) sink->write({name_, level, message, site});
}

void Logger::log(LogLevel level, std::string_view message, std::string_view errorDescription, LogSite site) const {
  if (!isEnabled(level)) return;
  std::string whole(message);
  whole.append(": ").append(errorDescription);
  log(level, whole, site);
}

}  // namespace lx
