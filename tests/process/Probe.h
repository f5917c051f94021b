#pragma once

#include <chrono>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "LXServices/Services/NetworkServicesOAuth2/Authentication/OAuth2Credentials.h"

#include "process/ChildProcess.h"

namespace lx {

/// What a caller of a process got, and when by the clock that all processes share.
struct ProbeAnswer {
  std::string accessToken = {};
  std::string refreshToken = {};
  std::string error = {};  ///< its type; empty for credentials
  std::chrono::nanoseconds time{};

  bool holds(const OAuth2Credentials& credentials) const {
    return error.empty() && accessToken == credentials.accessToken && refreshToken == credentials.refreshToken;
  }
};

/// A process of the group; see GroupProbe.cpp.
class Probe {
 public:
  explicit Probe(std::vector<std::string> command) : process(std::move(command)) {}

  /// Reads what a "get" or "refresh" prints; nothing when that does not come, or not in time.
  std::vector<ProbeAnswer> answers() {
    std::vector<ProbeAnswer> result;
    for (std::string line = process.readLine();; line = process.readLine()) {
      std::istringstream words(line);
      std::string kind;
      std::int64_t time = 0;
      ProbeAnswer answer;
      words >> kind;
      if (kind == "ok") {
        words >> answer.accessToken >> answer.refreshToken >> time;
      } else if (kind == "error") {
        words >> answer.error >> time;
      } else {
        if (kind != "done") return {};
        words >> time;
        firstStore = std::chrono::nanoseconds(time);
        return result;
      }
      answer.time = std::chrono::nanoseconds(time);
      result.push_back(std::move(answer));
    }
  }
  ProbeAnswer answer() {
    const auto all = answers();
    return all.size() == 1 ? all.front() : ProbeAnswer{.error = "(no single answer)"};
  }
  int logouts() {
    process.writeLine("logouts");
    const auto line = process.readLine();
    return line.starts_with("logouts ") ? std::stoi(line.substr(8)) : -1;
  }

  ChildProcess process;
  std::chrono::nanoseconds firstStore{};  ///< when the process stored credentials for its latest callers; 0 for never
};

}  // namespace lx
