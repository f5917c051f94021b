#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace lx {

/// The activities that the keyboard and the app hand to each other through the system.
enum class LexiconiaUserActivity { documentHandoff, finishKeyboardInstallation, documentOpenInNewWindow };

inline constexpr std::array allLexiconiaUserActivities{
    LexiconiaUserActivity::documentHandoff,
    LexiconiaUserActivity::finishKeyboardInstallation,
    LexiconiaUserActivity::documentOpenInNewWindow,
};

/// The activity's type as the system knows it.
std::string_view rawValue(LexiconiaUserActivity activity);

/// The activity of a type; nothing for a type that is not ours.
std::optional<LexiconiaUserActivity> lexiconiaUserActivity(std::string_view rawValue);

}  // namespace lx
