// Subcommands and exit statuses.

#include "commands/commands.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <new>

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
        ->expected(1);
    render
        ->add_option("--link-path", arguments.link_path,
                     "folder to look for shader libraries in (may be repeated)")
        ->type_name("DIR")
        ->expected(1);
    render
        ->add_option("--tile-size", arguments.tile_size,
                     "edge of the tiles that threads take, in pixels; no effect on the picture")
        ->check(CLI::Range(1, 4096));
    render->callback([&arguments, &status] { status = commands::render(arguments); });
}

int tell(Level level, Exit status, const std::string& line, const std::string& details = {}) {
    message(level, line);
    if (!details.empty() && verbosity() >= static_cast<int>(level)) std::cerr << details << '\n';
    return static_cast<int>(status);
}

}  // namespace

int run(int argc, char** argv) {
    CLI::App app("Orvane: renders .mi scenes with the shaders of orvane.so", "orvane");
    app.require_subcommand(1);
    app.set_version_flag("--version", "orvane " ORVANE_VERSION);
    RenderArguments arguments;
    int status = 0;
    add_render(app, arguments, status);
    try {
        app.parse(argc, argv);
        return status;
    } catch (const CLI::ParseError& fault) {
        if (fault.get_exit_code() == 0) return app.exit(fault);  // --help, --version
        return tell(Level::Error, Exit::Usage, fault.what(), "\"orvane --help\" tells more");
    } catch (const Error& fault) {
        // Faults that have no place in a scene begin with their severity.
        const std::string line = fault.what();
        return tell(Level::Error, fault.status, line.substr(line.starts_with("error: ") ? 7 : 0),
                    fault.details);
    } catch (const world::Fatal& fault) {
        return tell(Level::Fatal, Exit::Fatal, fault.what());
    } catch (const std::bad_alloc&) {
        return tell(Level::Fatal, Exit::Memory, "out of memory");
    } catch (const std::exception& fault) {
        return tell(Level::Fatal, Exit::Internal, std::string("internal error: ") + fault.what());
    }
}

}  // namespace orvane::commands
