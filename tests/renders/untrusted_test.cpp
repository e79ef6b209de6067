// Scenes that are not trusted, and what they try.

#include <gmock/gmock.h>

#include "command.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;

TEST(Untrusted, ScenesStayInTheirFolders) {
    const Folder folder("");
    for (const char* name : {"in/sub", "out", "lib"}) fs::create_directories(folder.path(name));
    folder.put("secret.mi", "echo \"told\"");
    folder.put("in/good.mi", "$include \"sub/deep.mi\"");
    folder.put("in/sub/deep.mi", "$include \"../fine.mi\"");
    folder.put("in/fine.mi", "");
    folder.put("in/chain.mi", "$include \"sub/up.mi\"");
    folder.put("in/sub/up.mi", "$include \"../../secret.mi\"");
    fs::create_symlink(folder.path("secret.mi"), folder.path("in/link.mi"));
    fs::create_directory_symlink(folder.path(""), folder.path("in/sub/top"));
    fs::create_directory_symlink(folder.path(""), folder.path("out/top"));
    fs::copy(ORVANE_BUILD_DIR "/probe.so", folder.path("in/near.so"));
    fs::copy(ORVANE_BUILD_DIR "/probe.so", folder.path("lib/far.so"));
    const std::string top = folder.path("").string(), file = "x.exr";
    const auto texture = [](const std::string& name) {
        return "color texture \"t\" \"" + name +
               "\" material \"m\" \"soft_texture\" (\"texture\" \"t\") end material";
    };
    const struct {
        std::string text, output;
        int status;
        std::string line;
    } kCases[] = {
        {"$include \"good.mi\"\nlink \"far\"", file, 0, "wrote out/x.exr"},
        {texture("presets/candle.png"), "new/" + file, 0, "wrote out/new/x.exr"},
        {"", top + "out/y.exr", 0, "wrote"},
        {"$include \"../secret.mi\"", file, 5, "scene.mi:5:10: error: \"../secret.mi\" leads out"},
        {"$include \"/dev/stdin\"", file, 5, "leads out"},
        {"$include \"${HOME}/x.mi\"", file, 5, "\"/x.mi\" leads out"},
        {"$include \"link.mi\"", file, 5, "leads out"},
        {"$include \"sub/top/secret.mi\"", file, 5, "leads out"},
        {"$include \"chain.mi\"", file, 5, "in/sub/up.mi:1:10: error: "},
        {texture("../secret.png"), file, 5, "scene.mi:5:15: error: \"../secret.png\" leads out"},
        {texture(ORVANE_SOURCE_DIR "/scenes/textures/wood.png"), file, 5, "leads out"},
        {texture("sub/top/secret.png"), file, 5, "leads out"},
        {texture("/dev/stdin"), file, 5, "leads out"},
        {"link \"near\"", file, 0, "\"near\" is not loaded: no file near.so"},
        {"link \"" + top + "lib/far.so\"", file, 0, "is not loaded: a scene that"},
        {"", "../" + file, 6, "error: cannot write \"../x.exr\": it leads out"},
        {"", top + file, 6, "leads out"},
        {"", "new/../../" + file, 6, "leads out"},
        {"", "top/" + file, 6, "leads out"},
    };
    for (const auto& test : kCases) {
        Scene s;
        s.file = test.output;
        if (test.text.find("material") == std::string::npos) s.material("m", constant(1, 1, 1));
        s.wall("w", "m", -2);
        folder.put("in/scene.mi",
                   "link \"orvane.so\"\n$include \"soft.mi\"\n$include \"orvane.mi\"\n\n" +
                       test.text + '\n' + s.body());
        const Outcome outcome = folder.run(
            {"render", "in/scene.mi", "--untrusted", "-o", "out", "--link-path", "lib", "-v", "4"});
        EXPECT_EQ(outcome.status, test.status) << test.text << test.output << outcome.errors;
        EXPECT_THAT(outcome.errors, testing::HasSubstr(test.line)) << test.text << test.output;
        EXPECT_THAT(outcome.errors, testing::Not(testing::HasSubstr("told"))) << test.text;
        EXPECT_FALSE(fs::exists(folder.path(file)));
    }
    for (const char* output : {"none", "in/scene.mi"})
        EXPECT_EQ(folder.run({"render", "in/scene.mi", "--untrusted", "-o", output}).status, 2);
}

}  // namespace
}  // namespace orvane
