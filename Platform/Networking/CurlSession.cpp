#include "Networking/CurlSession.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

#include <curl/curl.h>

#include "Foundation/GroupContainer.h"

namespace Foundation {

namespace {

using Code = URLError::Code;

struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

/// What the write callback fills.
struct Answer {
    Data data;
    bool tooLarge = false;
    bool outOfMemory = false;
};

std::size_t receive(char* bytes, std::size_t size, std::size_t count, void* target) noexcept {
    auto& answer = *static_cast<Answer*>(target);
    const std::size_t length = size * count;
    // The server's own word for the length (or none) cannot be trusted: what arrives is counted.
    answer.tooLarge = length > CurlSession::maximumAnswer - answer.data.size();
    if (answer.tooLarge) return 0;
    try {
        answer.data.insert(answer.data.end(), bytes, bytes + length);
    } catch (const std::bad_alloc&) {
        answer.outOfMemory = true;
        return 0;
    }
    return length;
}

Code codeFor(CURLcode result) {
    switch (result) {
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_URL_MALFORMAT: return Code::unsupportedURL;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST: return Code::cannotFindHost;
        case CURLE_COULDNT_CONNECT: return Code::cannotConnectToHost;
        case CURLE_OPERATION_TIMEDOUT: return Code::timedOut;
        case CURLE_TOO_MANY_REDIRECTS: return Code::httpTooManyRedirects;
        case CURLE_PEER_FAILED_VERIFICATION: return Code::serverCertificateUntrusted;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE: return Code::secureConnectionFailed;
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM: return Code::networkConnectionLost;
        case CURLE_WEIRD_SERVER_REPLY: return Code::badServerResponse;
        case CURLE_BAD_CONTENT_ENCODING: return Code::cannotDecodeContentData;
        default: return Code::unknown;
    }
}

template <class Value>
void set(CURL* handle, CURLoption option, Value value) {
    const CURLcode result = curl_easy_setopt(handle, option, value);
    if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != CURLE_OK) throw URLError(Code::unknown);
}

HeaderList headerList(const URLRequest& request) {
    HeaderList list;
    for (const auto& [name, value] : request.headers) {
        using namespace std::string_view_literals;
        const std::string line = name + ": " + value;
        // A line break would let the value write headers of its own.
        if (line.find_first_of("\r\n\0"sv) != std::string::npos) throw URLError(Code::cannotSendHeader);
        curl_slist* longer = curl_slist_append(list.get(), line.c_str());
        if (longer == nullptr) throw std::bad_alloc();
        (void)list.release();
        list.reset(longer);
    }
    return list;
}

/// What holds for every request.
void configure(CURL* handle) {
    set(handle, CURLOPT_NOSIGNAL, 1L);
    set(handle, CURLOPT_QUICK_EXIT, 1L);  // a look-up that hangs must not hold the handle's end up
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    set(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(handle, CURLOPT_FOLLOWLOCATION, 1L);
    set(handle, CURLOPT_MAXREDIRS, 20L);
    set(handle, CURLOPT_PATH_AS_IS, 1L);  // the address is sent as it is spelled
    set(handle, CURLOPT_ACCEPT_ENCODING, "");
    set(handle, CURLOPT_WRITEFUNCTION, &receive);

    // The authorities are looked up one by one in a directory; reading the bundle of all costs 25 ms at a cold start.
    const auto file = environmentVariable("SSL_CERT_FILE");
    const auto directory = environmentVariable("SSL_CERT_DIR");
    set(handle, CURLOPT_CAINFO, file ? file->data() : static_cast<const char*>(nullptr));
    if (directory)
        set(handle, CURLOPT_CAPATH, directory->data());
    else if (file)
        set(handle, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
}

/// Scheme, host and port: what a connection belongs to.
std::string originOf(const URL& url) {
    return url.scheme().value_or("") + "://" + url.host().value_or("") + ':' + url.port().value_or("");
}

}  // namespace

/// A handle for the length of one request.
class CurlSession::Lease {
public:
    Lease(CurlSession& session, std::string origin)
        : session_(session), origin_(std::move(origin)), handle_(session.take(origin_)) {}
    ~Lease() { session_.giveBack(origin_, handle_); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    CURL* handle() const { return handle_; }

private:
    CurlSession& session_;
    std::string origin_;
    CURL* handle_;
};

CurlSession::CurlSession() {
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (initialised != CURLE_OK) throw URLError(Code::unknown);
}

CurlSession::~CurlSession() {
    for (const auto& [origin, handles] : idle_)
        for (void* handle : handles) curl_easy_cleanup(handle);
}

void* CurlSession::take(const std::string& origin) {
    {
        const std::lock_guard lock(mutex_);
        const auto found = idle_.find(origin);
        if (found != idle_.end()) {
            void* handle = found->second.back();
            found->second.pop_back();
            if (found->second.empty()) idle_.erase(found);
            --idleCount_;
            return handle;
        }
    }
    CURL* handle = curl_easy_init();
    if (handle == nullptr) throw std::bad_alloc();
    return handle;
}

void CurlSession::giveBack(const std::string& origin, void* handle) {
    curl_easy_reset(handle);  // options go, the connection stays
    void* surplus = handle;
    try {
        const std::lock_guard lock(mutex_);
        idle_[origin].push_back(handle);
        surplus = nullptr;
        if (++idleCount_ > maximumIdle) {
            const auto fullest = std::max_element(idle_.begin(), idle_.end(), [](const auto& left, const auto& right) {
                return left.second.size() < right.second.size();
            });
            surplus = fullest->second.front();
            fullest->second.erase(fullest->second.begin());
            if (fullest->second.empty()) idle_.erase(fullest);
            --idleCount_;
        }
    } catch (const std::bad_alloc&) {
        // Without memory for the pool the connection is simply not kept.
    }
    if (surplus != nullptr) curl_easy_cleanup(surplus);
}

std::pair<Data, HTTPURLResponse> CurlSession::data(const URLRequest& request) {
    const HeaderList headers = headerList(request);
    const Lease lease(*this, originOf(request.url));
    CURL* const handle = lease.handle();
    Answer answer;

    configure(handle);
    const auto seconds = static_cast<long>(std::max(1.0, request.timeoutInterval));
    set(handle, CURLOPT_CONNECTTIMEOUT, seconds);
    set(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(handle, CURLOPT_LOW_SPEED_TIME, seconds);
    set(handle, CURLOPT_URL, request.url.absoluteString().c_str());
    set(handle, CURLOPT_HTTPHEADER, headers.get());
    set(handle, CURLOPT_WRITEDATA, static_cast<void*>(&answer));
    if (request.httpMethod == "POST") {
        set(handle, CURLOPT_POST, 1L);
        set(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.httpBody.size()));
        set(handle, CURLOPT_POSTFIELDS, request.httpBody.empty() ? "" : reinterpret_cast<const char*>(request.httpBody.data()));
    } else if (request.httpMethod != "GET") {
        throw URLError(Code::unknown);
    }

    const CURLcode result = curl_easy_perform(handle);
    if (answer.tooLarge) throw URLError(Code::dataLengthExceedsMaximum);
    if (answer.outOfMemory || result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != CURLE_OK) throw URLError(codeFor(result));
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    return {std::move(answer.data), {static_cast<int>(status)}};
}

}  // namespace Foundation
