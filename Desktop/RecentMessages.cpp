#include "Desktop/RecentMessages.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>

#include <glib.h>

#include "Desktop/Log.h"
#include "Foundation/Files.h"
#include "Foundation/JSONCoding.h"

namespace {

struct File {
    std::vector<std::string> keys;
};

}  // namespace

template <>
constexpr auto Foundation::fields<File> = std::tuple{required("keys", &File::keys)};

namespace Desktop {

using Foundation::CocoaError;

namespace {

constexpr std::size_t most = 256;

}  // namespace

RecentMessages::RecentMessages(std::filesystem::path file) : file_(std::move(file)) {
    try {
        keys_ = Foundation::decodeJSON<File>(Foundation::textView(Foundation::Files::read(file_))).keys;
    } catch (const CocoaError& error) {
        if (error.code() == CocoaError::Code::fileReadNoSuchFile) return;
        log().error("Which messages were taken is not known any more: ", os::Public{error.what()});
    } catch (const Foundation::DecodingError&) {
        // What they were is not known any more.
    }
}

std::string RecentMessages::keyOf(const std::string& identifier, const Foundation::Data& message) {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> sum(g_checksum_new(G_CHECKSUM_SHA256),
                                                                     &g_checksum_free);
    const auto add = [&](const void* bytes, std::size_t size) {
        g_checksum_update(sum.get(), static_cast<const guchar*>(bytes), static_cast<gssize>(size));
    };
    add(identifier.c_str(), identifier.size() + 1);  // its end, too: no text on the bus holds a NUL
    add(message.data(), message.size());
    return g_checksum_get_string(sum.get());
}

bool RecentMessages::contain(const std::string& key) const {
    return std::find(keys_.begin(), keys_.end(), key) != keys_.end();
}

void RecentMessages::add(const std::string& key) {
    keys_.push_back(key);
    if (keys_.size() > most) keys_.erase(keys_.begin());
    isSaved_ = false;
}

void RecentMessages::save() {
    if (isSaved_) return;
    Foundation::Files::AtomicWrite(file_, Foundation::bytes(Foundation::encodeJSON(File{keys_}))).commit();
    isSaved_ = true;
}

}  // namespace Desktop
