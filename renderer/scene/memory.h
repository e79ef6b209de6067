// Memory that was not there, whoever met with it.
#pragma once

#include <cstddef>
#include <string>

namespace orvane {

// Bytes of the machine's memory. The system may promise more, and end the program over it.
std::size_t physical_memory();

// From now on every operator new that fails is noted: streams and foreign libraries may catch what
// it throws, and go on with less than they were to have.
void watch_memory();
bool memory_has_failed();

// Throws std::bad_alloc when it has, or when an error of the system (errno) or what the loader of
// libraries says is a lack of memory.
void check_memory(int error = 0);
void check_memory(const std::string& loader_error);

// The last words of a program without memory, which need none.
void tell_out_of_memory();

// While it lives, a failure of operator new ends the program at once, with its exit status: for
// libraries that do not come back from one. Nothing may be half written meanwhile.
class EndsWithoutMemory {
  public:
    EndsWithoutMemory();
    ~EndsWithoutMemory();
    EndsWithoutMemory(const EndsWithoutMemory&) = delete;
    EndsWithoutMemory& operator=(const EndsWithoutMemory&) = delete;
};

}  // namespace orvane
