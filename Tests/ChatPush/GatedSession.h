#pragma once

#include <functional>

#include "Networking/URLSession.h"
#include "Support/Support.h"

/// A session whose answers a test gives when it wants to: a request waits until it is answered.
class GatedSession final : public Foundation::URLSession {
public:
    using Answer = std::pair<Foundation::Data, Foundation::HTTPURLResponse>;

    Support::Queue<Foundation::URLRequest> requests;

    Answer data(const Foundation::URLRequest& request) override {
        requests.push(request);
        return answers_.pop()();
    }
    void answer(int status, const std::string& body = "") {
        answers_.push([=] { return Answer(Foundation::bytes(body), {status}); });
    }
    void fail(Foundation::URLError::Code code) {
        answers_.push([=]() -> Answer { throw Foundation::URLError(code); });
    }

private:
    Support::Queue<std::function<Answer()>> answers_;
};
