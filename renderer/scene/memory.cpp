// Noting failures of operator new.
#include "scene/memory.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <new>
#include <string_view>

#include "scene/errors.h"
#include "scene/messages.h"

namespace orvane {

namespace {

std::atomic<bool> has_failed = false, ends = false;

void note_failure() {
    has_failed = true;
    if (ends) {
        tell_out_of_memory();
        _exit(static_cast<int>(Exit::Memory));
    }
    throw std::bad_alloc();
}

}  // namespace

std::size_t physical_memory() {
    return static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::size_t>(sysconf(_SC_PAGE_SIZE));
}

void tell_out_of_memory() {
    constexpr std::string_view kLine = "orvane: fatal: out of memory\n";
    if (verbosity() < static_cast<int>(Level::Fatal)) return;
    if (write(STDERR_FILENO, kLine.data(), kLine.size()) < 0) return;
}

EndsWithoutMemory::EndsWithoutMemory() { ends = true; }
EndsWithoutMemory::~EndsWithoutMemory() { ends = false; }

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
