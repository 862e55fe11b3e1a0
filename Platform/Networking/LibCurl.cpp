#include "Networking/LibCurl.h"

#include <exception>
#include <stdexcept>

#include <openssl/x509_vfy.h>

#include "os/Logger.h"

namespace Foundation {

using Code = URLError::Code;

namespace {

/// Why the certificate was refused, in the numbers of the TLS library that libcurl stands on. A certificate that is
/// good but for another name has none.
Code certificateCode(CURL* handle) {
    long reason = X509_V_OK;
    LibCurl::shared().curl_easy_getinfo(handle, CURLINFO_SSL_VERIFYRESULT, &reason);
    switch (reason) {
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return Code::serverCertificateHasBadDate;
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return Code::serverCertificateNotYetValid;
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
            return Code::serverCertificateHasUnknownRoot;
        default:
            return Code::serverCertificateUntrusted;
    }
}

}  // namespace

LibCurl::LibCurl() {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw URLError(Code::unknown);
}

const LibCurl& LibCurl::shared() {
    try {
        static const LibCurl library;
        return library;
    } catch (const std::runtime_error& error) {
        os::Logger("com.norvane.tessel", "Networking").error("No request can be made: ", os::Public{error.what()});
        throw URLError(Code::unknown);
    }
}

void LibCurl::load() noexcept {
    try {
        (void)shared();
    } catch (const std::exception&) {
        // It is told, and met by each request in its turn.
    }
}

bool equalIgnoringCase(const std::string& left, const char* right) {
    return LibCurl::shared().curl_strequal(left.c_str(), right) != 0;
}

Code codeFor(CURLcode result, CURL* handle) {
    switch (result) {
        case CURLE_URL_MALFORMAT:
            return Code::unsupportedURL;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
            return Code::cannotFindHost;
        case CURLE_COULDNT_CONNECT:
            return Code::cannotConnectToHost;
        case CURLE_OPERATION_TIMEDOUT:
            return Code::timedOut;
        case CURLE_PEER_FAILED_VERIFICATION:
            return certificateCode(handle);
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
            return Code::secureConnectionFailed;
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return Code::networkConnectionLost;
        case CURLE_UNSUPPORTED_PROTOCOL:  // the address has been looked at: it is the answer that is no HTTP
        case CURLE_WEIRD_SERVER_REPLY:
            return Code::badServerResponse;
        case CURLE_BAD_CONTENT_ENCODING:
            return Code::cannotDecodeContentData;
        default:
            return Code::unknown;
    }
}

}  // namespace Foundation
