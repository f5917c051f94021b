#include "LXServices/Environment/LexiconiaUserActivity.h"

namespace lx {

std::string_view rawValue(LexiconiaUserActivity activity) {
  switch (activity) {
    case LexiconiaUserActivity::documentHandoff:
      return "com.lexiconia.keyboard.document.handoff";
    case LexiconiaUserActivity::finishKeyboardInstallation:
      return "com.lexiconia.keyboard.instructions.finish";
    case LexiconiaUserActivity::documentOpenInNewWindow:
      return "com.lexiconia.keyboard.document.multiwindow.open";
  }
  return {};
}

std::optional<LexiconiaUserActivity> lexiconiaUserActivity(std::string_view text) {
  for (const auto activity : allLexiconiaUserActivities) {
    if (rawValue(activity) == text) return activity;
  }
  return std::nullopt;
}

}  // namespace lx
