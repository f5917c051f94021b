#include "LXServices/Rendering/DeltaRenderUtils.h"
#include "LXUtils/System/FileManager.h"

#include "lx/Commands.h"
#include "lx/Render/RenderForms.h"

namespace lx::tool {

Result<void> runRender(const Output& output, const RenderOptions& options) {
  constexpr std::size_t largest = std::size_t{2} << 30U;
  const auto file = options.file == "-" ? readStandardInput(largest) : readFile(options.file, largest);
  if (!file) return fail(file.error());
  const auto delta = Delta::fromJSON(textView(*file));
  if (!delta) return fail(delta.error());
  const auto renderInfo = DeltaRenderUtils::buildRenderInfo(*delta);
  if (options.html) {
    const auto page = renderedHTML(*delta, renderInfo);
    return output.isJSON() ? output.value("html", page) : output.say(page);
  }
  if (output.isJSON()) {
    return output.object([&](ObjectWriter& out) { out.wireMembers(RenderedJSON{&renderInfo}); });
  }
  auto text = renderedText(*delta, renderInfo, output.style());
  if (text.empty()) return {};
  text.pop_back();
  return output.say(text);
}

}  // namespace lx::tool
