// Memory that was not there, whoever met with it.
#pragma once

#include <string>

namespace orvane {

// From now on every operator new that fails is noted: streams and foreign libraries may catch what
// it throws, and go on with less than they were to have.
void watch_memory();
bool memory_has_failed();

// Throws std::bad_alloc when it has, or when an error of the system (errno) or what the loader of
// libraries says is a lack of memory.
void check_memory(int error = 0);
void check_memory(const std::string& loader_error);

}  // namespace orvane
