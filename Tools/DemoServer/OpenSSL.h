#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include <openssl/bio.h>
#include <openssl/err.h>

#include "Foundation/Data.h"
#include "Foundation/Releaser.h"

/// What the sources that use OpenSSL share. Headers of what they offer do not include it.
namespace DemoServer {

using StreamPointer = std::unique_ptr<BIO, Foundation::Releaser<BIO_free_all>>;

/// Throws `std::runtime_error` where a step failed. OpenSSL's own errors are dropped: nobody reads them later.
inline void require(bool succeeded, const std::string& failure) {
    ERR_clear_error();
    if (!succeeded) throw std::runtime_error(failure);
}

/// What `write` puts into the stream that it is handed; it returns whether it could.
template <class Write>
Foundation::Data written(Write write, const std::string& failure) {
    const StreamPointer stream(BIO_new(BIO_s_mem()));
    require(stream && write(stream.get()), failure);
    Foundation::Data bytes(BIO_ctrl_pending(stream.get()));
    BIO_read(stream.get(), bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
}

}  // namespace DemoServer
