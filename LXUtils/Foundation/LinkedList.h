#pragma once

#include <list>

namespace lx {

/// Elements in order, each in a place of its own that stays while others come and go.
template <class Element>
using LinkedList = std::list<Element>;

}  // namespace lx
