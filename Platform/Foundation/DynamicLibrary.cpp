#include "Foundation/DynamicLibrary.h"

#include <dlfcn.h>

namespace Foundation {

namespace {

[[noreturn]] void fail() {
    const char* reason = ::dlerror();
    throw std::runtime_error(reason != nullptr ? reason : "the library could not be loaded");
}

}  // namespace

DynamicLibrary::DynamicLibrary(const std::string& name, Binding binding)
    : handle_(::dlopen(name.c_str(), (binding == Binding::now ? RTLD_NOW : RTLD_LAZY) | RTLD_NODELETE)) {
    if (handle_ == nullptr) fail();
}

void* DynamicLibrary::symbol(const char* name) const {
    void* address = ::dlsym(handle_, name);
    if (address == nullptr) fail();
    return address;
}

}  // namespace Foundation
