// Subcommands and exit statuses.

#include "commands/commands.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <iostream>
#include <new>
#include <system_error>

#include "scene/memory.h"
#include "scene/messages.h"
#include "world/render.h"

namespace orvane::commands {
namespace {

void add_render(CLI::App& app, RenderArguments& arguments, int& status) {
    CLI::App* render = app.add_subcommand("render", "Render the pictures that a scene asks for");
    render->add_option("scene", arguments.scene, "scene file (.mi), or - for standard input")
        ->required()
        ->type_name("SCENE.mi");
    render->add_option("-o,--output", arguments.output,
                       "picture to write instead of those of the scene; its extension tells the "
                       "format, #### stands for the frame's number");
    render
        ->add_option("-j,--threads", arguments.threads,
                     "render threads (default: the processors that may be used)")
        ->check(CLI::Range(1, world::kMaxThreads));
    render->add_option("--resolution", arguments.resolution, "size of the picture in pixels")
        ->type_name("X Y")
        ->check(CLI::Range(1, 65536));
    render
        ->add_option("--samples", arguments.samples,
                     "least and most samples a pixel, as powers of four")
        ->type_name("MIN MAX")
        ->check(CLI::Range(-4, 6));
    render
        ->add_option("--window", arguments.window,
                     "pixels to render, inclusive, from the lower left")
        ->type_name("XL YL XH YH")
        ->check(CLI::NonNegativeNumber);
    render
        ->add_option("-v,--verbosity", arguments.verbosity,
                     "messages: 0 none, 1 fatal, 2 errors, 3 warnings (and how far a frame is), "
                     "4 info, 5 progress of shaders, 6 and 7 details")
        ->check(CLI::Range(0, 7));
    render
        ->add_option("-I,--include-path", arguments.include_path,
                     "folder to look for included files in (may be repeated)")
        ->type_name("DIR")
        ->allow_extra_args(false);
    render
        ->add_option("--link-path", arguments.link_path,
                     "folder to look for shader libraries in (may be repeated)")
        ->type_name("DIR")
        ->allow_extra_args(false);
    render
        ->add_option("--tile-size", arguments.tile_size,
                     "edge of the tiles that threads take, in pixels; no effect on the picture")
        ->check(CLI::Range(1, 4096));
    render->add_flag("--untrusted", arguments.untrusted,
                     "for scenes of strangers: they load libraries from the link path alone, read "
                     "below their own folder and write below the one that -o names");
    render->callback([&arguments, &status] { status = commands::render(arguments); });
}

void add_preset(CLI::App& app, PresetArguments& arguments, int& status) {
    CLI::App* preset =
        app.add_subcommand("preset", "Put flare presets into pictures, get them out, check them");
    preset->require_subcommand(1);

    CLI::App* pack = preset->add_subcommand("pack", "Write a preset into a picture, its carrier");
    pack->add_option("preset", arguments.preset, "text of the preset, or - for standard input")
        ->required()
        ->type_name("PRESET.flare");
    pack->add_option("-o,--output", arguments.carrier, "carrier to write: a png, tif or tga file")
        ->required()
        ->type_name("CARRIER.png");
    pack->add_option("--picture", arguments.picture,
                     "picture of 8 bits whose colors the carrier keeps (default: plain grey)")
        ->type_name("FILE");
    pack->callback([&arguments, &status] { status = pack_preset(arguments); });

    CLI::App* unpack = preset->add_subcommand("unpack", "Print the preset that a carrier holds");
    unpack->add_option("carrier", arguments.carrier, "picture that holds a preset")
        ->required()
        ->type_name("CARRIER.png");
    unpack->add_flag("--all", arguments.all, "print the bytes of all pixels");
    unpack->callback([&arguments, &status] { status = unpack_preset(arguments); });

    CLI::App* check = preset->add_subcommand("check", "Tell what is wrong in presets");
    check
        ->add_option("presets", arguments.checked,
                     "texts, or - for standard input; a file that is named as pictures "
                     "are (.png, .tif, ...) is a carrier")
        ->required()
        ->type_name("PRESET.flare|CARRIER.png");
    check->callback([&arguments, &status] { status = check_preset(arguments); });
}

void add_shaders(CLI::App& app, ShadersArguments& arguments, int& status) {
    CLI::App* shaders =
        app.add_subcommand("shaders", "List the shaders, or tell the parameters of some");
    shaders->add_option("names", arguments.names, "shaders to tell the parameters of")
        ->type_name("NAME");
    shaders->add_flag("--json", arguments.json, "for programs: everything, as JSON");
    shaders
        ->add_option("-d,--declarations", arguments.declarations,
                     "file that declares the shaders (default: orvane.mi; soft.mi has the "
                     "built-in ones)")
        ->type_name("FILE.mi");
    shaders->callback([&arguments, &status] { status = list_shaders(arguments); });
}

int tell(Level level, Exit status, const std::string& line, const std::string& details = {}) {
    status_line("");
    message(level, line);
    if (!details.empty() && verbosity() >= static_cast<int>(level)) std::cerr << details << '\n';
    return static_cast<int>(status);
}

int run_command(int argc, char** argv) {
    CLI::App app("Orvane: renders .mi scenes with the shaders of orvane.so", "orvane");
    app.require_subcommand(1);
    app.set_version_flag("--version", "orvane " ORVANE_VERSION);
    RenderArguments arguments;
    int status = 0;
    add_render(app, arguments, status);
    PresetArguments preset;
    add_preset(app, preset, status);
    ShadersArguments shaders;
    add_shaders(app, shaders, status);
    try {
        app.parse(argc, argv);
        return status;
    } catch (const CLI::ParseError& fault) {
        check_memory();
        if (fault.get_exit_code() == 0) return app.exit(fault);  // --help, --version
        return tell(Level::Error, Exit::Usage, fault.what(), "\"orvane --help\" tells more");
    }
}

// Whatever a fault says, where memory has failed that is the reason.
int tell_faults(int argc, char** argv) {
    try {
        return run_command(argc, argv);
    } catch (const world::OutOfMemory& fault) {
        return tell(Level::Fatal, Exit::Memory, fault.what());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const Error& fault) {
        check_memory();
        // Faults that have no place in a scene begin with their severity.
        const std::string line = fault.what();
        return tell(Level::Error, fault.status, line.substr(line.starts_with("error: ") ? 7 : 0),
                    fault.details);
    } catch (const world::Fatal& fault) {
        check_memory();
        return tell(Level::Fatal, Exit::Fatal, fault.what(), fault.details);
    } catch (const std::system_error& fault) {
        // A thread that cannot be started has no room for its stack.
        const bool starved = fault.code() == std::errc::resource_unavailable_try_again;
        check_memory(starved ? ENOMEM : fault.code().value());
        return tell(Level::Fatal, Exit::Internal, std::string("internal error: ") + fault.what());
    } catch (const std::exception& fault) {
        check_memory();
        return tell(Level::Fatal, Exit::Internal, std::string("internal error: ") + fault.what());
    }
}

}  // namespace

// Memory may also run out while a fault is told: this line needs none.
int run(int argc, char** argv) {
    watch_memory();
    try {
        return tell_faults(argc, argv);
    } catch (...) {
        tell_out_of_memory();
        return static_cast<int>(Exit::Memory);
    }
}

}  // namespace orvane::commands
