// Memory that was not there, whoever met with it.
#pragma once

namespace orvane {

// From now on every operator new that fails is noted: streams and foreign libraries may catch what
// it throws, and go on with less than they were to have.
void watch_memory();
bool memory_has_failed();

// Throws std::bad_alloc when it has, or when an error of the system (errno) is a lack of memory.
void check_memory(int error = 0);

}  // namespace orvane
