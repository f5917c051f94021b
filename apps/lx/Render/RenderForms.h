#pragma once

#include <cstdint>
#include <string>

#include "LXDelta/Delta.h"
#include "LXServices/Rendering/RenderInfo.h"
#include "LXUtils/Foundation/Coding.h"

#include "lx/Output.h"

namespace lx::tool {

// The forms in which a document is told. Each takes time in proportion to it.

/// What is deeper is shown so deep: a page or a terminal has no more room.
inline constexpr std::int64_t deepestIndent = 64;
inline constexpr std::int64_t deepestHeading = 6;

/// For people: headings, items with their bullets and numbers, indented.
std::string renderedText(const Delta& delta, const DeltaRenderUtils::RenderInfo& renderInfo, const Style& style);

/// A page of its own, which loads nothing from elsewhere.
std::string renderedHTML(const Delta& delta, const DeltaRenderUtils::RenderInfo& renderInfo);

/// For programs: {"linesRange":[…],"lines":[…],"lists":[…]}, lists by their numbers in ListNumbering.
struct RenderedJSON {
  const DeltaRenderUtils::RenderInfo* renderInfo;
};

}  // namespace lx::tool

template <>
struct lx::Coding<lx::tool::RenderedJSON> {
  static void encodeMembers(JSONWriter& writer, const tool::RenderedJSON& rendered);
};
