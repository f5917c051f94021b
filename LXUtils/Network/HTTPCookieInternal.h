#pragma once

#include <string>
#include <string_view>

namespace lx {

/// A host as cookies compare it: in lower case.
std::string canonicalHost(std::string_view host);

}  // namespace lx
