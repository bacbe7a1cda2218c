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
#include "base/Numbers.h"
#include "mail/engines/os/TlsFacts.h"
#include "os/win32/Win32Support.h"

namespace ovs {

namespace {

// The header files of this compiler do not know the newest yet.
constexpr DWORD kTls13Client = 0x2000;

struct CertificateFree {
  void operator()(const CERT_CONTEXT* certificate) const { CertFreeCertificateContext(certificate); }
};
using Certificate = std::unique_ptr<const CERT_CONTEXT, CertificateFree>;

struct ChainFree {
  void operator()(const CERT_CHAIN_CONTEXT* chain) const { CertFreeCertificateChain(chain); }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainFree>;

// The server's; the certificates that it sent for its chain are in the store of this one.
Certificate CertificateOf(void* session) {
  const CERT_CONTEXT* found = nullptr;
  const SECURITY_STATUS status =
      QueryContextAttributesW(static_cast<PCtxtHandle>(session), SECPKG_ATTR_REMOTE_CERT_CONTEXT, &found);
  return Certificate(status == SEC_E_OK ? found : nullptr);
}

Chain ChainOf(const CERT_CONTEXT& certificate) {
  char usage[] = szOID_PKIX_KP_SERVER_AUTH;
  LPSTR usages[] = {usage};
  CERT_CHAIN_PARA wanted{};
  wanted.cbSize = sizeof wanted;
  wanted.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
  wanted.RequestedUsage.Usage = {1, usages};
  const CERT_CHAIN_CONTEXT* built = nullptr;
  // What was revoked Schannel has asked for in the handshake, as libcurl had told it to.
  const BOOL ok =
      CertGetCertificateChain(nullptr, &certificate, nullptr, certificate.hCertStore, &wanted, 0, nullptr, &built);
  return Chain(ok ? built : nullptr);
}

// What no policy may overlook; empty words where there is nothing of it.
std::string ChainWords(DWORD status) {
  constexpr DWORD kUnknownAuthority = CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_PARTIAL_CHAIN;
  constexpr DWORD kForged = CERT_TRUST_IS_NOT_SIGNATURE_VALID | CERT_TRUST_IS_EXPLICIT_DISTRUST | CERT_TRUST_IS_REVOKED;
  if ((status & CERT_TRUST_IS_NOT_TIME_VALID) != 0) return "CERT_TRUST_IS_NOT_TIME_VALID";
  if ((status & kUnknownAuthority) != 0) return "Windows knows no certification authority that stands for it";
  return (status & kForged) != 0 ? "chain status 0x" + ToUtf8(HexText(status, 8)) : std::string();
}

std::string PolicyWords(const CERT_CHAIN_CONTEXT& chain, const std::string& host) {
  std::wstring name = ToWide(FromUtf8(host));
  SSL_EXTRA_CERT_CHAIN_POLICY_PARA server{};
  server.cbSize = sizeof server;
  server.dwAuthType = AUTHTYPE_SERVER;
  server.pwszServerName = name.data();
  CERT_CHAIN_POLICY_PARA wanted{};
  wanted.cbSize = sizeof wanted;
  wanted.pvExtraPolicyPara = &server;
  CERT_CHAIN_POLICY_STATUS status{};
  status.cbSize = sizeof status;
  if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, &chain, &wanted, &status)) return "it could not be verified";
  if (status.dwError == 0) return {};
  if (status.dwError == static_cast<DWORD>(CERT_E_CN_NO_MATCH)) return "it is not for the name " + host;
  return "error 0x" + ToUtf8(HexText(status.dwError, 8));
}

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
  const Certificate certificate = CertificateOf(session);
  if (!certificate) return facts;
  facts.subject = NameText(certificate->pCertInfo->Subject);
  facts.issuer = NameText(certificate->pCertInfo->Issuer);
  facts.validTo = DateText(certificate->pCertInfo->NotAfter);
  return facts;
}

std::string CertificateObjection(void* session, const std::string& host) {
  const Certificate certificate = CertificateOf(session);
  if (!certificate) return "the TLS library does not show it";
  const Chain chain = ChainOf(*certificate);
  if (!chain) return "no chain of certificates could be built";
  std::string words = ChainWords(chain->TrustStatus.dwErrorStatus);
  return words.empty() ? PolicyWords(*chain, host) : words;
}

// libcurl names every version from the lowest wanted one on, and a version that is named is used even where Windows has it
// off by default. A credential without names tells which are on.
int LowestTlsVersion() {
  SCHANNEL_CRED wanted{};
  wanted.dwVersion = SCHANNEL_CRED_VERSION;
  wanted.dwFlags = SCH_CRED_NO_DEFAULT_CREDS;
  wchar_t package[] = UNISP_NAME_W;
  CredHandle credential{};
  if (AcquireCredentialsHandleW(nullptr, package, SECPKG_CRED_OUTBOUND, nullptr, &wanted, nullptr, nullptr, &credential,
                                nullptr) != SEC_E_OK) {
    return 0;
  }
  SecPkgCred_SupportedProtocols on{};
  const SECURITY_STATUS status = QueryCredentialsAttributesW(&credential, SECPKG_ATTR_SUPPORTED_PROTOCOLS, &on);
  FreeCredentialsHandle(&credential);
  if (status != SEC_E_OK || (on.grbitProtocol & SP_PROT_TLS1_CLIENT) != 0) return 0;
  return (on.grbitProtocol & SP_PROT_TLS1_1_CLIENT) != 0 ? 1 : 2;
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
