#pragma once

#include <string>

#include "LXUtils/Foundation/Error.h"

namespace lx::tool {

/// What a person can do about a failure; empty where nothing better than the error's own words is known.
std::string hintFor(const Error& error);

}  // namespace lx::tool
