#pragma once

#include <memory>
#include <string>
#include <vector>

#include <openssl/types.h>

#include "LXUtils/Foundation/Result.h"

namespace lx::backend {

struct OpenSSLDeleter {
  void operator()(EVP_PKEY* key) const;
  void operator()(X509* certificate) const;
  void operator()(SSL_CTX* context) const;
};

template <class T>
using OpenSSLPointer = std::unique_ptr<T, OpenSSLDeleter>;

/// A certificate authority that lives as long as the backend, and the server certificate that it signed.
/// Keys are EC P-256 and never leave the process.
class CertificateAuthority {
 public:
  /// `names` are DNS names, wildcards included; localhost, 127.0.0.1 and ::1 are always covered.
  static Result<CertificateAuthority> make(const std::vector<std::string>& names);

  /// The authority's certificate.
  const std::string& pem() const { return pem_; }

  /// A server context with the certificate and its key, TLS 1.2 and newer.
  Result<OpenSSLPointer<SSL_CTX>> makeServerContext() const;

 private:
  OpenSSLPointer<EVP_PKEY> serverKey_;
  OpenSSLPointer<X509> serverCertificate_;
  std::string pem_;
};

/// The file that clients trust. One at a path that was asked for stays; a temporary one goes with its owner.
class CAFile {
 public:
  /// Writes `pem` to `path`, or to a new temporary file where it is empty. Readable by the user alone.
  static Result<CAFile> write(const std::string& pem, const std::string& path);

  CAFile(CAFile&& other) noexcept;
  CAFile& operator=(CAFile&& other) noexcept;
  ~CAFile();

  const std::string& path() const { return path_; }

 private:
  CAFile(std::string path, bool temporary) : path_(std::move(path)), temporary_(temporary) {}

  std::string path_;
  bool temporary_ = false;
};

}  // namespace lx::backend
