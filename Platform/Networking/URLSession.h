#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Foundation/Data.h"
#include "Foundation/URL.h"
#include "Networking/URLError.h"

namespace Foundation {

/// A request over HTTP. Nothing is cached, and no cookies are kept.
struct URLRequest {
    URL url;
    std::string httpMethod = "GET";                            ///< or "POST"; any other is an error
    std::vector<std::pair<std::string, std::string>> headers;  ///< names and values, sent as they stand
    Data httpBody;                                             ///< sent with POST alone
    /// Seconds: for the connection to be made, then for each wait without a byte. What is not above 0 is an error; no
    /// connection is waited for longer than 23 days.
    double timeoutInterval = 60;
};

/// What was answered; any status is an answer.
struct HTTPURLResponse {
    int statusCode = 0;  ///< the last answer's, behind all redirects
};

/// Makes HTTP requests. Its one operation is virtual, so that a test says when an answer comes and which.
class URLSession {
public:
    virtual ~URLSession() = default;

    /// The process-wide session, which lives as long as the process.
    static std::shared_ptr<URLSession> shared();

    /// Makes the request and waits for the whole answer. Up to 20 redirects are followed (301, 302, 303, 307, 308): the
    /// first three turn a POST into a GET, and "Authorization" stays behind on the way to another scheme, host or port.
    /// Compressed content is decoded. An answer of more than 8 MiB is an error. Throws `URLError`. Safe to call from
    /// several threads.
    virtual std::pair<Data, HTTPURLResponse> data(const URLRequest& request) = 0;
};

}  // namespace Foundation
