#pragma once

namespace lx {

/// One function object out of several, for std::visit.
template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};

}  // namespace lx
