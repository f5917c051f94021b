#pragma once

#include <cstdint>

#include "LXServices/Rendering/LineParsingStateMachine.h"
#include "LXServices/Rendering/LinesInfo.h"

namespace lx::DeltaRenderUtils {

/// Notes what each line has become.
class LineParsingStateMachineObserver final : public LineParsingStateMachineObserverProtocol {
 public:
  /// The line being processed.
  std::int64_t lineIndex = 0;
  LinesInfo linesInfo;

  void stateMachineDidHandleLine(const LineParsingStateMachine& stateMachine) override;
};

}  // namespace lx::DeltaRenderUtils
