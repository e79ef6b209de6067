// The same scene gives the same picture, bit for bit, whoever renders which part of it.

#include <gmock/gmock.h>

#include <cstring>

#include "command.h"

namespace orvane {
namespace {

TEST(Determinism, NeitherThreadsNorTilesChangeAPicture) {
    Scene s;
    s.options =
        "samples 0 2 contrast .05 .05 .05 .05 shadow segments filter gauss jitter 1 "
        "shutter 1";
    s.camera =
        "aspect 1.5 resolution 48 32 lens \"probe_lens\" (\"step\" .02 0 0, \"rays\" 2)"
        "environment \"soft_environment\" ()";
    s.light("lamp", R"("Orvane_Light" ("shadow" on))", "origin 0 3 0 sphere 1 3 3");
    s.add("shader \"squares\" \"soft_checker\" (\"solid\" on, \"scale\" 2 2 2)");
    s.material("floor", R"("soft_material" ("light" ["lamp"], "diffuse_map" "squares",
        "reflectivity" .3, "fresnel" 1))");
    s.material("glass", R"("soft_material" ("light" ["lamp"], "transparency" .9, "ior" 1.4,
        "reflectivity" .2, "specular" 1 1 1 1) shadow "soft_material" ())");
    s.quad("ground", "floor", {-20, -1, 0}, {40, 0, 0}, {0, 0, -40});
    s.box("cube", "glass", {-1, -1, -4}, {0.2, 0.3, -3})
        .box("block", "floor", {0, -1, -7}, {1, 1, -6});
    s.instance("moving", "of block",
               "transform 1 0 0 0 0 1 0 0 0 0 1 0 1 0 0 1 "
               "motion transform 1 0 0 0 0 1 0 0 0 0 1 0 1.4 0 0 1");

    const Image first = render(s, {"-j", "1"});
    double sum = 0;
    for (const miColor& c : first.pixels()) sum += c.r;
    EXPECT_GT(sum, 0);
    const Arguments kOthers[] = {{"-j", "1", "--tile-size", "8"},
                                 {"-j", "2"},
                                 {"-j", "3"},
                                 {"-j", "8", "--tile-size", "8"},
                                 {"-j", "2", "--tile-size", "64"}};
    for (const Arguments& arguments : kOthers) {
        const Image other = render(s, arguments);
        ASSERT_EQ(other.pixels().size(), first.pixels().size());
        EXPECT_EQ(std::memcmp(other.pixels().data(), first.pixels().data(),
                              first.pixels().size() * sizeof(miColor)),
                  0)
            << testing::PrintToString(arguments);
    }
}

}  // namespace
}  // namespace orvane
