#include "Networking/URLError.h"

namespace Foundation {

URLError::URLError(Code code) : code_(code) {}

const char* URLError::what() const noexcept {
    switch (code_) {
        case Code::unknown:
            break;
        case Code::timedOut:
            return "The request timed out.";
        case Code::unsupportedURL:
            return "The address is not one of HTTP or HTTPS.";
        case Code::cannotFindHost:
            return "A server with the specified hostname could not be found.";
        case Code::cannotConnectToHost:
            return "Could not connect to the server.";
        case Code::networkConnectionLost:
            return "The network connection was lost.";
        case Code::httpTooManyRedirects:
            return "There were too many redirects.";
        case Code::badServerResponse:
            return "The server's answer is not HTTP.";
        case Code::cannotDecodeContentData:
            return "The answer's content could not be decoded.";
        case Code::dataLengthExceedsMaximum:
            return "The answer is too large.";
        case Code::secureConnectionFailed:
            return "A secure connection to the server could not be made.";
        case Code::serverCertificateHasBadDate:
            return "The server's certificate has expired.";
        case Code::serverCertificateUntrusted:
            return "The server's certificate is not trusted.";
        case Code::serverCertificateHasUnknownRoot:
            return "The server's certificate is from an unknown authority.";
        case Code::serverCertificateNotYetValid:
            return "The server's certificate is not valid yet.";
        case Code::cannotSendHeader:
            return "A header of the request cannot be sent.";
    }
    return "The request failed.";
}

}  // namespace Foundation
