#include "ChatPlatform/SharedServer.h"

#include "Foundation/JSONCoding.h"

using ChatPlatform::SharedServer;

template <>
constexpr auto Foundation::fields<SharedServer> = std::tuple{
    required("url", &SharedServer::url),
    required("serverID", &SharedServer::serverID),
    required("signingKey", &SharedServer::signingKey),
    required("userID", &SharedServer::userID),
    required("deviceToken", &SharedServer::deviceToken),
};

SharedServer SharedServer::fromJSON(std::string_view text) {
    return Foundation::decodeJSON<SharedServer>(text);
}

std::string SharedServer::json() const {
    return Foundation::encodeJSON(*this);
}

std::size_t std::hash<SharedServer>::operator()(const SharedServer& server) const noexcept {
    return Foundation::hashFields(server);
}
