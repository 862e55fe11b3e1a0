#include "Desktop/RecentMessages.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>

#include <glib.h>

#include "Foundation/Files.h"
#include "Foundation/JSONCoding.h"

namespace {

struct File {
    std::vector<std::string> digests;
};

}  // namespace

template <>
constexpr auto Foundation::fields<File> = std::tuple{required("digests", &File::digests)};

namespace Desktop {

using Foundation::CocoaError;

namespace {

constexpr std::size_t most = 256;

std::string digestOf(const std::string& identifier, const Foundation::Data& message) {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> sum(g_checksum_new(G_CHECKSUM_SHA256),
                                                                     &g_checksum_free);
    const auto add = [&](const void* bytes, std::size_t size) {
        g_checksum_update(sum.get(), static_cast<const guchar*>(bytes), static_cast<gssize>(size));
    };
    add(identifier.c_str(), identifier.size() + 1);  // its end, too: no text on the bus holds a NUL
    add(message.data(), message.size());
    return g_checksum_get_string(sum.get());
}

}  // namespace

RecentMessages::RecentMessages(std::filesystem::path file) : file_(std::move(file)) {
    try {
        digests_ = Foundation::decodeJSON<File>(Foundation::textView(Foundation::Files::read(file_))).digests;
    } catch (const CocoaError& error) {
        if (error.code() != CocoaError::Code::fileReadNoSuchFile) throw;
    } catch (const Foundation::DecodingError&) {
        // What they were is not known any more.
    }
}

bool RecentMessages::contain(const std::string& identifier, const Foundation::Data& message) const {
    return std::find(digests_.begin(), digests_.end(), digestOf(identifier, message)) != digests_.end();
}

void RecentMessages::add(const std::string& identifier, const Foundation::Data& message) {
    digests_.push_back(digestOf(identifier, message));
    if (digests_.size() > most) digests_.erase(digests_.begin());
    Foundation::Files::AtomicWrite(file_, Foundation::bytes(Foundation::encodeJSON(File{digests_}))).commit();
}

}  // namespace Desktop
