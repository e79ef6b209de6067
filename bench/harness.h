// What benchmarks share: a clock, and a frame made from the text of a scene.
#pragma once

#include <ctime>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

#include "plugin/library.h"
#include "scene/parser.h"
#include "trace/frame.h"

namespace orvane::bench {

// The end of a scene with the instances "ci" and "li" and the material "m": a floor, and the order
// to render it with the options "o".
inline constexpr const char* kFloor = R"(object "floor" visible on shadow on trace on
    group -9 0 -9  9 0 -9  9 0 9  -9 0 9 v 0 v 1 v 2 v 3 p 0 1 2 3 end group
end object
instance "fi" "floor" material [ "m" ] end instance
instgroup "root" "ci" "li" "fi" end instgroup
render "root" "ci" "o"
)";

// Seconds on the clock, not of the processor.
inline double seconds_of(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Seconds of the calling thread on its processor: what else runs on the machine counts less.
inline double processor_seconds_of(const auto& work) {
    const auto now = [] {
        timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    const double start = now();
    work();
    return now() - start;
}

// Calls work with the frame that a scene text's render command asks for, ready to be shaded. The
// plug-in, the declarations and the files that the scene names are those beside the benchmark.
inline void with_frame(const std::string& text, const std::function<void(trace::Frame&)>& work) {
    const std::filesystem::path here =
        std::filesystem::read_symlink("/proc/self/exe").parent_path();
    scene::ParserSettings settings;
    settings.include_path = {here};
    settings.on_render = [&](const scene::Scene& scene, const scene::RenderCommand& command) {
        plugin::Libraries libraries({here});
        std::string why;
        for (const auto& [name, place] : scene.libraries) libraries.link(name, why);
        world::PictureCache pictures;
        world::World world(scene, command, libraries, pictures, {{here}, {}, {}}, {});
        trace::Frame frame(world);
        work(frame);
    };
    scene::parse_text(text, "bench", {}, settings);
}

}  // namespace orvane::bench
