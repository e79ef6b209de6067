// Noting failures of operator new.
#include "scene/memory.h"

#include <atomic>
#include <cerrno>
#include <new>

namespace orvane {

namespace {

std::atomic<bool> has_failed = false;

void note_failure() {
    has_failed = true;
    throw std::bad_alloc();
}

}  // namespace

void watch_memory() { std::set_new_handler(note_failure); }

bool memory_has_failed() { return has_failed; }

void check_memory(int error) {
    if (error == ENOMEM || has_failed) throw std::bad_alloc();
}

// The loader has words alone, and not always those of the system.
void check_memory(const std::string& loader_error) {
    static constexpr const char* kWords[] = {
        "Cannot allocate memory",     "out of memory",           "cannot create ",
        "cannot allocate dependency", "cannot allocate version", "cannot allocate symbol",
        "cannot extend global scope"};
    for (const char* words : kWords)
        if (loader_error.find(words) != loader_error.npos) throw std::bad_alloc();
    check_memory();
}

}  // namespace orvane
