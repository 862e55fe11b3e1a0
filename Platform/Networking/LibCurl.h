#pragma once

#include <memory>
#include <new>
#include <string>

#include <curl/curl.h>

#include "Foundation/DynamicLibrary.h"
#include "Networking/URLError.h"

namespace Foundation {

/// libcurl, and more than thirty libraries behind it: they take longer to load than all that a push needs in front of
/// its first request.
struct LibCurl {
    /// Throws `URLError` where it cannot be loaded.
    static const LibCurl& shared();

    /// Loads it, or waits until another thread has. Where it cannot be, that is logged, and met by each request.
    static void load() noexcept;

    DynamicLibrary library{"libcurl.so.4", DynamicLibrary::Binding::atCall};  // half a millisecond of a start
#define TESSEL_FUNCTION(name) decltype(::name)* const name = library.function<decltype(::name)>(#name)
    TESSEL_FUNCTION(curl_easy_cleanup);
    TESSEL_FUNCTION(curl_easy_getinfo);
    TESSEL_FUNCTION(curl_easy_init);
    TESSEL_FUNCTION(curl_easy_perform);
    TESSEL_FUNCTION(curl_easy_setopt);
    TESSEL_FUNCTION(curl_global_init);
    TESSEL_FUNCTION(curl_slist_append);
    TESSEL_FUNCTION(curl_slist_free_all);
    TESSEL_FUNCTION(curl_strequal);
#undef TESSEL_FUNCTION

private:
    LibCurl();
};

/// Whether two ASCII texts are equal but for the case of their letters.
bool equalIgnoringCase(const std::string& left, const char* right);

struct HeaderListRelease {
    void operator()(curl_slist* list) const { LibCurl::shared().curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, HeaderListRelease>;

struct HandleRelease {
    void operator()(CURL* handle) const { LibCurl::shared().curl_easy_cleanup(handle); }
};

/// What the result of a transfer says of it.
URLError::Code codeFor(CURLcode result, CURL* handle);

/// Sets an option of a handle. Throws `std::bad_alloc`, and `URLError` where libcurl has no such option.
template <class Value>
void set(CURL* handle, CURLoption option, Value value) {
    const CURLcode result = LibCurl::shared().curl_easy_setopt(handle, option, value);
    if (result == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (result != CURLE_OK) throw URLError(URLError::Code::unknown);
}

}  // namespace Foundation
