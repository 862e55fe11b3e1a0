#pragma once

#include <exception>

namespace Foundation {

/// A request that got no answer, in the numbers of the platform's URL error domain.
class URLError final : public std::exception {
public:
    enum class Code {
        unknown = -1,
        timedOut = -1001,
        unsupportedURL = -1002,
        cannotFindHost = -1003,
        cannotConnectToHost = -1004,
        networkConnectionLost = -1005,
        httpTooManyRedirects = -1007,
        badServerResponse = -1011,
        cannotDecodeContentData = -1016,
        dataLengthExceedsMaximum = -1103,
        secureConnectionFailed = -1200,
        serverCertificateHasBadDate = -1201,
        serverCertificateUntrusted = -1202,  ///< for another name, or not fit for its use
        serverCertificateHasUnknownRoot = -1203,
        serverCertificateNotYetValid = -1204,
        cannotSendHeader = -9000  ///< none of the platform's: a header's name or value holds a line break or a NUL
    };

    explicit URLError(Code code);

    Code code() const { return code_; }

    /// The localised description: a sentence that names the kind of failure, and no address.
    const char* what() const noexcept override;

    friend bool operator==(const URLError& left, const URLError& right) { return left.code_ == right.code_; }

private:
    Code code_;
};

}  // namespace Foundation
