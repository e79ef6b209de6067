// Loads shader libraries and looks their entry points up by name.
#include "plugin/library.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <new>

#include "plugin/shared_object.h"
#include "scene/memory.h"

namespace orvane::plugin {

namespace fs = std::filesystem;

namespace {

// The file name that a library has here, whatever system the scene was written on.
fs::path native_name(fs::path name) {
    const std::string extension = name.extension().string();
    if (extension.empty() || extension == ".dll" || extension == ".dylib" || extension == ".sl")
        name.replace_extension(".so");
    return name;
}

bool is_file(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

// The first of the files that a name in some folders stands for, or an empty path.
fs::path locate(const fs::path& name, const std::vector<fs::path>& folders) {
    for (const fs::path& folder : folders)
        if (is_file(folder / name)) return folder / name;
    return {};
}

std::string loader_reason() {
    const char* reason = dlerror();
    std::string line = reason ? reason : "unknown reason";
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

// A symbol of the library itself. The loader also looks in what the library depends on, where
// a shader named "exp" would turn out to be a function of the C library.
void* own_symbol(void* handle, const std::string& name) {
    void* symbol = dlsym(handle, name.c_str());
    link_map* library = nullptr;
    link_map* owner = nullptr;
    Dl_info info;
    if (!symbol || dlinfo(handle, RTLD_DI_LINKMAP, &library) != 0 ||
        dladdr1(symbol, &info, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) == 0)
        return nullptr;
    return owner == library ? symbol : nullptr;
}

EntryPoints entry_points(void* handle, const std::string& shader) {
    EntryPoints entry;
    entry.shade = reinterpret_cast<ShaderFunction>(own_symbol(handle, shader));
    if (!entry.shade) return entry;
    entry.init = reinterpret_cast<InitFunction>(own_symbol(handle, shader + "_init"));
    entry.exit = reinterpret_cast<ExitFunction>(own_symbol(handle, shader + "_exit"));
    const auto version = reinterpret_cast<int (*)()>(own_symbol(handle, shader + "_version"));
    entry.version = version ? version() : 0;
    return entry;
}

}  // namespace

Libraries::Libraries(std::vector<fs::path> search_path, bool nowhere_else)
    : search_path_(std::move(search_path)), nowhere_else_(nowhere_else) {}

Libraries::~Libraries() {
    for (auto handle = order_.rbegin(); handle != order_.rend(); ++handle) dlclose(*handle);
}

bool Libraries::link(const std::string& name, std::string& why) {
    const fs::path native = native_name(name);
    if (nowhere_else_ && native.has_parent_path()) {
        why = "a scene that is not trusted names libraries without a folder";
        return false;
    }
    const bool as_it_is = !nowhere_else_ && is_file(native);
    const fs::path file = as_it_is ? native : locate(native, search_path_);
    if (file.empty()) {
        why = "no file " + native.string();
        for (const fs::path& folder : search_path_)
            if (!folder.empty()) why += ", nor in " + folder.string();
        return false;
    }

    // An absolute path keeps the loader from searching by itself.
    std::error_code error;
    const fs::path path = fs::canonical(file, error);
    if (error) {
        check_memory(error.value());
        why = file.string() + ": " + error.message();
        return false;
    }
    if (handles_.contains(path)) return true;
    if (const std::string fault = fault_of_library(path); !fault.empty()) {
        why = file.string() + ": " + fault;
        return false;
    }
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        why = loader_reason();
        check_memory(why);
        // The loader says so as well of a file for whose name it has no memory.
        if (why.starts_with(path.string() + ": cannot open")) throw std::bad_alloc();
        return false;
    }
    handles_.emplace(path, handle);
    order_.push_back(handle);
    return true;
}

EntryPoints Libraries::find(const std::string& shader) const {
    for (void* handle : order_)
        if (const EntryPoints entry = entry_points(handle, shader); entry.shade) return entry;

    // The handle of the program needs no closing: the program stays.
    void* program = dlopen(nullptr, RTLD_NOW);
    return program ? entry_points(program, shader) : EntryPoints{};
}

}  // namespace orvane::plugin
