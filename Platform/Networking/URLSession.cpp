#include "Networking/URLSession.h"

#include "Networking/CurlSession.h"

namespace Foundation {

std::shared_ptr<URLSession> URLSession::shared() {
    // Never destroyed: threads may still wait for the network when the process ends.
    static auto* const session = new std::shared_ptr<URLSession>(std::make_shared<CurlSession>());
    return *session;
}

}  // namespace Foundation
