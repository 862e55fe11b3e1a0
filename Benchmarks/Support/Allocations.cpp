#include "Support/Allocations.h"

#include <atomic>
#include <cerrno>

#include <malloc.h>

// The C library's manual allows a program to bring these functions along ("Replacing malloc"), and has its own under
// other names. What is left out here would be counted by none, but works.
extern "C" {
void* __libc_malloc(std::size_t size);                           // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size);        // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, std::size_t size);            // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t alignment, std::size_t size);  // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* memory);                                  // NOLINT(bugprone-reserved-identifier)
}

namespace {

std::atomic<std::size_t> number = 0, bytes = 0, held = 0;

void* taken(void* memory) {
    if (memory == nullptr) return nullptr;
    const std::size_t size = ::malloc_usable_size(memory);
    number.fetch_add(1, std::memory_order_relaxed);
    bytes.fetch_add(size, std::memory_order_relaxed);
    held.fetch_add(size, std::memory_order_relaxed);
    return memory;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return taken(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
    return taken(__libc_calloc(count, size));
}

void* realloc(void* memory, std::size_t size) {
    const std::size_t before = ::malloc_usable_size(memory);
    void* const moved = __libc_realloc(memory, size);
    if (moved != nullptr || size == 0) held.fetch_sub(before, std::memory_order_relaxed);
    return taken(moved);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return taken(__libc_memalign(alignment, size));
}

int posix_memalign(void** target, std::size_t alignment, std::size_t size) {
    void* const memory = taken(__libc_memalign(alignment, size));
    if (memory == nullptr) return ENOMEM;
    *target = memory;
    return 0;
}

void free(void* memory) {
    held.fetch_sub(::malloc_usable_size(memory), std::memory_order_relaxed);
    __libc_free(memory);
}

}  // extern "C"

Allocations::Count Allocations::count() {
    return {number.load(), bytes.load(), held.load()};
}
