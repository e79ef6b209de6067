// orvane render: from a scene file to picture files.

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include "commands/commands.h"
#include "commands/program_folder.h"
#include "commands/progress.h"
#include "film/film.h"
#include "image/picture_file.h"
#include "image/picture_format.h"
#include "scene/memory.h"
#include "scene/messages.h"
#include "scene/parser.h"
#include "trace/frame.h"

namespace orvane::commands {
namespace {

namespace fs = std::filesystem;

std::atomic<int> the_signal = 0;

// The first signal closes the frame, the second one, of either kind, ends the program.
void on_signal(int number) {
    the_signal = number;
    world::abort_render();
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

class SignalHandlers {
  public:
    SignalHandlers() {
        the_signal = 0;
        world::clear_abort();
        std::signal(SIGINT, on_signal);
        std::signal(SIGTERM, on_signal);
    }
    ~SignalHandlers() {
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGTERM, SIG_DFL);
    }
};

int processors() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) != 0) return 1;
    return std::clamp(CPU_COUNT(&set), 1, world::kMaxThreads);
}

// What one run of the command keeps from frame to frame.
class Session {
  public:
    explicit Session(const RenderArguments& arguments)
        : arguments_(arguments),
          folders_{{fs::path(arguments.scene).parent_path(), "", program_folder()},
                   includes(arguments),
                   fence(arguments)},
          libraries_(link_path(arguments), arguments.untrusted) {
        if (arguments.untrusted) arguments_.output.clear();
    }

    void render(const scene::Scene& scene, const scene::RenderCommand& command);

    int frames() const { return frames_; }
    const world::Folders& folders() const { return folders_; }
    bool stopped() const { return world::render_aborted(); }

  private:
    static std::vector<fs::path> includes(const RenderArguments& arguments) {
        std::vector<fs::path> path = arguments.include_path;
        path.push_back(program_folder());
        return path;
    }
    static std::vector<fs::path> link_path(const RenderArguments& arguments) {
        std::vector<fs::path> path = arguments.link_path;
        if (!arguments.untrusted) path.push_back(fs::path(arguments.scene).parent_path() / ".");
        path.push_back(program_folder());
        return path;
    }

    static scene::Fence fence(const RenderArguments& arguments) {
        if (!arguments.untrusted) return {};
        // What is no file, such as a pipe, has no folder but the current one.
        std::error_code error;
        const bool is_stream = fs::is_other(arguments.scene, error);
        std::vector<fs::path> readable = arguments.include_path;
        readable.push_back(is_stream ? "" : fs::path(arguments.scene).parent_path());
        return {readable, {program_folder(), program_folder() / "presets"}, arguments.output};
    }

    void link(const scene::Scene& scene);
    void check_outputs(const world::World& world);
    film::FrameBuffers shade(trace::Frame& frame, ProgressLine& progress,
                             std::uint64_t& samples) const;
    void advise(const trace::Frame& frame, const film::FrameBuffers& buffers);
    void put_out(trace::Frame& frame, const film::FrameBuffers& buffers,
                 const scene::RenderCommand& command);
    void write(const world::World& world, const film::FrameBuffers& buffers,
               const scene::Output& output, const scene::RenderCommand& command);
    std::string picture_name(const world::World& world) const;
    std::string numbered_name(const world::World& world) const;

    RenderArguments arguments_;
    world::Folders folders_;
    std::set<std::string> advised_;
    std::map<std::string, int> uses_;  // of the names of pictures
    plugin::Libraries libraries_;
    world::PictureCache pictures_;
    std::set<std::string> linked_;
    int frames_ = 0;
};

// A library that is not there is told at once, but only missed when one of its shaders is used.
void Session::link(const scene::Scene& scene) {
    for (const auto& [name, place] : scene.libraries) {
        if (!linked_.insert(name).second) continue;
        std::string why;
        if (!libraries_.link(name, why))
            message(Level::Warning,
                    to_string(place) + ": warning: library \"" + name + "\" is not loaded: " + why);
    }
}

miFrameBuffer buffer_of(const std::string& type) {
    const std::size_t at = type.find_first_not_of("+-");
    std::string name = at == std::string::npos ? "" : type.substr(at);
    name.resize(std::min(name.find('_'), name.size()));
    if (name == "z") return miFB_DEPTH;
    if (name == "n") return miFB_NORMAL;
    if (name == "m") return miFB_MOTION;
    if (name == "tag") return miFB_LABEL;
    return miFB_COLOR;
}

// Files take the buffer that they name; an output shader may look at any of them.
std::array<bool, miFB_COUNT> wanted_buffers(const world::World& world) {
    std::array<bool, miFB_COUNT> wanted{};
    for (const scene::Output& output : world.scene_camera().outputs) {
        wanted[buffer_of(output.type)] = true;
        if (!output.shader.empty()) wanted.fill(true);
    }
    return wanted;
}

film::Settings film_settings(const world::World& world, const RenderArguments& arguments) {
    const miCamera& camera = world.camera();
    const miOptions& options = world.options();
    const scene::Options& source = world.scene_options();
    film::Settings settings;
    settings.width = camera.x_resolution;
    settings.height = camera.y_resolution;
    std::copy(std::begin(camera.window), std::end(camera.window), settings.window.begin());
    settings.samples_min = options.samples_min;
    settings.samples_max = options.samples_max;
    settings.contrast = options.contrast;
    settings.filter = source.filter;
    settings.filter_width = source.filter_width;
    settings.filter_height = source.filter_height;
    settings.filter_clip = source.filter_clip;
    settings.jitter = source.jitter;
    settings.motion = options.shutter > 0;
    settings.tile_size = arguments.tile_size > 0 ? arguments.tile_size : source.task_size;
    settings.wanted = wanted_buffers(world);
    settings.threads = arguments.threads > 0 ? arguments.threads : processors();
    return settings;
}

// What a frame needs at least is told before it is asked for.
void check_room(const world::World& world, const film::Settings& settings) {
    const auto wanted = std::count(settings.wanted.begin(), settings.wanted.end(), true);
    const double needed = double(settings.width) * settings.height * double(sizeof(miColor)) *
                          static_cast<double>(std::max<std::ptrdiff_t>(wanted, 1));
    const auto there = static_cast<double>(physical_memory());
    if (needed <= there) return;
    const auto gibibytes = [](double bytes) {
        return std::to_string(static_cast<long>(bytes / (1 << 30))) + " GiB";
    };
    throw error_at(world.scene_camera().place, Exit::Memory,
                   "a picture of " + std::to_string(settings.width) + " x " +
                       std::to_string(settings.height) + " pixels needs " + gibibytes(needed) +
                       " of memory, and there are " + gibibytes(there));
}

// What cannot be written is told before the picture is rendered.
void check_output(const scene::Output& output) {
    std::string name = output.format;
    const std::string extension = fs::path(output.file).extension().string();
    if (name.empty() && !extension.empty()) name = extension.substr(1);
    const image::PictureFormat* format = image::find_format(name);
    if (!format)
        throw error_at(output.place, Exit::Output,
                       "cannot write picture \"" + output.file + "\": unknown picture format \"" +
                           name + "\"");
    try {
        image::layout_of(output.type, *format);
    } catch (const std::invalid_argument& fault) {
        throw error_at(output.place, Exit::Output, fault.what());
    }
    try {
        image::check_picture_file(output.file);
    } catch (const Error& fault) {
        throw error_at(output.place, Exit::Output,
                       std::string(fault.what()).substr(std::string_view("error: ").size()));
    }
}

void Session::check_outputs(const world::World& world) {
    bool named = false;
    if (arguments_.output.empty())
        for (const scene::Output& output : world.scene_camera().outputs) {
            if (output.file.empty()) continue;
            named = true;
            check_output(output);
            if (++uses_[fs::absolute(output.file).lexically_normal()] == 2)
                message(Level::Warning, to_string(output.place) + ": warning: \"" + output.file +
                                            "\" is written more than once: the last picture stays");
        }
    if (named) return;
    scene::Output own;
    own.file = picture_name(world);
    check_output(own);
}

film::FrameBuffers Session::shade(trace::Frame& frame, ProgressLine& progress,
                                  std::uint64_t& samples) const {
    const auto sample = [&frame](const film::SamplePlace& place) {
        const trace::Seen seen = frame.see(place.x, place.y, place.time, place.key, place.thread);
        return film::EyeSample{seen.color, seen.depth, seen.normal, seen.motion, seen.label};
    };
    const auto stop = [&frame] { return world::render_aborted() || frame.render.ending(); };
    const auto report = [&](const film::Progress& now) {
        samples = now.samples;
        progress.report(now);
    };
    return film::render_film(film_settings(frame.world, arguments_), sample, report, stop);
}

void Session::render(const scene::Scene& scene, const scene::RenderCommand& command) {
    if (stopped()) return;
    ++frames_;
    link(scene);
    ProgressLine progress;
    world::World world(scene, command, libraries_, pictures_, folders_,
                       {arguments_.resolution, arguments_.samples, arguments_.window});
    check_outputs(world);
    check_room(world, film_settings(world, arguments_));
    trace::Frame frame(world);
    std::uint64_t samples = 0;
    const film::FrameBuffers buffers = shade(frame, progress, samples);
    frame.render.check();
    progress.finish("frame " + std::to_string(frames_));
    advise(frame, buffers);

    // A finished picture of an earlier run is worth more than one of nothing.
    if (samples > 0 || !stopped()) put_out(frame, buffers, command);
    for (const std::string& leak : frame.close()) {
#ifndef NDEBUG
        message(Level::Warning, "left allocated: " + leak);
#else
        message(Level::Debug, "left allocated: " + leak);
#endif
    }
}

bool is_black(const miColor& c) { return c.r == 0 && c.g == 0 && c.b == 0; }

// Each thing once, however many frames it is true of.
void Session::advise(const trace::Frame& frame, const film::FrameBuffers& buffers) {
    if (stopped()) return;
    const std::vector<miColor>& pixels = buffers[miFB_COLOR]->pixels();
    for (const std::string& line :
         trace::advice(frame, std::all_of(pixels.begin(), pixels.end(), is_black)))
        if (advised_.insert(line).second) message(Level::Warning, line);
}

// Output shaders work on the buffers in the order in which files and shaders are listed.
void Session::put_out(trace::Frame& frame, const film::FrameBuffers& buffers,
                      const scene::RenderCommand& command) {
    world::World& world = frame.world;
    for (std::size_t i = 0; i < buffers.size(); ++i)
        world.options().frame_buffers[i] = buffers[i].get();
    const auto& outputs = world.scene_camera().outputs;
    bool written = false;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (const world::ListEntry* list = world.output_shaders()[i]) frame.run_output(list);
        if (outputs[i].file.empty() || !arguments_.output.empty()) continue;
        write(world, buffers, outputs[i], command);
        written = true;
    }
    if (!written) {
        scene::Output output;
        output.file = picture_name(world);
        write(world, buffers, output, command);
    }
}

std::string Session::picture_name(const world::World& world) const {
    const std::string name = numbered_name(world);
    const std::string file = folders_.fence.output(name).string();
    if (file.empty()) throw Error(Exit::Output, "\"" + name + "\" leads out of the output folder");
    return file;
}

// The picture of the command line, or one named after the scene where nothing names one.
// #### becomes the frame's number; without it later frames get a number of their own.
std::string Session::numbered_name(const world::World& world) const {
    std::string name = arguments_.output;
    if (name.empty()) {
        const fs::path stem = arguments_.scene == "-" ? "scene" : fs::path(arguments_.scene).stem();
        name = stem.string() + ".png";
    }
    if (const std::size_t at = name.find('#'); at != std::string::npos) {
        const std::size_t end = std::min(name.find_first_not_of('#', at), name.size());
        std::string number = std::to_string(world.camera().frame);
        if (number.size() < end - at) number.insert(0, end - at - number.size(), '0');
        return name.replace(at, end - at, number);
    }
    if (frames_ == 1) return name;
    const fs::path path(name);
    return (path.parent_path() /
            (path.stem().string() + "." + std::to_string(frames_) + path.extension().string()))
        .string();
}

void Session::write(const world::World& world, const film::FrameBuffers& buffers,
                    const scene::Output& output, const scene::RenderCommand& command) {
    const scene::Options& options = world.scene_options();
    image::PictureSettings settings;
    settings.type = output.type.empty() ? "rgba" : output.type;
    settings.format = output.format;
    settings.quality = output.quality;
    settings.compression = output.compression;
    settings.gamma = options.gamma;
    settings.colorclip = options.colorclip;
    settings.desaturate = options.desaturate;
    settings.premultiply = options.premultiply;
    settings.dither = options.dither;
    settings.hurried = world::render_aborted;
    settings.metadata = {{"orvane:scene", fs::path(arguments_.scene).filename().string()},
                         {"orvane:root", command.root},
                         {"orvane:camera", command.camera},
                         {"orvane:options", command.options},
                         {"orvane:frame", std::to_string(world.camera().frame)}};
    image::write_picture(*buffers[buffer_of(settings.type)], output.file, settings);
    message(Level::Info, "wrote " + output.file);
}

}  // namespace

int render(const RenderArguments& arguments) {
    if (arguments.verbosity) set_verbosity(*arguments.verbosity);
    if (arguments.samples && (*arguments.samples)[0] > (*arguments.samples)[1])
        throw Error(Exit::Usage, "--samples: the least number is above the most");
    if (const auto& window = arguments.window;
        window && ((*window)[0] > (*window)[2] || (*window)[1] > (*window)[3]))
        throw Error(Exit::Usage, "--window: its low edge is the higher one");
    std::error_code error;
    if (arguments.untrusted && !fs::is_directory(arguments.output, error))
        throw Error(Exit::Usage, "--untrusted: -o must name a folder that is there");
    const SignalHandlers handlers;
    Session session(arguments);
    scene::ParserSettings settings;
    settings.include_path = session.folders().includes;
    settings.fence = session.folders().fence;
    settings.verbosity_fixed = arguments.verbosity.has_value();
    settings.on_render = [&session](const scene::Scene& scene,
                                    const scene::RenderCommand& command) {
        session.render(scene, command);
    };
    settings.stop = world::render_aborted;
    try {
        scene::parse_file(arguments.scene, settings);
    } catch (const Stopped&) {
    }
    if (const int number = the_signal; number != 0) {
        message(Level::Warning, "stopped by a signal; what was done is kept");
        return 128 + number;
    }
    if (session.frames() == 0)
        message(Level::Warning, arguments.scene + " has no render command: nothing was rendered");
    return 0;
}

}  // namespace orvane::commands
