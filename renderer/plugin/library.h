// Shader libraries: loading them, and finding shaders in them by name.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/host.h"
#include "scene/errors.h"
#include "scene/records.h"

namespace orvane::plugin {

using ShaderFunction = miBoolean (*)(void* result, miState* state, void* params);
using InitFunction = void (*)(miState* state, void* params, miBoolean* inst_init_req);
using ExitFunction = void (*)(miState* state, void* params);

// The entry points of one shader. init and exit may be absent.
struct EntryPoints {
    ShaderFunction shade = nullptr;
    InitFunction init = nullptr;
    ExitFunction exit = nullptr;
    int version = 0;  // what NAME_version() returns, 0 without that function
};

// The libraries that a render has linked, and the shaders of the program itself.
class Libraries {
  public:
    // search_path: the folders in which libraries are looked for, in order, when the name as
    // given does not lead to one.
    // nowhere_else: names that lead to a library by themselves are refused, too.
    explicit Libraries(std::vector<std::filesystem::path> search_path, bool nowhere_else = false);
    ~Libraries();
    Libraries(const Libraries&) = delete;
    Libraries& operator=(const Libraries&) = delete;

    // Loads a library; .dll, .dylib and .sl stand for .so, and so does no extension. Linking
    // it again does nothing. Returns false, with the loader's reason in why, when it cannot be
    // found or loaded.
    bool link(const std::string& name, std::string& why);

    // Finds a shader by its declared name, first in the libraries in the order of linking, then
    // among the program's own exported functions. shade is null when there is none.
    EntryPoints find(const std::string& shader) const;

  private:
    std::vector<std::filesystem::path> search_path_;
    bool nowhere_else_;
    std::map<std::filesystem::path, void*> handles_;
    std::vector<void*> order_;
};

}  // namespace orvane::plugin
