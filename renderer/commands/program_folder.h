// Where the program stands.
#pragma once

#include <filesystem>

namespace orvane::commands {

// The folder of the program, where its shaders and their declarations stand beside it.
inline std::filesystem::path program_folder() {
    std::error_code fault;
    return std::filesystem::read_symlink("/proc/self/exe", fault).parent_path();
}

}  // namespace orvane::commands
