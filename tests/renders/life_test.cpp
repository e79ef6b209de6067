// When functions of shaders are called that begin and end their instances.

#include <gmock/gmock.h>

#include <sstream>

#include "command.h"

namespace orvane {
namespace {

using testing::ElementsAre;

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
    EXPECT_THAT(outcome.errors, testing::Not(testing::HasSubstr("warning")));
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
