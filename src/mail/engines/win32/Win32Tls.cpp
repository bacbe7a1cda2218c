#define SECURITY_WIN32
#include <windows.h>
// The order matters.
#include <schannel.h>
#include <security.h>
#include <wincrypt.h>

#include <cstdio>
#include <memory>
#include <string>

#include "base/Encoding.h"
#include "mail/engines/os/TlsFacts.h"
#include "os/win32/Win32Support.h"

namespace ovs {

namespace {

// The header files of this compiler do not know the newest yet.
constexpr DWORD kTls13Client = 0x2000;

struct CertificateFree {
  void operator()(const CERT_CONTEXT* certificate) const { CertFreeCertificateContext(certificate); }
};

std::string VersionName(DWORD protocol) {
  switch (protocol) {
    case SP_PROT_SSL3_CLIENT:
      return "SSL 3.0";
    case SP_PROT_TLS1_CLIENT:
      return "TLS 1.0";
    case SP_PROT_TLS1_1_CLIENT:
      return "TLS 1.1";
    case SP_PROT_TLS1_2_CLIENT:
      return "TLS 1.2";
    case kTls13Client:
      return "TLS 1.3";
    default:
      return "TLS of unknown version";
  }
}

std::string NameText(CERT_NAME_BLOB& name) {
  constexpr DWORD kForm = CERT_X500_NAME_STR;
  std::wstring text(CertNameToStrW(X509_ASN_ENCODING, &name, kForm, nullptr, 0), L'\0');
  text.resize(CertNameToStrW(X509_ASN_ENCODING, &name, kForm, text.data(), static_cast<DWORD>(text.size())));
  return ToUtf8(FromWide(text.c_str()));
}

std::string DateText(const FILETIME& time) {
  SYSTEMTIME date{};
  if (!FileTimeToSystemTime(&time, &date)) return {};
  char text[40];
  std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u", unsigned{date.wYear}, unsigned{date.wMonth},
                unsigned{date.wDay}, unsigned{date.wHour}, unsigned{date.wMinute});
  return text;
}

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

TlsFacts TlsFactsOf(void* session) {
  TlsFacts facts;
  SecPkgContext_ConnectionInfo info{};
  if (QueryContextAttributesW(static_cast<PCtxtHandle>(session), SECPKG_ATTR_CONNECTION_INFO, &info) == SEC_E_OK) {
    facts.version = VersionName(info.dwProtocol) + ", cipher of " + std::to_string(info.dwCipherStrength) + " bits";
  }
  const CERT_CONTEXT* found = nullptr;
  if (QueryContextAttributesW(static_cast<PCtxtHandle>(session), SECPKG_ATTR_REMOTE_CERT_CONTEXT, &found) != SEC_E_OK) {
    return facts;
  }
  const std::unique_ptr<const CERT_CONTEXT, CertificateFree> certificate(found);
  if (!certificate) return facts;
  facts.subject = NameText(certificate->pCertInfo->Subject);
  facts.issuer = NameText(certificate->pCertInfo->Issuer);
  facts.validTo = DateText(certificate->pCertInfo->NotAfter);
  return facts;
}

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
