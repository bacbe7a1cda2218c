#include <windows.h>
// The order matters.
#include <wincrypt.h>

#include <memory>
#include <string>

#include "mail/engines/os/MailMachine.h"

namespace ovs {

namespace {

struct StoreClose {
  void operator()(void* store) const { CertCloseStore(store, 0); }
};

void AppendPem(const CERT_CONTEXT& certificate, std::string& pem) {
  const auto write = [&](char* out, DWORD& characters) {
    return CryptBinaryToStringA(certificate.pbCertEncoded, certificate.cbCertEncoded, CRYPT_STRING_BASE64HEADER, out,
                                &characters) != FALSE;
  };
  // The count includes the final NUL; whether it still does after the second call depends on the system.
  DWORD characters = 0;
  if (!write(nullptr, characters)) return;
  std::string one(characters, '\0');
  if (!write(one.data(), characters)) return;
  pem += one.c_str();
}

}  // namespace

std::string TrustedRoots() {
  std::string pem;
  const std::unique_ptr<void, StoreClose> store(CertOpenSystemStoreW(0, L"ROOT"));
  if (!store) return pem;
  // Each step frees the certificate before.
  const CERT_CONTEXT* certificate = nullptr;
  while ((certificate = CertEnumCertificatesInStore(store.get(), certificate)) != nullptr) AppendPem(*certificate, pem);
  return pem;
}

}  // namespace ovs
