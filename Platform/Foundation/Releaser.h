#pragma once

namespace Foundation {

/// The deleter of a `std::unique_ptr` to an object of a C library, which `release` gives back.
template <auto release>
struct Releaser {
    template <class T>
    void operator()(T* object) const {
        release(object);
    }
};

}  // namespace Foundation
