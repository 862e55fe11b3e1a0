#include "DemoServer/Certificate.h"

#include <cstdint>

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "DemoServer/OpenSSL.h"

namespace DemoServer {

namespace {

using Foundation::Releaser;
using AddressPointer = std::unique_ptr<ASN1_OCTET_STRING, Releaser<ASN1_OCTET_STRING_free>>;
using CertificatePointer = std::unique_ptr<X509, Releaser<X509_free>>;
using ExtensionPointer = std::unique_ptr<X509_EXTENSION, Releaser<X509_EXTENSION_free>>;
using KeyPointer = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;

const char* const failure = "no certificate could be made";

KeyPointer newKey() {
    KeyPointer key(EVP_EC_gen("P-256"));
    require(key != nullptr, failure);
    return key;
}

/// A version 3 certificate without extensions, not signed.
CertificatePointer unsignedCertificate(EVP_PKEY* key, const char* subject, const CertificateTerms& terms) {
    CertificatePointer certificate(X509_new());
    std::uint64_t serial = 0;  // of 63 bits: a positive number
    require(certificate && RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof(serial)) == 1 &&
                ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), serial >> 1) == 1 &&
                X509_set_version(certificate.get(), X509_VERSION_3) == 1 &&
                X509_set_pubkey(certificate.get(), key) == 1 &&
                X509_gmtime_adj(X509_getm_notBefore(certificate.get()), terms.notBefore.count()) != nullptr &&
                X509_gmtime_adj(X509_getm_notAfter(certificate.get()), terms.notAfter.count()) != nullptr &&
                X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                                           reinterpret_cast<const unsigned char*>(subject), -1, -1, 0) == 1,
            failure);
    return certificate;
}

struct Extension {
    int kind;
    std::string value;
};

/// Completes a certificate in its issuer's name.
void sign(X509* certificate, X509* issuer, EVP_PKEY* issuerKey, const std::vector<Extension>& extensions) {
    X509V3_CTX context{};
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    for (const auto& [kind, value] : extensions) {
        const ExtensionPointer extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
        require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, failure);
    }
    require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1 &&
                X509_sign(certificate, issuerKey, EVP_sha256()) > 0,
            failure);
}

/// The names as OpenSSL reads them.
std::string subjectAltName(const std::vector<std::string>& names) {
    std::string list;
    for (const auto& name : names) {
        // It would be read as more than one.
        require(!name.empty() && name.find_first_of(", ") == std::string::npos, "no name for a certificate: " + name);
        const bool isAddress = AddressPointer(a2i_IPADDRESS(name.c_str())) != nullptr;
        if (!list.empty()) list += ',';
        list += (isAddress ? "IP:" : "DNS:") + name;
    }
    return list;
}

}  // namespace

Certificate::Certificate(ssl_ctx_st* context) : context_(context, SSL_CTX_free) {}

Authority::Authority() : key_(newKey()) {
    auto own = unsignedCertificate(key_.get(), "Demo authority", {});
    sign(own.get(), own.get(), key_.get(),
         {{NID_basic_constraints, "critical,CA:TRUE"},
          {NID_key_usage, "critical,keyCertSign,cRLSign"},
          {NID_subject_key_identifier, "hash"}});
    certificate_ = std::move(own);
}

Certificate Authority::issue(const CertificateTerms& terms) const {
    const auto key = newKey();
    const auto issued = unsignedCertificate(key.get(), "Demo server", terms);
    sign(issued.get(), certificate_.get(), key_.get(),
         {{NID_basic_constraints, "critical,CA:FALSE"},
          {NID_key_usage, "critical,digitalSignature"},
          {NID_ext_key_usage, "serverAuth"},
          {NID_authority_key_identifier, "keyid:always"},
          {NID_subject_alt_name, subjectAltName(terms.names)}});
    Certificate certificate(SSL_CTX_new(TLS_server_method()));
    require(certificate.context() != nullptr && SSL_CTX_use_certificate(certificate.context(), issued.get()) == 1 &&
                SSL_CTX_use_PrivateKey(certificate.context(), key.get()) == 1,
            failure);
    return certificate;
}

std::string Authority::pem() const {
    const auto pem =
        written([this](BIO* stream) { return PEM_write_bio_X509(stream, certificate_.get()) == 1; }, failure);
    return std::string(Foundation::textView(pem));
}

}  // namespace DemoServer
