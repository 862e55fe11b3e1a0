#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "Foundation/Data.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// What a client registers with the chat server, so that pushes reach its device: "apple_rn-v20:0aff".
struct PushDeviceID {
    /// The push environment.
    enum class Platform { release, development };

    /// The server's answer to whether pushes reach the device.
    enum class Delivery { delivers, rejected, unknown };

    /// Of the identifier's format.
    static constexpr int version = 20;

    Platform platform = Platform::release;
    Foundation::Data token;  ///< the device token as the push service gave it, of any length

    /// The environment of the client with this bundle identifier: development for one that ends in ".dev".
    static Platform platformOfBundle(std::string_view bundleID);

    /// The token in lower-case hexadecimal, two digits a byte.
    std::string hexToken() const;

    /// The whole identifier: platform, version and token.
    std::string rawValue() const;

    friend bool operator==(const PushDeviceID&, const PushDeviceID&) = default;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 2> Foundation::wireNames<ChatModel::PushDeviceID::Platform> = {
    "apple_rn", "apple_rnbeta"};

template <>
inline constexpr std::array<std::string_view, 3> Foundation::wireNames<ChatModel::PushDeviceID::Delivery> = {
    "true", "false", "unknown"};

template <>
struct std::hash<ChatModel::PushDeviceID> {
    std::size_t operator()(const ChatModel::PushDeviceID& id) const noexcept;
};
