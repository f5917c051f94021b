#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "LXTesting/Backend/CertificateAuthorityInternal.h"
#include "LXTesting/DevBackendError.h"
#include "LXUtils/Foundation/OpenSSLInternal.h"

namespace lx::backend {

void OpenSSLDeleter::operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
void OpenSSLDeleter::operator()(X509* certificate) const { X509_free(certificate); }
void OpenSSLDeleter::operator()(SSL_CTX* context) const { SSL_CTX_free(context); }

namespace {

constexpr long secondsOfADay = 86'400;
constexpr long validDays = 30;

bool addExtension(X509* certificate, X509* issuer, int identifier, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, identifier, value.c_str());
  if (!extension) return false;
  const bool added = X509_add_ext(certificate, extension, -1) == 1;
  X509_EXTENSION_free(extension);
  return added;
}

bool setRandomSerial(X509* certificate) {
  std::uint64_t serial = 0;
  return RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1 &&
         ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1U) == 1;
}

bool setName(X509_NAME* name, const char* commonName) {
  const auto* text = reinterpret_cast<const unsigned char*>(commonName);
  return X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1;
}

/// A version 3 certificate over `key`, valid from yesterday on, so that a client's slow clock does not matter.
OpenSSLPointer<X509> makeCertificate(EVP_PKEY* key, const char* commonName) {
  OpenSSLPointer<X509> certificate(X509_new());
  if (!certificate || X509_set_version(certificate.get(), X509_VERSION_3) != 1 || !setRandomSerial(certificate.get()) ||
      !X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -secondsOfADay) ||
      !X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validDays * secondsOfADay) ||
      X509_set_pubkey(certificate.get(), key) != 1 || !setName(X509_get_subject_name(certificate.get()), commonName)) {
    return nullptr;
  }
  return certificate;
}

OpenSSLPointer<X509> makeAuthority(EVP_PKEY* key) {
  auto authority = makeCertificate(key, "LX development authority");
  if (!authority) return nullptr;
  X509* self = authority.get();
  const bool complete = X509_set_issuer_name(self, X509_get_subject_name(self)) == 1 &&
                        addExtension(self, self, NID_basic_constraints, "critical,CA:TRUE,pathlen:0") &&
                        addExtension(self, self, NID_key_usage, "critical,keyCertSign,cRLSign") &&
                        addExtension(self, self, NID_subject_key_identifier, "hash") &&
                        X509_sign(self, key, EVP_sha256()) > 0;
  return complete ? std::move(authority) : nullptr;
}

OpenSSLPointer<X509> makeServerCertificate(EVP_PKEY* key, X509* authority, EVP_PKEY* authorityKey,
                                           const std::vector<std::string>& names) {
  std::string alternativeNames = "DNS:localhost,IP:127.0.0.1,IP:::1";
  for (const auto& name : names) alternativeNames += ",DNS:" + name;
  auto certificate = makeCertificate(key, "localhost");
  if (!certificate) return nullptr;
  X509* leaf = certificate.get();
  const bool complete = X509_set_issuer_name(leaf, X509_get_subject_name(authority)) == 1 &&
                        addExtension(leaf, authority, NID_basic_constraints, "critical,CA:FALSE") &&
                        addExtension(leaf, authority, NID_key_usage, "critical,digitalSignature") &&
                        addExtension(leaf, authority, NID_ext_key_usage, "serverAuth") &&
                        addExtension(leaf, authority, NID_authority_key_identifier, "keyid") &&
                        addExtension(leaf, authority, NID_subject_alt_name, alternativeNames) &&
                        X509_sign(leaf, authorityKey, EVP_sha256()) > 0;
  return complete ? std::move(certificate) : nullptr;
}

std::string pemOf(X509* certificate) {
  BIO* memory = BIO_new(BIO_s_mem());
  std::string text;
  if (memory && PEM_write_bio_X509(memory, certificate) == 1) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory, &data);
    text.assign(data, static_cast<std::size_t>(size));
  }
  BIO_free(memory);
  return text;
}

std::unexpected<Error> failed(std::string what) {
  return fail(DevBackendError{DevBackendError::Kind::certificate, std::move(what)});
}

}  // namespace

Result<CertificateAuthority> CertificateAuthority::make(const std::vector<std::string>& names) {
  initialiseOpenSSL();
  CertificateAuthority result;
  const OpenSSLPointer<EVP_PKEY> authorityKey(EVP_EC_gen("P-256"));
  result.serverKey_.reset(EVP_EC_gen("P-256"));
  if (!authorityKey || !result.serverKey_) return failed("no key could be made");
  const auto authority = makeAuthority(authorityKey.get());
  if (!authority) return failed("the authority's certificate could not be made");
  result.serverCertificate_ =
      makeServerCertificate(result.serverKey_.get(), authority.get(), authorityKey.get(), names);
  if (!result.serverCertificate_) return failed("the server's certificate could not be made; are its names DNS names?");
  result.pem_ = pemOf(authority.get());
  return result;
}

Result<OpenSSLPointer<SSL_CTX>> CertificateAuthority::makeServerContext() const {
  OpenSSLPointer<SSL_CTX> context(SSL_CTX_new(TLS_server_method()));
  if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
      SSL_CTX_use_certificate(context.get(), serverCertificate_.get()) != 1 ||
      SSL_CTX_use_PrivateKey(context.get(), serverKey_.get()) != 1) {
    return failed("the server's TLS settings were refused");
  }
  SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
  return context;
}

}  // namespace lx::backend
