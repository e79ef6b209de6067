// What a flare costs a pixel.
//
// (a) The primitives of a preset, and a star, at all pixels of a frame of 1920 x 1080 on one
//     thread: the plug-in against plain loops over the same formulas (flare_plain.cpp), which may
//     use all that the processor has. Both must draw the same picture, bit for bit.
// (b) A frame through the renderer, with the lens and without it.
//
// The passes alternate; the least time of each row of pixels is taken.

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "flare/primitives.h"
#include "flare/star.h"
#include "flare_plain.h"
#include "harness.h"

using namespace orvane;

namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
constexpr int kPasses = 9;

// Screen units of a place in pixels.
miScalar screen_x(float x) { return x / kWidth - 0.5f; }
miScalar screen_y(float y) { return (y - kHeight / 2) / kWidth; }

// All shapes and all profiles that draw more than a flat disc.
constexpr const char* kAllTypes = R"(
CIRCLE   1.2 1.1 0.9   1 1  0.06 15 0.12
CIRCLE   0.5 0.4 0.2   1 1  0.25 7 0.06
CIRCLE   0.1 0.1 0.1   1 1  0.17 6 0
CIRCLE   0.2 0.1 0.1   0.6 0.7  0.03 3 3
CIRCLE   0.1 0.1 0.2   -0.4 -0.5  0.08 14 0.93
CIRCLE   0.1 0.2 0.1   -1.2 -1.4  0.1 5 0.12
CIRCLE   0.1 0.1 0.1   1 1  0.12 8 0
CIRCLE_D 0.1 0.1 0.2   0.2 0.1  0.3 0.4  0.05 1 0
CIRCLE_D 0.1 0.2 0.2   -0.3 0.2  0.2 0.3  0.04 9 0
CIRCLE_D 0.2 0.1 0.1   0 0.1  0.5 0.4  0.02 11 0.3
NGON     0.1 0.2 0.1   0.4 0.3  0.04 0.2 0.3  6 3 4
NGON     0.1 0.1 0.2   -0.6 -0.7  0.07 0 0.5  6 14 0.9
NGON     0.2 0.1 0.1   -1 -1.1  0.12 0.1 0.2  5 5 0.2
NGON_D   0.1 0.1 0.1   0.1 -0.2  0.4 0.5  0.06 0 0.1  7 2 0
NGON_D   0.1 0.1 0.1   -0.2 0.1  0.4 0.5  0.03 0 0.1  8 15 0.5
SECTOR   0.4 0.3 0.2   1 0 0.1  0.3 0 0.02  0.03 40 4 2
SECTOR   0.1 0.1 0.2   1 0.3 0.4  0.8 0 0.01  0.01 4 2 0
RAYS     0.6 0.5 0.4   1 0 0.2  0.25 0 0.01  60 20 4 2
RAYS     0.3 0.3 0.6   1 0.5 0.6  0.15 0 0.02  30 100 2 0
RAYS     0.1 0.2 0.4   -1 0 0  0.9 0 0.005  2 40 4 1.5
)";

// Ghosts and veils of the usual sizes.
constexpr const char* kCircles = R"(
CIRCLE 1.7 1.6 1.5  1 1  0.03 15 0.2
CIRCLE 0.7 0.5 0.3  1 1  0.25 7 0.06
CIRCLE 0.2 0.2 0.1  1 1  0.3 15 0.4
CIRCLE 0.1 0.1 0.1  0.84 -0.84  0.07 14 0.95
CIRCLE 0.2 0.1 0.1  0.7 -0.7  0.02 3 4
CIRCLE 0.1 0.1 0.1  0.6 -0.6  0.03 3 5
CIRCLE 0.1 0.1 0.1  0.6 -0.6  0.03 5 0.12
CIRCLE 0.1 0.1 0.1  0.46 -0.46  0.02 3 3
CIRCLE 0.1 0.1 0.1  0.4 -0.4  0.046 14 0.92
CIRCLE 0.1 0.1 0.1  0.14 -0.14  0.02 3 2
CIRCLE 0.1 0.1 0.1  0.06 -0.06  0.02 3 3
CIRCLE 0.1 0.1 0.1  -0.22 0.22  0.1 1 0
CIRCLE 0.1 0.1 0.1  -0.34 0.34  0.034 14 0.9
CIRCLE 0.1 0.1 0.1  -0.42 0.42  0.02 3 3
CIRCLE 0.1 0.1 0.1  -0.56 0.56  0.044 14 0.94
CIRCLE 0.1 0.1 0.1  -0.78 0.78  0.028 3 3
CIRCLE 0.1 0.1 0.1  -1 1  0.085 14 0.96
CIRCLE 0.1 0.1 0.1  -1.2 1.2  0.2 4 3
CIRCLE 0.1 0.1 0.1  -1.5 1.5  0.145 6 0
CIRCLE 0.1 0.1 0.1  -1.5 1.5  0.14 2 0
)";

constexpr const char* kPreset = "\"flare_preset\" \"preset\"";
constexpr const char* kStar = R"("star_on" on, "star_count" 12, "star_width" 0.02,
    "star_length" 0.03, "star_length_noise" 0.5, "star_width_noise" 0.5, "star_rotation" 8)";

// The text in the alpha of a picture within the scene, one row of pixels.
std::string carrier(const std::string& preset) {
    const std::string text = "FLARE_START 1" + preset + "FLARE_END\n";
    std::string bytes;
    char pixel[16];
    for (const char c : text) {
        std::snprintf(pixel, sizeof pixel, " '000000%02x'", static_cast<unsigned>(c));
        bytes += pixel;
    }
    return "color texture \"preset\" [ " + std::to_string(text.size()) + " 1 ]" + bytes + "\n";
}

// A lit floor and a light in the upper right of the frame. light: more of its parameters.
std::string scene_text(const char* preset, const char* light, bool with_lens) {
    std::string text = R"(link "orvane.so"
$include "orvane.mi"
$include "soft.mi"
options "o" samples 0 0 trace depth 1 1 2 shadow on object space end options
camera "c" focal 1 aperture 1 aspect 1.77778 resolution 1920 1080
)";
    if (with_lens) text += "lens \"Orvane_Lens\" (\"light\" [\"li\"])\n";
    text += "end camera\ninstance \"ci\" \"c\" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 -1 -5 1 ";
    text += "end instance\n" + carrier(preset) + "light \"l\" \"Orvane_Light\" (" + light;
    text += R"( ) origin 0 0 0 end light
instance "li" "l" transform 1 0 0 0  0 1 0 0  0 0 1 0  -1.2 -1.6 0 1 end instance
material "m" opaque "soft_material" ( "diffuse" .7 .7 .7 1, "light" ["li"] ) end material
)";
    return text + bench::kFloor;
}

// Seconds that each row of a frame has taken at least.
class Least {
  public:
    // Calls draw(color, x, y) for all pixels.
    void pass(std::vector<miColor>& picture, const auto& draw) {
        for (int y = 0; y < kHeight; ++y) {
            miColor* row = picture.data() + y * kWidth;
            const double seconds = bench::seconds_of([&] {
                for (int x = 0; x < kWidth; ++x)
                    draw(row + x, static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f);
            });
            double& least = rows_[static_cast<std::size_t>(y)];
            least = std::min(least, seconds);
        }
    }
    double ns_a_pixel() const {
        return 1e9 * std::accumulate(rows_.begin(), rows_.end(), 0.0) / kWidth / kHeight;
    }

  private:
    std::vector<double> rows_ = std::vector<double>(kHeight, 1e9);
};

bool equal(const miColor& a, const miColor& b) {
    return std::memcmp(&a, &b, 3 * sizeof(miScalar)) == 0;
}

void compare(const char* name, const auto& plugin, const auto& plain) {
    std::vector<miColor> ours(kPixels), theirs(kPixels);
    Least least, least_plain;
    for (int i = 0; i < kPasses; ++i) {
        least.pass(ours, plugin);
        least_plain.pass(theirs, plain);
    }
    int differing = 0;
    for (std::size_t i = 0; i < kPixels; ++i) differing += !equal(ours[i], theirs[i]);
    std::printf("%-25s %7.1f ns a pixel, plain loop %7.1f, ratio %.2f, %d pixels differ\n", name,
                least.ns_a_pixel(), least_plain.ns_a_pixel(),
                least.ns_a_pixel() / least_plain.ns_a_pixel(), differing);
}

// A function of the plug-in that the frame has loaded.
template <typename Function>
Function* in_plugin(const char* name) {
    static void* library = dlopen(
        (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "orvane.so").c_str(),
        RTLD_NOW);
    return reinterpret_cast<Function*>(dlsym(library, name));
}

// A light as the lens would have set it up.
struct Flare {
    Orvane_Light_params params = {};
    FlareLight light = {};

    Flare() {
        params.flare_scale = params.flare_aspect = 1;
        light.params = &params;
        light.x = 0.24f, light.y = 0.12f;
    }
};

void compare_preset(trace::Frame& frame, const char* name, std::string preset) {
    const auto read = in_plugin<decltype(parsePrimitiveLine)>("parsePrimitiveLine");
    const auto draw = in_plugin<decltype(drawPrimitives)>("drawPrimitives");
    Flare flare;
    int& count = flare.light.primitive_count;
    for (std::size_t end = 0; (end = preset.find('\n')) != preset.npos; preset.erase(0, end + 1))
        if (read(preset.c_str(), &flare.light.primitives, count + 1) == PRESET_LINE_PRIMITIVE)
            ++count;
    in_plugin<decltype(placePrimitives)>("placePrimitives")(&flare.light, 0.5f);

    miState state = frame.state(0);
    compare(
        name,
        [&](miColor* out, float x, float y) {
            state.sample_dimension = 0;
            draw(&state, out, &flare.light, screen_x(x), screen_y(y), 0);
        },
        [&](miColor* out, float x, float y) {
            state.sample_dimension = 0;
            plain::draw_primitives(&state, out, &flare.light, screen_x(x), screen_y(y));
        });
    mi_mem_int_release("bench", __LINE__, flare.light.primitives);
}

void compare_star(trace::Frame& frame) {
    const auto draw = in_plugin<decltype(drawStar)>("drawStar");
    Flare flare;
    flare.params.star_count = 12;
    flare.params.star_width = 0.02f, flare.params.star_width_noise = 0.5f;
    flare.params.star_length = 0.03f, flare.params.star_length_noise = 0.5f;
    flare.params.star_rotation = 8;
    miState state = frame.state(0);
    in_plugin<decltype(buildStarTables)>("buildStarTables")(&flare.light, 0, &state);
    compare(
        "star of 12 streaks",
        [&](miColor* out, float x, float y) {
            *out = {0, 0, 0, 0};
            draw(out, &flare.light, screen_x(x), screen_y(y));
        },
        [&](miColor* out, float x, float y) {
            *out = {0, 0, 0, 0};
            plain::draw_star(out, &flare.light, screen_x(x), screen_y(y));
        });
}

void compare_parts(trace::Frame& frame) {
    in_plugin<decltype(initRayTable)>("initRayTable")();
    plain::init_rays();
    compare_preset(frame, "20 primitives, all types", kAllTypes);
    compare_preset(frame, "20 circles", kCircles);
    compare_star(frame);
}

void frame_pass(Least& least, const std::string& text) {
    std::vector<miColor> picture(kPixels);
    bench::with_frame(text, [&](trace::Frame& frame) {
        least.pass(picture, [&frame](miColor* out, float x, float y) {
            *out = frame.see(x, y, 0, 0, 0).color;
        });
    });
}

void compare_frames() {
    struct {
        const char* name;
        std::string scene;
        Least least = {};
    } frames[] = {
        {"without lens", scene_text("\n", kPreset, false)},
        {"20 primitives, all types", scene_text(kAllTypes, kPreset, true)},
        {"20 circles", scene_text(kCircles, kPreset, true)},
        {"star of 12 streaks", scene_text("\n", kStar, true)},
    };
    for (int i = 0; i < kPasses; ++i)
        for (auto& frame : frames) frame_pass(frame.least, frame.scene);
    for (const auto& frame : frames)
        std::printf("frame, %-25s %7.1f ns a pixel, ratio %.2f\n", frame.name,
                    frame.least.ns_a_pixel(),
                    frame.least.ns_a_pixel() / frames[0].least.ns_a_pixel());
}

}  // namespace

int main() {
    bench::with_frame(scene_text("\n", kPreset, false), compare_parts);
    compare_frames();
}
