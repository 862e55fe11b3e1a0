#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace ChatModel {

/// How somebody wants to be notified, in general or in one channel: {"desktop":"mention","desktop_sound":"on"}.
using NotifyProps = std::map<std::string, std::string, std::less<>>;

/// The setting's value; empty where it is missing, which no setting tells from an empty value. Valid as long as the
/// properties are unchanged.
inline std::string_view setting(const NotifyProps& props, std::string_view name) {
    const auto found = props.find(name);
    return found == props.end() ? std::string_view() : found->second;
}

}  // namespace ChatModel
