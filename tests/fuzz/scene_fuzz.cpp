// Feeds arbitrary texts to the scene parser: each ends in a scene or in an Error.
#include <cstddef>
#include <cstdint>
#include <string>

#include "scene/errors.h"
#include "scene/messages.h"
#include "scene/parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace orvane;
    set_verbosity(0);
    scene::ParserSettings settings;
    settings.verbosity_fixed = true;
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        scene::parse_text(text, "fuzz.mi", "/nonexistent", settings);
    } catch (const Error&) {
    }
    return 0;
}
