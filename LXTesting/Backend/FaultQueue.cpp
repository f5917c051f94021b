#include <algorithm>

#include "LXTesting/Backend/FaultPlayerInternal.h"

namespace lx::backend {

namespace {

/// Cuts the first word off.
std::string_view takeWord(std::string_view& text) {
  const auto end = std::min(text.find(' '), text.size());
  const auto word = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
}

bool matches(std::string_view route, const ServerRequest& request, std::string_view grant) {
  if (!route.starts_with('/') && takeWord(route) != request.method) return false;
  const auto path = takeWord(route);
  const bool samePath = path.ends_with('*')
                            ? std::string_view(request.path).starts_with(path.substr(0, path.size() - 1))
                            : request.path == path;
  return samePath && (route.empty() || route == grant);
}

}  // namespace

void FaultQueue::set(Scenario scenario) {
  routes_.withLock([&](auto& routes) { routes = std::move(scenario.routes); });
}

void FaultQueue::add(std::string route, Fault fault) {
  routes_.withLock([&](auto& routes) {
    const auto same = std::find_if(routes.begin(), routes.end(), [&](const auto& r) { return r.route == route; });
    auto& target = same == routes.end() ? routes.emplace_back(std::move(route), std::vector<Fault>()) : *same;
    target.faults.push_back(std::move(fault));
  });
}

std::optional<Fault> FaultQueue::take(const ServerRequest& request, std::string_view grant) {
  return routes_.withLock([&](auto& routes) -> std::optional<Fault> {
    for (auto& [route, faults] : routes) {
      if (faults.empty() || !matches(route, request, grant)) continue;
      auto fault = faults.front();
      if (faults.front().count && --*faults.front().count <= 0) faults.erase(faults.begin());
      return fault;
    }
    return std::nullopt;
  });
}

}  // namespace lx::backend
