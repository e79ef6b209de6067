// The command line: one function a subcommand, and the one place where errors end.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "scene/errors.h"

namespace orvane::commands {

// Runs the program; returns its exit status. All errors are told on standard error here.
int run(int argc, char** argv);

struct RenderArguments {
    std::string scene;
    std::string output;  // empty = what the scene's camera says
    int threads = 0;     // 0 = the processors that the process may use
    std::optional<std::array<int, 2>> resolution, samples;
    std::optional<std::array<int, 4>> window;
    std::optional<int> verbosity;
    std::vector<std::filesystem::path> include_path, link_path;
    int tile_size = 0;       // 0 = as the scene says
    bool untrusted = false;  // output is then the folder that the scene writes to
};

// Renders every frame that a scene file asks for and writes its pictures. Returns 128 + the
// number of the signal that stopped it, or 0. Throws Error, world::Fatal, std::bad_alloc.
int render(const RenderArguments& arguments);

struct PresetArguments {
    std::string preset;                // text, or - for standard input
    std::string carrier;               // picture
    std::string picture;               // that the text is laid under; empty = a plain one
    bool all = false;                  // unpack all bytes of the carrier
    std::vector<std::string> checked;  // texts, -, or carriers
};

// Flare presets in the alpha channel of pictures. They tell all faults of a preset's text, as the
// reader of flares would find them, and return the exit status. Throw Error for files.
int pack_preset(const PresetArguments& arguments);
int unpack_preset(const PresetArguments& arguments);  // to standard output
int check_preset(const PresetArguments& arguments);

struct ShadersArguments {
    std::vector<std::string> names;  // empty = a line for each
    std::string declarations = "orvane.mi";
    bool json = false;
};

// Tells on standard output what shaders are declared in a file, which is also looked for in the
// program's folder, and their parameters, all from the declarations and their comments. Returns 0.
// Throws Error: Exit::Shader for a name that is not declared there.
int list_shaders(const ShadersArguments& arguments);

}  // namespace orvane::commands
