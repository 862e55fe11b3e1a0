#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Networking/URLSession.h"

/// A session whose answers a test gives when it wants to: a request waits until it is answered.
class GatedSession final : public Foundation::URLSession {
public:
    using Answer = std::function<std::pair<Foundation::Data, Foundation::HTTPURLResponse>()>;

    std::pair<Foundation::Data, Foundation::HTTPURLResponse> data(const Foundation::URLRequest& request) override {
        std::unique_lock lock(mutex_);
        requests_.push_back(request);
        changed_.notify_all();
        changed_.wait(lock, [&] { return !answers_.empty(); });
        const Answer answer = std::move(answers_.front());
        answers_.pop_front();
        lock.unlock();
        return answer();
    }

    /// Waits for the request of this number, from 0.
    Foundation::URLRequest request(std::size_t index) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return requests_.size() > index; });
        return requests_[index];
    }

    void answer(int status, const std::string& body = "") {
        give([=] { return std::pair(Foundation::bytes(body), Foundation::HTTPURLResponse{status}); });
    }
    void fail(Foundation::URLError::Code code) {
        give([=]() -> std::pair<Foundation::Data, Foundation::HTTPURLResponse> { throw Foundation::URLError(code); });
    }

private:
    void give(Answer answer) {
        const std::lock_guard lock(mutex_);
        answers_.push_back(std::move(answer));
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Answer> answers_;
    std::vector<Foundation::URLRequest> requests_;
};
