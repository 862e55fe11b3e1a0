#pragma once

#include <stdexcept>
#include <string>

namespace Foundation {

/// A shared library that is loaded when it is first needed, so that a start which does not need it does not pay for
/// it. It stays loaded until the process ends. Safe to use from several threads once constructed.
class DynamicLibrary {
public:
    /// When the functions that the library calls in others are looked for.
    enum class Binding {
        now,    ///< at once: one that is missing is an error of the loading
        atCall  ///< each at its first call, as in an ordinary link: quicker, and one that is missing ends the process
    };

    /// Loads the library of this name ("libsecret-1.so.0"). Throws `std::runtime_error` where it cannot be loaded.
    explicit DynamicLibrary(const std::string& name, Binding binding = Binding::now);

    /// The function of this name, in the library or one that it depends on, as the type `Function*`.
    /// Throws `std::runtime_error` where there is none.
    template <class Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }

private:
    void* symbol(const char* name) const;

    void* handle_;
};

}  // namespace Foundation
