// Drawings by the toon lens, and sprites.

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "command.h"

namespace orvane {
namespace {

const std::string kDrawn = R"(lens "zel_toon_lens" ("width" 2) )";

// Two boxes and a floor with their shadows, before nothing; only lines are red.
Scene toys(const std::string& camera, const std::string& options = "scanline off") {
    Scene s;
    s.options = options;
    s.camera = "resolution 48 48 " + camera;
    s.light("lamp", "\"soft_light\" ()", "origin 4 4 -2");
    s.material("toon", R"("zel_toon_mat" ("model" 0, "diffuse" 0 .6 .9 1, "ambient" 0 .2 .4 1,
        "light" ["lamp"], "zone_lines" on, "line_color" 1 0 0 1))");
    s.box("low", "toon", {-2, -1, -5}, {-0.3, -0.2, -3}, "visible shadow tag 1");
    s.box("high", "toon", {-0.6, -1, -7}, {1.5, 2, -5}, "visible shadow tag 2");
    return s.quad("floor", "toon", {-5, -1, -1}, {10, 0, 0}, {0, 0, -9}, "visible shadow tag 3");
}

bool equal(const Image& a, const Image& b) {
    const std::size_t size = a.pixels().size();
    return b.pixels().size() == size &&
           std::memcmp(a.pixels().data(), b.pixels().data(), size * sizeof(miColor)) == 0;
}

// Scanline is on where a scene does not say otherwise.
TEST(Toon, LensesRefuseScanline) {
    for (const std::string options : {"", "scanline on"})
        for (const std::string name : {"toon_lens", "sprite"}) {
            const Outcome outcome = Folder(toys("lens \"zel_" + name + "\" ()", options)).render();
            EXPECT_EQ(outcome.status, 7);
            EXPECT_THAT(outcome.errors,
                        testing::MatchesRegex("scene.mi:[0-9]+:[0-9]+: fatal: " + name +
                                              ": shader will not run in scanline mode\n.*\n.*\n"));
        }
}

TEST(Toon, TwoLensesDisableEachOther) {
    const std::string warning =
        "orvane: warning: toon_lens: only one instance allowed, others disabled\n";
    const Folder folder(toys(kDrawn + kDrawn));
    EXPECT_EQ(folder.render().errors, warning + warning);
    EXPECT_TRUE(equal(folder.picture(), render(toys(""))));
}

TEST(Toon, ThreadsDoNotChangeADrawing) {
    const Scene s = toys(kDrawn, "scanline off samples 0 2");
    const Image first = render(s, {"-j", "1"});
    for (const std::string threads : {"2", "7"})
        EXPECT_TRUE(equal(render(s, {"-j", threads, "--tile-size", "8"}), first)) << threads;
}

// With eight times the width, eight times the resolution has the same lines, in the mean of pixels.
TEST(Toon, LinesGrowWithTheResolution) {
    const Image sheet = render(toys(kDrawn, "scanline off samples 2 2"));
    const auto difference_from = [&sheet](const std::string& width) {
        const Image large =
            render(toys("resolution 384 384 lens \"zel_toon_lens\" (\"width\" " + width + ")"));
        std::vector<float> reds(48 * 48);
        for (int y = 0; y < 384; ++y)
            for (int x = 0; x < 384; ++x)
                reds[static_cast<std::size_t>(y / 8 * 48 + x / 8)] += large.at(x, y).r / 64;
        double sum = 0;
        for (std::size_t i = 0; i < reds.size(); ++i)
            sum += std::abs(reds[i] - sheet.pixels()[i].r);
        return sum / static_cast<double>(reds.size());
    };
    EXPECT_LT(difference_from("16"), 0.006);
    EXPECT_GT(difference_from("20"), 0.012);
}

}  // namespace
}  // namespace orvane
