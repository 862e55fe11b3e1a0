#include "Intents/Intents.h"

#include <mutex>
#include <utility>

namespace Intents {

namespace {

struct Registration {
    std::mutex mutex;
    std::shared_ptr<const DonationSink> sink;
};

Registration& registration() {
    static Registration shared;
    return shared;
}

}  // namespace

void setDonationSink(DonationSink sink) {
    auto next = sink ? std::make_shared<const DonationSink>(std::move(sink)) : nullptr;
    const std::lock_guard lock(registration().mutex);
    registration().sink.swap(next);
}

void INInteraction::donate() const {
    std::shared_ptr<const DonationSink> sink;
    {
        const std::lock_guard lock(registration().mutex);
        sink = registration().sink;
    }
    if (!sink) throw INIntentError();
    (*sink)(*this);
}

}  // namespace Intents
