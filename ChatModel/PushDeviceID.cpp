#include "ChatModel/PushDeviceID.h"

#include "Foundation/Hash.h"

using ChatModel::PushDeviceID;

PushDeviceID::Platform PushDeviceID::platformOfBundle(std::string_view bundleID) {
    return bundleID.ends_with(".dev") ? Platform::development : Platform::release;
}

std::string PushDeviceID::hexToken() const {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * token.size());
    for (const std::uint8_t byte : token)
        text += {digits[byte >> 4], digits[byte & 15]};
    return text;
}

std::string PushDeviceID::rawValue() const {
    return std::string(Foundation::wireName(platform)) + "-v" + std::to_string(version) + ':' + hexToken();
}

std::size_t std::hash<PushDeviceID>::operator()(const PushDeviceID& id) const noexcept {
    return Foundation::hashOf(Foundation::wireName(id.platform), Foundation::textView(id.token));
}
