#include "LXUtils/Foundation/Digest.h"

#include <openssl/evp.h>

#include "LXUtils/Foundation/FatalError.h"
#include "LXUtils/Foundation/OpenSSLInternal.h"

namespace lx {
namespace {

template <std::size_t size>
std::array<std::byte, size> digest(std::span<const std::byte> bytes, const EVP_MD* algorithm) {
  initialiseOpenSSL();
  std::array<std::byte, size> result;
  auto* out = reinterpret_cast<unsigned char*>(result.data());
  unsigned int written = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), out, &written, algorithm, nullptr) != 1 || written != size) {
    fatalError("The system's OpenSSL cannot compute a digest.");
  }
  return result;
}

}  // namespace

std::array<std::byte, 32> sha256(std::span<const std::byte> bytes) { return digest<32>(bytes, EVP_sha256()); }

std::array<std::byte, 16> md5(std::span<const std::byte> bytes) { return digest<16>(bytes, EVP_md5()); }

}  // namespace lx
