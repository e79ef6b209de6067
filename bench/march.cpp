// What a sample of light in the air costs.
//
// A frame of 320 x 240 eye rays over a floor, on one thread, with a volume and without it; the
// difference by the number of samples that Orvane_Volume has asked its lights for. So the price of
// entering and leaving the cones and of the march itself is in it. The passes alternate; the least
// time of each is taken. An argument names the one case to measure.

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "harness.h"

using namespace orvane;

// Calls within the plug-in go through the exported names, so this one is called first: it counts
// and passes on, which costs about 2 ns.
static long samples_taken = 0;
extern "C" void qv_InScatter(miColor* out, const void* segments, int count, const miVector* point,
                             miState* state, miScalar t) {
    using Function = void (*)(miColor*, const void*, int, const miVector*, miState*, miScalar);
    static const Function plugin = [] {
        const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
        void* library = dlopen((here / "orvane.so").c_str(), RTLD_LAZY);  // stays: used to the end
        return reinterpret_cast<Function>(dlsym(library, "qv_InScatter"));
    }();
    samples_taken += count;
    plugin(out, segments, count, point, state, t);
}

namespace {

constexpr int kWidth = 320, kHeight = 240;
constexpr int kPasses = 5;

struct Case {
    const char* name;
    const char* light;   // more parameters of the light
    const char* shape;   // what makes it a spot or a point light
    const char* volume;  // more parameters of the volume
};

constexpr const char* kSpot = "origin 0 0 0 direction 0 -1 0 spread 0.9";
constexpr const char* kPoint = "origin 0 0 0";
constexpr Case kCases[] = {
    {"spot", "", kSpot, ""},
    {"spot, shadows", "\"volume_shadows\" on,", kSpot, ""},
    {"spot, inverse square", "\"inverse_square\" on,", kSpot, ""},
    {"point", "", kPoint, ""},
    {"point, shadows", "\"volume_shadows\" on,", kPoint, ""},
    {"spot, noise per sample", "", kSpot, ", \"noise\" on, \"noise_per_sample\" on"},
};

std::string scene_text(const Case& c, bool with_volume) {
    std::string text = R"(link "orvane.so"
$include "orvane.mi"
$include "soft.mi"
options "o" samples 0 0 trace depth 1 1 2 shadow on object space end options
)";
    text += "camera \"c\" focal 1 aperture 1 aspect 1.3333 resolution 320 240\n";
    if (with_volume)
        text += std::string("volume \"Orvane_Volume\" (\"light\" [\"li\"], \"step_length\" 0.02") +
                c.volume + ")\n";
    text += "end camera\ninstance \"ci\" \"c\" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 -1 -5 1 ";
    text += "end instance\nlight \"l\" \"Orvane_Light\" (";
    text += c.light;
    text += R"("volume_density" 1, "volume_decay" 0.5) )";
    text += c.shape;
    text += R"( end light
instance "li" "l" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 -2.5 0 1 end instance
material "m" opaque "soft_material" ( "diffuse" .7 .7 .7 1 ) end material
)";
    return text + bench::kFloor;
}

float shade(trace::Frame& frame) {
    float sum = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            sum += frame.see(static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f, 0, 0, 0)
                       .color.r;
    return sum;
}

// Time of a frame; its maps are built beforehand by a pass that is not timed.
double frame_time(const Case& c, bool with_volume, float* mean) {
    double seconds = 0;
    bench::with_frame(scene_text(c, with_volume), [&](trace::Frame& frame) {
        *mean = shade(frame) / kWidth / kHeight;
        samples_taken = 0;
        seconds = bench::processor_seconds_of([&] { shade(frame); });
    });
    return seconds;
}

void measure(const Case& c) {
    double with = 1e9, without = 1e9, samples = 0;
    float mean = 0, unused = 0;
    for (int pass = 0; pass < kPasses; ++pass) {
        with = std::min(with, frame_time(c, true, &mean));
        samples = static_cast<double>(samples_taken);
        without = std::min(without, frame_time(c, false, &unused));
    }
    std::printf("%-24s %6.1f ns a sample and light (%4.1f samples a pixel, mean %.3f)\n", c.name,
                1e9 * (with - without) / samples, samples / kWidth / kHeight,
                static_cast<double>(mean));
}

// The show picture of the volume, every 16th pixel, with its air and without.
void measure_chapel() {
    const std::filesystem::path file = ORVANE_SOURCE_DIR "/scenes/beams.mi";
    std::ifstream stream(file);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    double seconds[2] = {};
    for (const bool with : {true, false}) {
        if (!with) text.erase(text.find("volume = \"air\""), 14);
        bench::with_frame(text, [&seconds, with](trace::Frame& frame) {
            frame.see(1, 1, 0, 0, 0);  // builds the maps
            seconds[with] = bench::processor_seconds_of([&frame] {
                for (int y = 2; y < 720; y += 4)
                    for (int x = 2; x < 1280; x += 4)
                        frame.see(static_cast<float>(x), static_cast<float>(y), 0, 0, 0);
            });
        });
    }
    std::printf("beams.mi: %.1f us a pixel with its air, %.1f without\n",
                1e6 * seconds[true] / (180 * 320), 1e6 * seconds[false] / (180 * 320));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || std::string(argv[1]) == "beams.mi") measure_chapel();
    for (const Case& c : kCases)
        if (argc < 2 || std::string(argv[1]) == c.name) measure(c);
}
