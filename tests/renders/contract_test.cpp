// What shaders are handed and may ask, seen by the shaders of probe.so.

#include <gmock/gmock.h>

#include <sstream>

#include "command.h"

namespace orvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string lens(int id, const std::string& more = "") {
    return "\"probe_lens\" (\"id\" " + std::to_string(id) + more + ") ";
}

TEST(Contract, ItemsAndQueries) {
    Scene s;
    s.camera = "lens " + lens(1) + lens(2);
    s.add("light \"l\" \"soft_light\" () origin 1 2 3 direction 0 0 -2 spread .25 end light");
    s.instance("lamp", "l", "transform 2 0 0 0 0 2 0 0 0 0 2 0 2 0 0 1");
    s.add("color texture \"image\" [2 1] 'ff000000ff00' shader \"plain\" " + constant(1, 1, 1));
    s.wall("w", "m", -2).material("m", R"("probe_items" ("lamp" "lamp", "image" "image",
        "shader" "plain", "own" "m", "object" "w", "text" "a text", "list" [10, 20, 30],
        "colors" [1 2 3, 5 6 7 8], "last" 99))");
    EXPECT_EQ(render(s).at(1, 1).r, 121);  // the material, then the inner lens
}

TEST(Contract, SpacesSamplesAndCopies) {
    Scene s;
    s.options = "samples 1 1";
    s.material("m", "\"probe_checks\" ()").wall("w", "m", 0);
    s.add(R"(instance "part" "of w" transform 1 0 0 0 0 .8 .6 0 0 -.6 .8 0 0 0 0 1 end instance
        instgroup "group" "part" end instgroup)");
    s.instance("a", "group", "transform .5 0 0 0 0 2 0 0 0 0 3 0 0 0 9 1");
    s.instance("b", "group", "transform -1 0 0 0 0 1 0 0 0 0 1 0 0 0 5 1").root = R"("a" "b")";
    EXPECT_EQ(render(s).at(1, 1).r, 1);
}

// The tiny numbers of every thread stay as they are.
TEST(Contract, ThreadsAreNumberedAndKeepTinyNumbers) {
    Scene s;
    s.material("m", "\"probe_see\" (\"what\" 3)").wall("w", "m", -2);
    const Image picture = render(s, {"--resolution", "32", "32", "-j", "3", "--tile-size", "4"});
    for (const miColor& c : picture.pixels()) {
        ASSERT_EQ(c.r, 1);
        ASSERT_TRUE(c.g == 0 || c.g == 1 || c.g == 2);
    }
}

TEST(Contract, OutputShadersChangeTheBuffers) {
    Scene s;
    s.camera = R"(output "z" "exr" "z.exr" output "probe_output" ("buffer" 0)
        output "rgba_fp" "exr" "turned.exr" output "probe_output" ("buffer" 1)
        output "rgba_fp" "exr" "depth.exr")";
    s.material("m", "\"probe_see\" (\"what\" 1)");
    const Folder folder(s.quad("w", "m", {-9, 0.1, -2}, {18, 0, 0}, {0, 9, 0}));
    EXPECT_THAT(folder.render().errors, testing::Not(HasSubstr("probe")));
    EXPECT_GT(folder.picture().at(1, 2).g, 1);
    EXPECT_EQ(folder.picture("turned.exr").at(1, 0).g, folder.picture().at(1, 2).g);
    EXPECT_EQ(folder.picture("depth.exr").at(1, 0).r, 2);
    EXPECT_EQ(folder.picture("depth.exr").at(1, 2).r, 0);
    EXPECT_EQ(folder.picture("z.exr").at(1, 2).r, 2);
}

TEST(Contract, MediaTraceRaysOfTheirOwn) {
    for (const std::string depth : {"1 1 1", "2 2 2", "3 3 4", "2 2 4"}) {
        Scene s;
        s.file = "color.exr";
        s.options = "trace depth " + depth;
        s.camera =
            "volume \"probe_searching_volume\" () output \"z\" \"exr\" \"z.exr\" "
            "output \"rgba_fp\" \"exr\" \"out.exr\"";
        const Folder folder(s.material("m", constant(0.5, 0, 0)).wall("w", "m", -5));
        EXPECT_EQ(folder.render().errors, "");
        EXPECT_EQ(folder.picture("out.exr").at(1, 1).b, 0.5f) << depth;
        EXPECT_NEAR(folder.picture("z.exr").at(1, 1).r, 5, 1e-5) << depth;
    }
}

TEST(Contract, RaysEndEvenWhenShadersLowerTheLevels) {
    Scene s;
    s.material("m", "\"probe_endless\" ()");
    for (int i = 0; i < 2000; ++i) s.wall("w" + std::to_string(i), "m", -1 - 0.01 * i);
    EXPECT_EQ(render(s).at(1, 1).r, 1);
}

struct DepthCase {
    int kind;
    const char* depth;
    miColor expected;  // surfaces met; answers at the first and at the last one
};

TEST(Contract, RaysEndAtTheDepthsOfTheOptions) {
    const DepthCase kCases[] = {{0, "3 0", {4, 1, 0, 1}},   {0, "9 9 2", {3, 1, 0, 1}},
                                {0, "0 9", {1, 0, 0, 1}},   {1, "0 3", {4, 1, 0, 1}},
                                {1, "9 20", {12, 1, 0, 1}}, {2, "9 2", {3, 1, 0, 1}},
                                {3, "0 0", {1, 0, 0, 1}}};
    std::vector<Scene> scenes;
    for (const DepthCase& test : kCases) {
        Scene s;
        s.options = std::string("trace depth ") + test.depth;
        s.material("m", "\"probe_trace\" (\"kind\" " + std::to_string(test.kind) + ")");
        s.wall("facing", "m", 1);
        for (int i = 1; i <= 12; ++i) s.wall("w" + std::to_string(i), "m", -i);
        scenes.insert(scenes.end(), 3, s);
        scenes.end()[-2].camera = "environment " + constant(0, 0, 0);
        scenes.end()[-1].options += " trace off";
    }
    const std::vector<Image> pictures = render_all(scenes);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const DepthCase& test = kCases[i / 3];
        const miColor c = pictures[i].at(1, 1);
        const bool environment = i % 3 == 1, off = i % 3 == 2;
        EXPECT_EQ(c.r, off ? 1 : test.expected.r) << scenes[i].options;
        if (off) continue;
        EXPECT_EQ(c.g, test.kind == 3 ? environment : test.expected.g) << scenes[i].options;
        // The last of twelve surfaces asks for what is behind all of them.
        EXPECT_EQ(c.b, c.r == 12 || test.kind == 3 ? environment : test.expected.b);
    }
}

// The lines of a text that say "life: ...", without what stands before.
std::vector<std::string> life_in(const std::string& errors) {
    std::vector<std::string> lines;
    std::istringstream in(errors);
    for (std::string line; std::getline(in, line);)
        if (const std::size_t at = line.find("life: "); at != line.npos)
            lines.push_back(line.substr(at + 6));
    return lines;
}

TEST(Life, InstancesBeginInOrderAndEndInReverse) {
    const auto life = [](const std::string& name) {
        return "\"probe_life\" (\"name\" \"" + name + "\") ";
    };
    Scene s;
    s.camera = "output " + life("output") + "lens " + life("lens") + "volume " + life("air") +
               "environment " + life("sky");
    s.material("m", life("surface") + "shadow " + life("shadow") + "volume " + life("inside"));
    s.add("shader \"shared\" " + life("texture"));
    s.material("n", R"("soft_material" ("diffuse_map" "shared", "specular_map" "shared"))");
    s.light("a", life("light")).instance("b", "of a");  // a light's instances have their own
    s.wall("w", "m", -2, "visible shadow").wall("v", "n", -3);
    const Outcome outcome = Folder(s).render({"-v", "4", "-j", "2"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors, testing::Not(HasSubstr("warning")));
    std::vector<std::string> lines = life_in(outcome.errors);
    EXPECT_THAT(
        lines, ElementsAre("init all", "init texture", "init light", "init light", "init surface",
                           "init shadow", "init inside", "init sky", "init air", "init lens",
                           "init output", "exit output", "exit lens", "exit air", "exit sky",
                           "exit inside", "exit shadow", "exit surface", "exit light", "exit light",
                           "exit texture", "exit all"));
}

}  // namespace
}  // namespace orvane
