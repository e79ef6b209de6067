// What a hit of each material costs beside one of soft_material.
//
// One frame, a strip of it for each material, bent so that highlights and grazing angles are in it,
// with one light without shadow, on one thread. A hit's own work is its time less that of a strip
// of soft_constant, which pays for the eye ray and the state. The materials stand in groups of
// equal settings, each behind its soft_material: without any ray, or with one mirrored ray that
// sees the environment. Where a material traces more rays or asks more lights than that, the line
// says how many, and what it costs less the price of those. The strips alternate; the least time
// counts.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "harness.h"

using namespace orvane;

namespace {

constexpr int kStrip = 96;  // pixels, each way
constexpr int kPasses = 40;

struct Case {
    std::string name, shader, parameters;
    int more_rays = 0, more_lights = 0;  // than the soft_material of its group
};

const std::string kLit = R"("diffuse" .6 .5 .4 1, "specular" .5 .5 .5 1, "light" [ "li" ])";
const std::string kMirror = kLit + R"(, "reflectivity" .4)";
const std::string kVein = kLit + R"(, "scaling" 3, "complexity" 3)";

std::vector<Case> cases() {
    const std::string metal = R"("color" .6 .5 .4 1, "light" [ "li" ], "smoothness" .6)";
    const std::string peek = kLit + R"(, "peek" [ "li2" ])";
    return {{"soft_constant", "soft_constant", R"("color" 1 1 1 1)"},
            {"soft_material", "soft_material", kLit},
            {"zel_strauss", "zel_strauss", metal + R"(, "metalness" .5)"},
            {"zel_trispec", "zel_trispec", kLit},
            {"zel_frosty", "zel_frosty", kLit},
            {"zel_peekaboo", "zel_peekaboo", peek},
            {"zel_velvet", "zel_velvet", kLit},
            {"translucent_material", "translucent_material", kLit, 0, 1},
            {"zel_shadow_matte", "zel_shadow_matte", R"("light" [ "li" ])"},
            {"cptn_nemo, veins off", "cptn_nemo", kVein + R"(, "thickness" -1, "glow" 0)"},
            {"static_cling", "static_cling", kVein},
            {"dusty", "dusty", kLit + R"(, "use_noise" on)", 0, 1},
            {"soft_material, mirror", "soft_material", kMirror},
            {"zel_xmasball", "zel_xmasball", kMirror},
            {"zel_strauss", "zel_strauss", metal + R"(, "reflectivity" .4)"},
            {"zel_frosty, 1 ray", "zel_frosty", kMirror + R"(, "reflect_samples" 1)"},
            {"zel_frosty, 9 rays", "zel_frosty", kMirror + R"(, "reflect_samples" 9)", 8}};
}

std::string scene_text(const std::vector<Case>& all) {
    const auto n = static_cast<double>(all.size());
    std::string text = R"(link "orvane.so"
$include "orvane.mi"
$include "soft.mi"
options "o" samples 0 0 shadow off end options
light "l" "Orvane_Light" ( "color" 1 1 1 1 ) direction -.3 -.4 -1 end light
instance "li" "l" end instance
instance "li2" "l" end instance
camera "c" focal infinity aperture )" +
                       std::to_string(n) + " aspect " + std::to_string(n) + R"(
    environment "soft_constant" ( "color" .5 .6 .7 1 )
end camera
instance "ci" "c" end instance
)";
    std::string instances;
    for (std::size_t k = 0; k < all.size(); ++k) {
        const std::string id = std::to_string(k);
        const double x = static_cast<double>(k) - n / 2;
        char corners[200];
        std::snprintf(corners, sizeof corners, "%g -.5 -5 %g -.5 -5 %g .5 -5 %g .5 -5", x, x + 1,
                      x + 1, x);
        text += "material \"m" + id + "\" opaque \"" + all[k].shader + "\" ( " + all[k].parameters +
                " ) end material\nobject \"o" + id + "\" visible on trace on group\n" + corners +
                "\n-.5 -.5 1 .5 -.5 1 .5 .5 1 -.5 .5 1\n"
                "v 0 n 4 v 1 n 5 v 2 n 6 v 3 n 7 c 0 1 2 3 end group end object\ninstance \"i" +
                id + "\" \"o" + id + "\" material \"m" + id + "\" end instance\n";
        instances += " \"i" + id + "\"";
    }
    return text + "instgroup \"root\" \"ci\" \"li\" \"li2\"" + instances +
           " end instgroup\nrender \"root\" \"ci\" \"o\"\n";
}

// Seconds for a strip of the frame.
double time_of(trace::Frame& frame, const std::vector<Case>& all, std::size_t k) {
    const miCamera& camera = frame.world.camera();
    const float wide = static_cast<float>(camera.x_resolution) / static_cast<float>(all.size());
    const auto high = static_cast<float>(camera.y_resolution);
    return bench::processor_seconds_of([&] {
        for (int y = 0; y < kStrip; ++y)
            for (int x = 0; x < kStrip; ++x)
                frame.see((static_cast<float>(k) + (static_cast<float>(x) + .5f) / kStrip) * wide,
                          (static_cast<float>(y) + .5f) / kStrip * high, 0, 0, 0);
    });
}

void measure(trace::Frame& frame, const std::vector<Case>& all) {
    std::vector<double> times(all.size(), 1e9);
    for (int pass = 0; pass < kPasses; ++pass)
        for (std::size_t k = 0; k < all.size(); ++k)
            times[k] = std::min(times[k], time_of(frame, all, k));

    const auto own = [&](std::size_t k) { return 1e9 * (times[k] - times[0]) / kStrip / kStrip; };
    std::size_t lit = 1, mirror = 1, frosty = all.size() - 2, matte = 1;
    for (std::size_t k = 0; k < all.size(); ++k) {
        if (all[k].name == "soft_material, mirror") mirror = k;
        if (all[k].name == "zel_shadow_matte") matte = k;
    }
    const double ray = (own(frosty + 1) - own(frosty)) / 8, light = own(matte);
    std::printf("eye ray and state %.0f ns, a mirrored ray %.0f ns, a light %.0f ns\n",
                1e9 * times[0] / kStrip / kStrip, ray, light);
    for (std::size_t k = 1; k < all.size(); ++k) {
        const std::size_t soft = k < mirror ? lit : mirror;
        const double work = own(k) - all[k].more_rays * ray - all[k].more_lights * light;
        std::printf("%-24s %6.0f ns a hit, %.2f times soft_material", all[k].name.c_str(), own(k),
                    own(k) / own(soft));
        if (all[k].more_rays || all[k].more_lights)
            std::printf("; %.2f without %d more rays and %d more lights", work / own(soft),
                        all[k].more_rays, all[k].more_lights);
        std::printf("\n");
    }
}

}  // namespace

int main() {
    const std::vector<Case> all = cases();
    bench::with_frame(scene_text(all), [&](trace::Frame& frame) { measure(frame, all); });
}
