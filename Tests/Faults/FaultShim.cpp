#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <netdb.h>
#include <sys/mman.h>
#include <unistd.h>

#include "Faults/Fault.h"

// Preloaded into a program, it makes some of the program's and its libraries' calls into the C library fail.
//
//     TESSEL_FAULT="KIND FIRST LAST FILE"
//
// The calls of a kind are counted from 1 when `main` begins; those from FIRST to LAST fail. FILE is a FaultReport.
// KIND: "memory" (allocations), "call" (those that ask the kernel for something), "short" (a transfer that ends half
// way), "interrupt" (EINTR). Not seen are direct system calls, and what the C library does within a function that is
// not named below: a stream's reads, the files of a name look-up, the dynamic loader's own.

namespace {

enum Kind { memory = 1, call = 2, shortened = 4, interrupt = 8 };

int chosen = 0;
std::uint64_t first = 0;
std::uint64_t last = 0;
FaultReport* report = nullptr;
thread_local bool isBusy = false;  // with a failure; what that needs itself is let through

/// These end the process, or dereference what they did not get, when they have no memory.
constexpr std::string_view spared[] = {"libplist"};

/// Whether it is to fail: writes down where it was called.
bool describe(const char* name) {
    void* frames[24];
    const int count = ::backtrace(frames, 24);
    char place[sizeof report->place] = {};
    int length = std::snprintf(place, sizeof place, "%s", name);
    for (int i = 3; i < count; ++i) {
        dl_find_object found{};
        if (::_dl_find_object(frames[i], &found) != 0) continue;
        const char* const file = found.dlfo_link_map->l_name;  // empty for the program itself
        const char* const slash = std::strrchr(file, '/');
        const char* const library = slash != nullptr ? slash + 1 : "program";
        if (std::any_of(std::begin(spared), std::end(spared),
                        [&](auto prefix) { return std::string_view(library).starts_with(prefix); }))
            return false;
        if (report->failed != 0) continue;  // it is told of the first
        const auto offset = reinterpret_cast<std::uintptr_t>(frames[i]) - found.dlfo_link_map->l_addr;
        length += std::snprintf(place + length, sizeof place - length, " < %s+%lx", library, offset);
        if (length >= static_cast<int>(sizeof place)) break;
    }
    if (report->failed == 0) std::memcpy(report->place, place, sizeof place);
    return true;
}

[[gnu::noinline]] bool fails(int kind, const char* name) {
    if (report == nullptr || (kind & chosen) == 0 || isBusy) return false;
    const std::uint64_t number = ++report->count;
    if (number < first || number > last) return false;
    isBusy = true;
    const bool isFailing = describe(name);
    if (isFailing) ++report->failed;
    isBusy = false;
    return isFailing;
}

long (*next(const char* name))(...) {
    const bool wasBusy = std::exchange(isBusy, true);
    void* const found = ::dlsym(RTLD_NEXT, name);
    isBusy = wasBusy;
    return reinterpret_cast<long (*)(...)>(found);
}

void begin() {
    const char* const text = std::getenv("TESSEL_FAULT");
    char kind[16] = {};
    char file[512] = {};
    if (text == nullptr || std::sscanf(text, "%15s %lu %lu %511s", kind, &first, &last, file) != 4) return;
    const int descriptor = ::open(file, O_RDWR | O_CLOEXEC);
    void* const mapped = ::mmap(nullptr, sizeof(FaultReport), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    void* frames[4];
    ::backtrace(frames, 4);  // loads what it needs
    chosen = *kind == 'm' ? memory : *kind == 'c' ? call : *kind == 's' ? shortened : interrupt;
    ::alarm(60);  // a program that hangs ends by a signal
    if (mapped != MAP_FAILED) report = static_cast<FaultReport*>(mapped);
}

int (*programMain)(int, char**, char**) = nullptr;

int mainFromHere(int count, char** arguments, char** environment) {
    begin();
    return programMain(count, arguments, environment);
}

}  // namespace

// The functions are named by label: their own declarations differ in more than this needs. Each argument takes one
// register, so that six words are any function's arguments.
#define NAMED(name) __asm__(#name) __attribute__((visibility("default")))
#define CALL(name, kinds, result, error)                                                                           \
    extern "C" long shim_##name(long a, long b, long c, long d, long e, long f) NAMED(name);                       \
    long shim_##name(long a, long b, long c, long d, long e, long f) {                                             \
        static long (*const real)(...) = next(#name);                                                              \
        if (((kinds) & chosen) != 0 && (chosen != shortened || c > 1) && fails(kinds, #name)) {                    \
            if (chosen == shortened) return real(a, b, c / 2, d, e, f);                                            \
            if (std::string_view(#name) == "close") real(a);                                                       \
            errno = chosen == interrupt ? EINTR : (error);                                                         \
            return result;                                                                                         \
        }                                                                                                          \
        return real(a, b, c, d, e, f);                                                                             \
    }
#define ASKS(name) CALL(name, call, -1, EIO)
#define MAKES(name) CALL(name, call, -1, ENOSPC)
#define OPENS(name) CALL(name, call, -1, EMFILE)
#define GIVES(name) CALL(name, call, 0, EMFILE)
#define TELLS(name) CALL(name, call, -1, ENOBUFS)
#define MAPS(name) CALL(name, call, -1, ENOMEM)
#define WAITS(name, error) CALL(name, call | interrupt, -1, error)
#define READS(name) CALL(name, call | interrupt | shortened, -1, EIO)
#define WRITES(name) CALL(name, call | interrupt | shortened, -1, ENOSPC)
#define TALKS(name) CALL(name, call | interrupt | shortened, -1, ECONNRESET)

OPENS(open) OPENS(open64) OPENS(__open_2) OPENS(__open64_2) OPENS(openat) OPENS(openat64) GIVES(fopen) GIVES(fopen64)
GIVES(opendir) GIVES(readdir) GIVES(readdir64) GIVES(realpath) GIVES(getcwd) GIVES(dlopen) ASKS(close) ASKS(fsync)
ASKS(fdatasync) ASKS(fcntl) ASKS(fcntl64) MAKES(ftruncate) MAKES(ftruncate64) MAKES(mkostemp) MAKES(linkat) MAKES(mkdir)
MAKES(mknod) MAKES(epoll_ctl) READS(read) READS(__read_chk) READS(pread) READS(pread64) READS(__pread64_chk)
WRITES(write) WRITES(pwrite) WRITES(pwrite64) MAKES(writev) ASKS(lseek) ASKS(lseek64) ASKS(ioctl) ASKS(stat)
ASKS(stat64) ASKS(lstat) ASKS(lstat64) ASKS(fstat) ASKS(fstat64) ASKS(fstatat) ASKS(fstatat64) ASKS(access)
ASKS(chmod) ASKS(fchmod) ASKS(fchown) ASKS(unlink) ASKS(rename) ASKS(readlink) MAPS(mmap) MAPS(mmap64) MAPS(mprotect)
OPENS(socket) OPENS(socketpair) OPENS(epoll_create1) OPENS(eventfd) OPENS(pipe) OPENS(pipe2) TELLS(setsockopt)
TELLS(getsockopt) TELLS(getsockname) TELLS(getpeername) CALL(connect, call, -1, ECONNREFUSED) TALKS(send) TALKS(sendto)
WAITS(sendmsg, ECONNRESET) TALKS(recv) TALKS(__recv_chk) TALKS(recvfrom) WAITS(recvmsg, ECONNRESET) WAITS(poll, ENOMEM)
WAITS(__poll_chk, ENOMEM) WAITS(epoll_wait, ENOMEM) CALL(getrandom, call, -1, ENOSYS)
CALL(getaddrinfo, call, EAI_AGAIN, 0) CALL(pthread_create, call, EAGAIN, 0)

#define ALLOCATION(name, parameters, allocated)                                                                    \
    extern "C" void* shim_##name parameters NAMED(name);                                                           \
    void* shim_##name parameters {                                                                                 \
        if (!fails(memory, #name)) return allocated;                                                               \
        errno = ENOMEM;                                                                                            \
        return nullptr;                                                                                            \
    }

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

ALLOCATION(malloc, (std::size_t size), __libc_malloc(size))
ALLOCATION(calloc, (std::size_t count, std::size_t size), __libc_calloc(count, size))
ALLOCATION(realloc, (void* old, std::size_t size), __libc_realloc(old, size))
ALLOCATION(memalign, (std::size_t alignment, std::size_t size), __libc_memalign(alignment, size))
ALLOCATION(aligned_alloc, (std::size_t alignment, std::size_t size), __libc_memalign(alignment, size))

extern "C" int shim_posix_memalign(void** result, std::size_t alignment, std::size_t size) NAMED(posix_memalign);
int shim_posix_memalign(void** result, std::size_t alignment, std::size_t size) {
    void* const allocated = fails(memory, "posix_memalign") ? nullptr : __libc_memalign(alignment, size);
    if (allocated == nullptr) return ENOMEM;
    *result = allocated;
    return 0;
}

extern "C" int shim_start(int (*main)(int, char**, char**), int count, char** arguments, void (*init)(),
                          void (*finish)(), void (*loader)(), void* stack) NAMED(__libc_start_main);
int shim_start(int (*main)(int, char**, char**), int count, char** arguments, void (*init)(), void (*finish)(),
               void (*loader)(), void* stack) {
    programMain = main;
    return static_cast<int>(next("__libc_start_main")(mainFromHere, count, arguments, init, finish, loader, stack));
}
