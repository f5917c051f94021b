#include <array>

#include "LXTesting/Backend/RouterInternal.h"
#include "LXUtils/Foundation/Data.h"

namespace lx::backend {

namespace {

/// A square of two by two yellow pixels.
constexpr std::array<unsigned char, 74> image{
    0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44, 0x52, 0x00, 0x00, 0x00,
    0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x06, 0x00, 0x00, 0x00, 0x72, 0xb6, 0x0d, 0x24, 0x00, 0x00, 0x00, 0x11, 0x49,
    0x44, 0x41, 0x54, 0x78, 0xda, 0x63, 0xf8, 0x7f, 0x86, 0xe1, 0x3f, 0x08, 0x33, 0xc0, 0x18, 0x00, 0x66, 0x12, 0x0b,
    0x29, 0xc4, 0x97, 0x1c, 0x77, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82};

// Later than the images that ship with the apps, so that clients fetch it.
constexpr const char* lastModified = "Sat, 01 Jun 2024 12:00:00 GMT";

/// "/emoji/v1/NAME.svg", which is asked for its date alone, and "/emoji/v1/NAME.SCALEx.png".
ServerResponse emotion(const ServerRequest& request) {
  const std::string_view path = request.path;
  const bool isDrawing = path.ends_with(".svg");
  if (!isDrawing && !path.ends_with("x.png")) return errorResponse(404, "not_found", "No such emotion");
  const auto bytes = textView(std::as_bytes(std::span(image)));
  return {.contentType = isDrawing ? "image/svg+xml" : "image/png",
          .body = isDrawing ? "<svg xmlns=\"http://www.w3.org/2000/svg\"/>" : std::string(bytes),
          .headers = {{"Last-Modified", lastModified}}};
}

}  // namespace

void addEmotionRoutes(Router& router) {
  router.add("GET", "/emoji/v1/*", emotion);
  router.add("HEAD", "/emoji/v1/*", emotion);
}

}  // namespace lx::backend
