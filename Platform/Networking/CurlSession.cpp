#include "Networking/CurlSession.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "Foundation/Environment.h"
#include "Networking/LibCurl.h"

namespace Foundation {

namespace {

using Code = URLError::Code;

using Clock = std::chrono::steady_clock;

constexpr int maximumRedirects = 20;
constexpr double longestPatience = 2e6;  // seconds; libcurl keeps milliseconds in an int
constexpr std::size_t maximumHead = std::size_t{256} << 10;

/// One exchange with a server: what the callbacks fill and watch.
struct Exchange {
    Data data;
    std::size_t headLength = 0;
    bool hasWholeHead = false;
    bool tooLarge = false;
    bool outOfMemory = false;
    bool timedOut = false;

    std::chrono::duration<double> patience{60};
    Clock::time_point lastByte = Clock::now();
    curl_off_t sent = 0;
};

std::size_t receive(char* bytes, std::size_t size, std::size_t count, void* target) noexcept {
    auto& exchange = *static_cast<Exchange*>(target);
    const std::size_t length = size * count;
    exchange.lastByte = Clock::now();
    // The server's own word for the length (or none) cannot be trusted: what arrives is counted.
    exchange.tooLarge = length > CurlSession::maximumAnswer - exchange.data.size();
    if (exchange.tooLarge) return 0;
    try {
        exchange.data.insert(exchange.data.end(), bytes, bytes + length);
    } catch (const std::bad_alloc&) {
        exchange.outOfMemory = true;
        return 0;
    }
    return length;
}

std::size_t receiveHeader(char* bytes, std::size_t size, std::size_t count, void* target) noexcept {
    auto& exchange = *static_cast<Exchange*>(target);
    const std::string_view line(bytes, size * count);
    exchange.lastByte = Clock::now();
    exchange.headLength += line.size();
    exchange.tooLarge = exchange.headLength > maximumHead;
    if (exchange.tooLarge) return 0;
    // libcurl takes a head that is cut short between two lines for a whole one, with no body: the blank line tells.
    if (line == "\r\n" || line == "\n") exchange.hasWholeHead = true;
    if (line.starts_with("HTTP/")) exchange.hasWholeHead = false;
    return line.size();
}

/// Called when the connection stands: what it took is not part of the wait for an answer.
int beginExchange(void* target, char*, char*, int, int) noexcept {
    static_cast<Exchange*>(target)->lastByte = Clock::now();
    return CURL_PREREQFUNC_OK;
}

/// Called at least once a second. libcurl's own limit is on the mean speed, which a slow but steady server misses.
int watch(void* target, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) noexcept {
    auto& exchange = *static_cast<Exchange*>(target);
    if (std::exchange(exchange.sent, sent) != sent) exchange.lastByte = Clock::now();
    exchange.timedOut = Clock::now() - exchange.lastByte > exchange.patience;
    return exchange.timedOut ? 1 : 0;
}

HeaderList headerList(const URLRequest& request) {
    HeaderList list;
    for (const auto& [name, value] : request.headers) {
        using namespace std::string_view_literals;
        // libcurl leaves a header out that ends in its colon; one without a value is spelled with a semicolon.
        const bool isEmpty = value.find_first_not_of(" \t") == std::string::npos;
        const std::string line = isEmpty ? name + ';' : name + ": " + value;
        // A line break would let the value write headers of its own.
        if (line.find_first_of("\r\n\0"sv) != std::string::npos) throw URLError(Code::cannotSendHeader);
        curl_slist* longer = LibCurl::shared().curl_slist_append(list.get(), line.c_str());
        if (longer == nullptr) throw std::bad_alloc();
        (void)list.release();
        list.reset(longer);
    }
    return list;
}

/// What holds for every request; a handle keeps it.
void configure(CURL* handle) {
    set(handle, CURLOPT_NOSIGNAL, 1L);
    set(handle, CURLOPT_QUICK_EXIT, 1L);  // a look-up that hangs must not hold the handle's end up
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    set(handle, CURLOPT_PATH_AS_IS, 1L);  // the address is sent as it is spelled
    set(handle, CURLOPT_ACCEPT_ENCODING, "");
    set(handle, CURLOPT_WRITEFUNCTION, &receive);
    set(handle, CURLOPT_HEADERFUNCTION, &receiveHeader);
    set(handle, CURLOPT_XFERINFOFUNCTION, &watch);
    set(handle, CURLOPT_PREREQFUNCTION, &beginExchange);
    set(handle, CURLOPT_NOPROGRESS, 0L);

    // The authorities are looked up one by one in a directory; reading the bundle of all costs 25 ms at a cold start.
    const auto file = environmentVariable("SSL_CERT_FILE");
    const auto directory = environmentVariable("SSL_CERT_DIR");
    set(handle, CURLOPT_CAINFO, file ? file->data() : static_cast<const char*>(nullptr));
    if (directory)
        set(handle, CURLOPT_CAPATH, directory->data());
    else if (file)
        set(handle, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
}

/// Scheme, host and port: what a connection and a token belong to. Another spelling of the same counts as another.
/// Nothing for an address that is not one of HTTP: libcurl would guess the scheme of "chat.example/a", and take
/// "http:/chat.example" for "http://chat.example".
std::optional<std::string> originOf(const URL& url) {
    const auto scheme = url.scheme();
    const auto host = url.host();
    if (!scheme || !host || host->empty()) return std::nullopt;
    if (!equalIgnoringCase(*scheme, "http") && !equalIgnoringCase(*scheme, "https")) return std::nullopt;
    return *scheme + "://" + *host + ':' + url.port().value_or("");
}

/// The request that the answer sends the client on to; nothing where it is the last. Statuses beside these five are
/// answers, whatever "Location" says.
std::optional<URLRequest> redirected(const URLRequest& request, CURL* handle, long status) {
    const char* location = nullptr;
    if (status != 301 && status != 302 && status != 303 && status != 307 && status != 308) return std::nullopt;
    LibCurl::shared().curl_easy_getinfo(handle, CURLINFO_REDIRECT_URL, &location);
    if (location == nullptr) return std::nullopt;
    auto url = URL::parse(location);
    if (!url) throw URLError(Code::unsupportedURL);

    URLRequest next = request;
    if (originOf(*url) != originOf(request.url))
        std::erase_if(next.headers,
                      [](const auto& header) { return equalIgnoringCase(header.first, "Authorization"); });
    next.url = *std::move(url);
    if (status < 307 && next.httpMethod == "POST") {
        next.httpMethod = "GET";
        next.httpBody.clear();
        std::erase_if(next.headers, [](const auto& header) { return equalIgnoringCase(header.first, "Content-Type"); });
    }
    return next;
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
    static std::once_flag once;
    std::call_once(once, [] {
        try {
            std::thread(LibCurl::load).detach();
            // A process that exits meanwhile waits: what it tears down is still being set up.
            std::atexit(LibCurl::load);
        } catch (const std::system_error&) {
            // Without a thread it is loaded by the first request.
        }
    });
}

CurlSession::~CurlSession() {
    for (const auto& [origin, handles] : idle_)
        for (void* handle : handles)
            LibCurl::shared().curl_easy_cleanup(handle);
}

void* CurlSession::take(const std::string& origin) {
    {
        const std::lock_guard lock(mutex_);
        const auto found = idle_.find(origin);
        if (found != idle_.end()) {  // an origin without idle handles is not in the map
            void* handle = found->second.back();
            found->second.pop_back();
            if (found->second.empty()) idle_.erase(found);
            --idleCount_;
            return handle;
        }
    }
    std::unique_ptr<CURL, HandleRelease> handle(LibCurl::shared().curl_easy_init());
    if (!handle) throw std::bad_alloc();
    configure(handle.get());
    return handle.release();
}

void CurlSession::giveBack(const std::string& origin, void* handle) {
    void* surplus = handle;
    {
        const std::lock_guard lock(mutex_);
        try {
            idle_[origin].push_back(handle);
            surplus = nullptr;
            ++idleCount_;
        } catch (const std::bad_alloc&) {
            // Without memory for the pool the connection is simply not kept.
            const auto found = idle_.find(origin);
            if (found != idle_.end() && found->second.empty()) idle_.erase(found);
        }
        if (idleCount_ > maximumIdle) {
            const auto fullest = std::max_element(idle_.begin(), idle_.end(), [](const auto& left, const auto& right) {
                return left.second.size() < right.second.size();
            });
            surplus = fullest->second.front();
            fullest->second.erase(fullest->second.begin());
            if (fullest->second.empty()) idle_.erase(fullest);
            --idleCount_;
        }
    }
    if (surplus != nullptr) LibCurl::shared().curl_easy_cleanup(surplus);
}

/// Makes one request, whatever its answer; returns the body and the status.
std::pair<Data, long> CurlSession::perform(void* handle, const URLRequest& request) {
    const HeaderList headers = headerList(request);
    Exchange exchange;
    if (!(request.timeoutInterval > 0)) throw URLError(Code::unknown);
    const double patience = std::min(request.timeoutInterval, longestPatience);
    exchange.patience = std::chrono::duration<double>(patience);

    // All that a request sets is set by each: a handle still holds, and points to, what was the last one's.
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::ceil(patience * 1000)));  // 0 is libcurl's own
    set(handle, CURLOPT_URL, request.url.absoluteString().c_str());
    set(handle, CURLOPT_HTTPHEADER, headers.get());
    set(handle, CURLOPT_WRITEDATA, static_cast<void*>(&exchange));
    set(handle, CURLOPT_HEADERDATA, static_cast<void*>(&exchange));
    set(handle, CURLOPT_XFERINFODATA, static_cast<void*>(&exchange));
    set(handle, CURLOPT_PREREQDATA, static_cast<void*>(&exchange));
    if (request.httpMethod == "POST") {
        set(handle, CURLOPT_POST, 1L);
        set(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.httpBody.size()));
        // Without a pointer libcurl would ask a callback for the body.
        set(handle, CURLOPT_POSTFIELDS,
            request.httpBody.empty() ? "" : reinterpret_cast<const char*>(request.httpBody.data()));
    } else if (request.httpMethod == "GET") {
        set(handle, CURLOPT_HTTPGET, 1L);
    } else {
        throw URLError(Code::unknown);
    }

    const CURLcode result = LibCurl::shared().curl_easy_perform(handle);
    if (exchange.tooLarge) throw URLError(Code::dataLengthExceedsMaximum);
    if (exchange.timedOut) throw URLError(Code::timedOut);
    if (exchange.outOfMemory) throw std::bad_alloc();
    if (result != CURLE_OK) throw URLError(codeFor(result, handle));
    if (!exchange.hasWholeHead) throw URLError(Code::networkConnectionLost);
    long status = 0;
    LibCurl::shared().curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    return {std::move(exchange.data), status};
}

std::pair<Data, HTTPURLResponse> CurlSession::data(const URLRequest& request) {
    // Redirects are followed here, not by libcurl: each address is looked at by the one parser of ours, and the token
    // stays behind by one rule.
    std::optional<URLRequest> next;
    for (int redirects = 0; redirects <= maximumRedirects; ++redirects) {
        const URLRequest& current = next ? *next : request;
        auto origin = originOf(current.url);
        if (!origin) throw URLError(Code::unsupportedURL);
        const Lease lease(*this, *std::move(origin));
        auto [data, status] = perform(lease.handle(), current);
        auto following = redirected(current, lease.handle(), status);
        if (!following) return {std::move(data), {static_cast<int>(status)}};
        next = std::move(following);
    }
    throw URLError(Code::httpTooManyRedirects);
}

}  // namespace Foundation
