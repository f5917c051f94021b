#include "lx/Demo/Timeline.h"

#include <algorithm>

#include "lx/ToolError.h"

namespace lx::tool {
namespace {

std::string padded(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

std::string seconds(std::chrono::milliseconds time) {
  const auto hundredths = time.count() / 10;
  const auto fraction = std::to_string(hundredths % 100);
  return std::to_string(hundredths / 100) + "." + (fraction.size() < 2 ? "0" : "") + fraction + " s";
}

/// The last word of a grant that is a URN.
std::string shortGrant(const JournalEntry& entry) {
  const auto grant = entry.grant.value_or("");
  return grant.substr(grant.rfind(':') + 1);
}

}  // namespace

std::string summary(const JournalEntry& entry) {
  const auto grant = shortGrant(entry);
  return entry.method + " " + entry.path + (grant.empty() ? "" : " " + grant) + " " + std::to_string(entry.status);
}

Timeline::Timeline(const Output& output) : output_(output) {}

std::chrono::milliseconds Timeline::elapsed() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(clock_->steadyNow() - start_);
}

void Timeline::tell(const Members& members, std::string_view text) const { must(output_.event(members, text)); }

void Timeline::started(std::string_view address, std::string_view caFile, std::string_view group) {
  const auto& style = output_.style();
  const auto row = [&](std::string_view name, std::string_view value) {
    return "\n  " + style.dim(padded(std::string(name), 9)) + std::string(value);
  };
  tell(
      [&](ObjectWriter& out) {
        out.text("event", "started");
        out.text("address", address);
        out.text("caFile", caFile);
        out.text("group", group);
      },
      "\n" + style.bold("A tour of LXServices") + "\n" +
          row("backend", std::string(address) + ", TLS by an authority of its own") +
          row("group", std::string(group) + ", removed at the end"));
}

void Timeline::chapter(std::string_view title) {
  const auto number = ++chapters_;
  tell(
      [&](ObjectWriter& out) {
        out.text("event", "chapter");
        out.integer("chapter", number);
        out.text("title", title);
      },
      "\n" + output_.style().cyan(std::to_string(number)) + " " + output_.style().bold(title));
}

void Timeline::check(bool holds, std::string_view claim) {
  const auto& style = output_.style();
  const auto time = elapsed();
  tell(
      [&](ObjectWriter& out) {
        out.text("event", "check");
        out.integer("chapter", chapters_);
        out.text("claim", claim);
        out.boolean("holds", holds);
        out.integer("time", time.count());
      },
      style.dim(seconds(time).insert(0, time.count() < 10'000 ? "  " : " ")) + "  " +
          (holds ? style.green("✓") : style.red("✗")) + " " + printable(claim));
  if (!holds) throw TourFailure{ToolError{ToolError::Kind::demo, "This does not hold: " + std::string(claim)}};
  ++checks_;
}

void Timeline::checkRequests(const std::vector<JournalEntry>& entries, const std::vector<std::string>& expected) {
  std::vector<std::string> seen;
  for (const auto& entry : entries) seen.push_back(summary(entry));
  check(seen == expected, "the backend's journal has just " +
                              (expected.size() == 1 ? std::string("this request")
                                                    : "these " + std::to_string(expected.size()) + " requests"));
  for (const auto& entry : entries) {
    const auto status = entry.status == 0 ? std::string("no answer") : std::to_string(entry.status);
    show(output_.style().dim(padded(entry.method, 5) + padded(printable(entry.path), 27) +
                             padded(printable(shortGrant(entry)), 20) + status));
  }
}

void Timeline::show(std::string_view lines) const {
  while (!lines.empty()) {
    const auto end = std::min(lines.find('\n'), lines.size());
    must(output_.say("             " + std::string(lines.substr(0, end))));
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
}

void Timeline::finished() {
  const auto time = elapsed();
  tell(
      [&](ObjectWriter& out) {
        out.text("event", "finished");
        out.integer("checks", checks_);
        out.integer("time", time.count());
      },
      "\n" + output_.style().green("✓") + " " +
          output_.style().bold("All " + std::to_string(checks_) + " claims hold") +
          output_.style().dim(", " + seconds(time)) + "\n");
}

}  // namespace lx::tool
