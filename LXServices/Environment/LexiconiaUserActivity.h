#pragma once

#include <array>

#include "LXUtils/Foundation/RawValue.h"

namespace lx {

/// The activities that the keyboard and the app hand to each other through the system.
enum class LexiconiaUserActivity { documentHandoff, finishKeyboardInstallation, documentOpenInNewWindow };

/// All activities with the types by which the system knows them.
template <>
struct RawValues<LexiconiaUserActivity> {
  static constexpr std::array rows{
      RawValueRow{LexiconiaUserActivity::documentHandoff, "com.lexiconia.keyboard.document.handoff"},
      RawValueRow{LexiconiaUserActivity::finishKeyboardInstallation, "com.lexiconia.keyboard.instructions.finish"},
      RawValueRow{LexiconiaUserActivity::documentOpenInNewWindow, "com.lexiconia.keyboard.document.multiwindow.open"},
  };
};

}  // namespace lx
