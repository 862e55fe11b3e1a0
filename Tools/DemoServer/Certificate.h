#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

struct evp_pkey_st;
struct ssl_ctx_st;
struct x509_st;

namespace DemoServer {

/// A server's X.509 certificate (RFC 5280) with its private key. Copies share both, which never change; safe to
/// use from several threads.
class Certificate {
public:
    /// OpenSSL's context for the server's side of TLS connections. It lives as long as a copy of this.
    ssl_ctx_st* context() const { return context_.get(); }

private:
    friend class Authority;
    explicit Certificate(ssl_ctx_st* context);

    std::shared_ptr<ssl_ctx_st> context_;
};

/// What a certificate is good for. The times are counted from its issue; negative ones are earlier.
struct CertificateTerms {
    /// Its subjectAltName: host names and IP addresses.
    std::vector<std::string> names = {"127.0.0.1", "localhost"};
    std::chrono::seconds notBefore = std::chrono::hours(-1);
    std::chrono::seconds notAfter = std::chrono::hours(24 * 365);
};

/// A certificate authority of its own, with a new P-256 key, valid for a year. Copies share the key, which never
/// changes; safe to use from several threads. Where OpenSSL fails, everything here throws `std::runtime_error`.
class Authority {
public:
    Authority();

    /// Throws `std::runtime_error` for a name that cannot stand in a certificate, too.
    Certificate issue(const CertificateTerms& terms = {}) const;

    /// The authority's own certificate as PEM (RFC 7468): what makes a client trust those it issued.
    std::string pem() const;

private:
    std::shared_ptr<evp_pkey_st> key_;
    std::shared_ptr<x509_st> certificate_;
};

}  // namespace DemoServer
