// Whether a file is a whole shared object.
#pragma once

#include <filesystem>
#include <string>

namespace orvane::plugin {

// What is wrong with a file that the loader must not get, or "". The loader maps what the headers
// promise and reads it without asking whether it is there: a file that is cut short would end the
// program.
std::string fault_of_library(const std::filesystem::path& file);

}  // namespace orvane::plugin
