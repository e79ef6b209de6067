// Choosing the library for a picture file.

#include "image/codec.h"

#include <dlfcn.h>

#include <stdexcept>

#include "scene/memory.h"

namespace orvane::image {

const OtherFormats& other_formats() {
    static const OtherFormats* const formats = [] {
        const std::filesystem::path module =
            std::filesystem::read_symlink("/proc/self/exe").parent_path() / "orvane_formats.so";
        void* library = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
        void* symbol = library ? dlsym(library, "orvane_other_formats") : nullptr;
        if (!symbol) {
            const std::string why = dlerror();
            check_memory(why);
            throw std::runtime_error("the module of its format cannot be loaded: " + why);
        }
        return static_cast<const OtherFormats*>(symbol);
    }();
    return *formats;
}

Decoded decode(const std::filesystem::path& file, bool pixels) {
    return is_png(file) ? decode_png(file, pixels) : other_formats().decode(file, pixels);
}

std::vector<std::uint8_t> encode(const Encoding& picture) {
    if (picture.format.writer == "png") return encode_png(picture);
    if (picture.format.writer == "openexr") return encode_exr(picture);
    return other_formats().encode(picture);
}

}  // namespace orvane::image
