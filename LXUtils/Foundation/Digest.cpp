#include "LXUtils/Foundation/Digest.h"

// The functions below are deprecated for new algorithms' sake. Unlike their successors they allocate nothing, load no
// provider, and therefore cannot fail.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>
#include <openssl/sha.h>

namespace lx {

std::array<std::byte, 32> sha256(std::span<const std::byte> bytes) {
  std::array<std::byte, SHA256_DIGEST_LENGTH> digest;
  SHA256_CTX context;
  SHA256_Init(&context);
  SHA256_Update(&context, bytes.data(), bytes.size());
  SHA256_Final(reinterpret_cast<unsigned char*>(digest.data()), &context);
  return digest;
}

std::array<std::byte, 16> md5(std::span<const std::byte> bytes) {
  std::array<std::byte, MD5_DIGEST_LENGTH> digest;
  MD5_CTX context;
  MD5_Init(&context);
  MD5_Update(&context, bytes.data(), bytes.size());
  MD5_Final(reinterpret_cast<unsigned char*>(digest.data()), &context);
  return digest;
}

}  // namespace lx
