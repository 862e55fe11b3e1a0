#pragma once

#include <utility>

#include <unistd.h>

namespace Foundation {

/// A file descriptor that is closed with the object; a negative number is none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { close(); }

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

    void close() {
        if (isOpen()) ::close(number_);
        number_ = -1;
    }

private:
    int number_;
};

}  // namespace Foundation
