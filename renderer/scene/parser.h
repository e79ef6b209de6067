// Reads the .mi scene language.
#pragma once

#include <filesystem>
#include <functional>
#include <istream>
#include <string>
#include <vector>

#include "scene/fence.h"
#include "scene/records.h"

namespace orvane::scene {

struct ParserSettings {
    std::vector<std::filesystem::path> include_path;  // searched by $include, in order
    Fence fence;                                      // around what the scene may include and write
    bool verbosity_fixed = false;  // the command line set it: "verbose" in the scene is ignored
    // Called at each render command with all that is defined so far.
    std::function<void(const Scene&, const RenderCommand&)> on_render;
    // Asked now and then while a text is read: true gives up, with Stopped.
    std::function<bool()> stop = {};
};

// Reads a scene file (the name "-" is standard input; a name that does not exist is tried with
// .mi appended) and calls on_render at each render command. Returns all that was defined.
// Throws Error: Exit::Scene for a fault in the text, Exit::Input for a file that is missing or
// unreadable. What the language has and this reader skips is warned about, once a keyword.
Scene parse_file(const std::string& file, const ParserSettings& settings);

// The same for a text in memory; name stands in messages, includes are relative to directory.
Scene parse_text(const std::string& text, const std::string& name,
                 const std::filesystem::path& directory, const ParserSettings& settings);

// Whether a file declares a shader of this name; false for a file that cannot be read.
bool declares(const std::filesystem::path& file, const std::string& shader);

}  // namespace orvane::scene
