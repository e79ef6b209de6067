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

}  // namespace orvane
