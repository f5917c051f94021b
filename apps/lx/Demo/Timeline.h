#pragma once

#include <string_view>
#include <vector>

#include "LXTesting/Journal.h"
#include "LXUtils/Foundation/Clock.h"
#include "LXUtils/Foundation/Error.h"

#include "lx/Output.h"

namespace lx::tool {

/// Ends the tour; thrown by the steps and caught where the tour is run.
struct TourFailure {
  Error error;
};

/// The value of a result that the tour cannot go on without.
template <class T>
T must(Result<T> result) {
  if (!result) throw TourFailure{result.error()};
  if constexpr (!std::is_void_v<T>) return *std::move(result);
}

/// Tells the tour as it goes: chapters, the claims that were checked, and what the backend saw meanwhile.
class Timeline {
 public:
  explicit Timeline(const Output& output);

  /// What the tour is made of.
  void started(std::string_view address, std::string_view caFile, std::string_view group);

  void chapter(std::string_view title);

  /// A claim that holds, or else the end of the tour: a TourFailure with ToolError::Kind::demo.
  void check(bool holds, std::string_view claim);

  /// The claim that the requests were these, as "METHOD PATH[ GRANT] STATUS", with the requests themselves for people.
  void checkRequests(const std::vector<JournalEntry>& entries, const std::vector<std::string>& expected);

  /// Lines for people alone.
  void show(std::string_view lines) const;

  const Style& style() const { return output_.style(); }
  Clock::SteadyTime now() const { return clock_->steadyNow(); }

  void finished();

 private:
  std::chrono::milliseconds elapsed() const;
  void tell(const Members& members, std::string_view text) const;

  const Output& output_;
  const std::shared_ptr<Clock> clock_ = Clock::system();
  const Clock::SteadyTime start_ = clock_->steadyNow();
  int chapters_ = 0;
  int checks_ = 0;
};

/// "POST /v4/api/oauth2/token refresh_token 200"; 0 stands for no answer.
std::string summary(const JournalEntry& entry);

}  // namespace lx::tool
