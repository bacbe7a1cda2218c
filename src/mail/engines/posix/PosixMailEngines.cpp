#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <array>
#include <ctime>
#include <memory>

#include "mail/engines/CurlMailer.h"
#include "mail/engines/os/TlsFacts.h"

namespace ovs {

namespace {

std::string NameText(const X509_NAME* name) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), &BIO_free);
  if (!out || X509_NAME_print_ex(out.get(), name, 0, XN_FLAG_RFC2253) < 0) return {};
  char* text = nullptr;
  const auto length = BIO_ctrl(out.get(), BIO_CTRL_INFO, 0, static_cast<void*>(&text));
  return text == nullptr || length <= 0 ? std::string() : std::string(text, static_cast<std::size_t>(length));
}

}  // namespace

std::unique_ptr<MailEngines> SystemMailEngines(const os::Machine& machine) {
  return std::make_unique<BuiltInEngines>(machine);
}

// OpenSSL goes on using the system's folder of authorities beside those that it is given.
std::string TrustedRoots() { return {}; }

int LowestTlsVersion() {
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
  const auto lowest = context ? SSL_CTX_get_min_proto_version(context.get()) : 0;
  return lowest > TLS1_VERSION ? static_cast<int>(lowest - TLS1_VERSION) : 0;
}

TlsFacts TlsFactsOf(void* session) {
  const auto* const ssl = static_cast<const SSL*>(session);
  TlsFacts facts;
  facts.version = std::string(SSL_get_version(ssl)) + ", " + SSL_get_cipher_name(ssl);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(SSL_get1_peer_certificate(ssl), &X509_free);
  if (!certificate) return facts;
  facts.subject = NameText(X509_get_subject_name(certificate.get()));
  facts.issuer = NameText(X509_get_issuer_name(certificate.get()));
  std::tm time{};
  if (ASN1_TIME_to_tm(X509_get0_notAfter(certificate.get()), &time) != 1) return facts;
  std::array<char, 32> text{};
  facts.validTo.assign(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &time));
  return facts;
}

// libcurl has compared the name before.
std::string CertificateObjection(void* session, const std::string& /*host*/) {
  const auto result = SSL_get_verify_result(static_cast<const SSL*>(session));
  return result == X509_V_OK ? std::string() : X509_verify_cert_error_string(result);
}

}  // namespace ovs
