#pragma once

#include "LXUtils/Foundation/Clock.h"

namespace lx {

/// The system's steady time, for the event loop that the system's clock itself stands on.
Clock::SteadyTime systemSteadyNow();

}  // namespace lx
