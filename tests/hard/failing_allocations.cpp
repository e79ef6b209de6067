// A library to preload: lets allocations of a program fail.
//
//   FAIL_AT=N       the Nth allocation after main() was entered fails
//   FAIL_AT=N+      and all that follow
//   COUNT_TO=FILE   how many there were is written to a file at the end
//
// What is allocated before main() belongs to the loader and to the initialisation of libraries,
// whose exceptions nobody can catch. operator new and what the C library allocates for itself come
// by way of malloc.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* p, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

using Main = int (*)(int, char**, char**);

std::atomic<bool> counting = false;
std::atomic<long> count = 0;
long first = 0;
bool all = false;
Main the_main = nullptr;

bool fails() {
    if (!counting) return false;
    const long number = ++count;
    if (first == 0 || number < first || (number > first && !all)) return false;
    errno = ENOMEM;
    return true;
}

int counted_main(int argc, char** argv, char** environment) {
    char* end = nullptr;
    if (const char* at = std::getenv("FAIL_AT")) first = std::strtol(at, &end, 10);
    all = end && *end == '+';
    counting = true;
    return the_main(argc, argv, environment);
}

[[gnu::destructor]] void tell() {
    counting = false;
    const char* file = std::getenv("COUNT_TO");
    if (!file) return;
    char text[32];
    const int size = std::snprintf(text, sizeof text, "%ld", count.load());
    const int descriptor = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (write(descriptor, text, static_cast<std::size_t>(size)) != size) std::perror(file);
    close(descriptor);
}

}  // namespace

extern "C" {

int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loader_fini)(), void* stack_end) {
    the_main = main;
    const auto start =
        reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(counted_main, argc, argv, init, fini, loader_fini, stack_end);
}

void* malloc(std::size_t size) { return fails() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t number, std::size_t size) {
    return fails() ? nullptr : __libc_calloc(number, size);
}

void* realloc(void* p, std::size_t size) {
    return size > 0 && fails() ? nullptr : __libc_realloc(p, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
    return fails() ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** p, std::size_t alignment, std::size_t size) {
    *p = memalign(alignment, size);
    return *p ? 0 : ENOMEM;
}
}
