// What goes wrong is told in one line, with the right exit status, and leaves nothing behind.

#include <gmock/gmock.h>

#include <csignal>
#include <sstream>

#include "command.h"

namespace orvane {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The lines of a text that tell an error.
std::vector<std::string> errors_in(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (line.find("error: ") != line.npos || line.find("fatal: ") != line.npos)
            lines.push_back(line);
    return lines;
}

void expect_fault(const Folder& folder, const Outcome& outcome, int status,
                  const std::string& line) {
    EXPECT_EQ(outcome.status, status) << line;
    const std::vector<std::string> errors = errors_in(outcome.errors);
    ASSERT_EQ(errors.size(), 1u) << line << '\n' << outcome.errors;
    EXPECT_THAT(errors[0], HasSubstr(line));
    EXPECT_EQ(errors[0].find("error: error"), std::string::npos) << errors[0];
    // A fault of the scene begins with its place.
    const bool placed = line.find(".mi:") != line.npos;
    EXPECT_TRUE(!placed || errors[0].starts_with("scene.mi:")) << errors[0];
    EXPECT_THAT(folder.files(), IsEmpty()) << line;
}

struct SceneFault {
    const char* text;  // elements; the instance "i" is in the scene
    int status;
    const char* line;
};

TEST(Faults, AreMendedByTheirHints) {
    const std::pair<const char*, const char*> kCases[] = {
        {"options \"o\" end options instgroup \"q\" end instgroup render \"c\" \"q\" \"o\"",
         "the group comes first: render \"q\" \"c\" \"o\""},
        {"camera \"c\" lens \"Cylindric\" () end camera instance \"i\" \"c\" end instance options "
         "\"o\" "
         "end options instgroup \"q\" \"i\" end instgroup render \"q\" \"i\" \"o\"",
         "$include \"orvane.mi\" declares it"},
    };
    for (const auto& [text, hint] : kCases)
        EXPECT_THAT(Folder(text).render().errors, HasSubstr(hint)) << text;
}

// A scene of one pixel around some elements, which begin in its line 7: what is missing stands
// behind them.
Scene faulty(const std::string& text) {
    Scene s;
    s.camera = "resolution 1 1 ";
    s.add(text);
    if (text.find("object \"o\"") == text.npos)
        s.add(
            "object \"o\" visible group -9 -9 -2 9 -9 -2 0 9 -2 v 0 v 1 v 2 p 0 1 2 "
            "end group end object");
    if (text.find("material \"m\"") == text.npos) s.material("m", constant(1, 1, 1));
    if (text.find("instgroup \"i\"") == text.npos)
        s.add(
            "instance \"x\" \"o\" material \"m\" end instance instgroup \"i\" \"x\" "
            "end instgroup");
    s.instance("in", "i");
    return s;
}

// A picture that shows less than it was to tells why, once, in a line with its place.
TEST(Advice, TellsWhyAPictureIsDark) {
    const std::string lit = R"("soft_material" ("ambient" 0 0 0 1, "light" [)", end = "])";
    struct {
        std::string text, line, camera = "";
    } const kCases[] = {
        {"material \"m\" " + lit + end + " end material",
         "warning: material \"m\" is black: \"light\" of its shader names no lights"},
        {"light \"l\" \"soft_light\" () end light instance \"lamp\" \"l\" end instance material "
         "\"m\" " +
             lit + "\"lamp\"" + end + " end material",
         "warning: instance \"lamp\" is in no group that is rendered: it has no effect"},
        {"object \"o\" trace on group -9 -9 -2 9 -9 -2 0 9 -2 v 0 v 1 v 2 p 0 1 2 end group end "
         "object",
         "nothing that is rendered is visible"},
        {"object \"o\" visible group -9 -9 2 9 -9 2 0 9 2 v 0 v 1 v 2 p 0 1 2 end group end object",
         "all objects are behind the camera"},
        {"object \"o\" visible group -9 -9 -2 9 -9 -2 0 9 -2 v 0 v 1 v 2 p 0 2 1 end group end "
         "object "
         "material \"m\" " +
             constant(0, 0, 0) + " end material",
         "the camera sees surfaces from behind only"},
        {"color texture \"t\" [1 1] 'ffffff' material \"m\" \"soft_material\" (\"ambient\" 1 1 1 "
         "1, "
         "\"diffuse_map\" \"t\") end material",
         "has no texture coordinates where its material asks for them"},
        {R"(material "m" "zel_toon_mat" ("ambient" 1 1 1 1) end material)",
         "a lens of this camera tells objects by their tags, and no object",
         "lens \"zel_toon_lens\" ()"},
    };
    for (const auto& test : kCases) {
        Scene s = faulty(test.text);
        s.options = "scanline off";
        s.camera += "resolution 9 9 " + test.camera;
        const Folder folder(s);
        const Outcome outcome = folder.render();
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        EXPECT_THAT(outcome.errors, HasSubstr(test.line)) << test.text;
        EXPECT_THAT(outcome.errors, StartsWith("scene.mi:"));
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1)
            << outcome.errors;
    }
}

// Scanline is on where a scene does not say otherwise.
TEST(Faults, OfLenses) {
    const struct {
        std::string options, lens;
        int status;
        const char* line;
    } kCases[] = {
        {"", R"("zel_toon_lens" ())", 7, "fatal: toon_lens: shader will not run in scanline mode"},
        {"scanline on", R"("zel_sprite" ())", 7, "fatal: sprite: shader will not run in scanline"},
        {"scanline off", R"("zel_toon_lens" () "zel_toon_lens" ())", 0,
         "orvane: warning: toon_lens: only one instance allowed, others disabled"},
    };
    for (const auto& test : kCases) {
        Scene s;
        s.options = test.options;
        s.camera = "lens " + test.lens;
        const Outcome outcome = Folder(s).render();
        EXPECT_EQ(outcome.status, test.status);
        EXPECT_THAT(outcome.errors, HasSubstr(test.line));
    }
}

TEST(Faults, OfTheScene) {
    const SceneFault kFaults[] = {
        {"$include \"none.mi\"", 5, "scene.mi:7:"},
        {"$include \"scene.mi\"", 3, "scene.mi:7:1: error: a file includes itself"},
        {R"(shader "s" "soft_constant" ("colour" 1 1 1))", 0, ""},  // of no use: not looked at
        {R"(material "m" "soft_constant" ("colour" 1 1 1) end material)", 4,
         "scene.mi:7:31: error: "},
        {R"(material "m" "soft_constant" ("color" 1 1) end material)", 4, "scene.mi:7:"},
        {R"(material "m" "soft_constant" ("color" "red") end material)", 4, "scene.mi:7:"},
        {R"(shader "s" "soft_material" ("no_shadow" 7) material "m" = "s" end material)", 4,
         "wants on or off, got 7"},
        {R"(material "m" "soft_cnstant" () end material)", 4,
         "scene.mi:7:14: error: shader \"soft_cnstant\" is not declared"},
        {R"(material "m" = "none" end material)", 4, "scene.mi:7:"},
        {R"(shader "a" "soft_checker" ("even" = "a") material "m" = "a" end material)", 4,
         "\"a\" is connected to itself"},
        {R"(declare shader "nowhere" () end declare material "m" "nowhere" () end material)", 4,
         "scene.mi:7:54: error: "},
        {"declare shader color \"probe_checks\" () version 2 end declare\n"
         "material \"m\" \"probe_checks\" () end material",
         4, "is declared with version 2, its library has version 3"},
        {R"(material "m" "soft_texture" ("texture" "none") end material)", 4, "scene.mi:7:"},
        {"color texture \"t\" \"none.png\"\n"
         "material \"m\" \"soft_texture\" (\"texture\" \"t\") end material",
         5, "scene.mi:7:15: error: "},
        {"color texture \"t\" \"soft_texture\" (\"texture\" \"t\")\n"
         "material \"m\" \"soft_texture\" (\"texture\" \"t\") end material",
         4, "texture \"t\" looks itself up"},
        {R"(material "m" "soft_material" ("light" ["none"]) end material)", 4, "scene.mi:7:"},
        {"material \"m\" \"probe_fatal_init\" () end material", 7,
         "scene.mi:7:14: fatal: trouble at the first init"},
        {R"(material "m" "soft_constant" () environment "zel_toon_lens" () end material)", 4,
         "scene.mi:7:45: error: shader \"zel_toon_lens\" cannot be used as an environment"},
        {R"(material "m" "soft_constant" () volume "Orvane_Lens" () end material)", 4,
         "shader \"Orvane_Lens\" cannot be used as a volume"},
        {R"(shader "s" "soft_material" () material "m" = "s" environment = "s" end material)", 4,
         "scene.mi:7:62: error: shader \"soft_material\" cannot be used as an environment"},
        {R"(shader "s" "zel_sprite" () material "m" "soft_constant" ("color" = "s") end material)",
         4, "shader \"zel_sprite\" cannot be used as the value of a parameter"},
        {"object \"o\" visible group 0 0 0 v 0\np \"m\" 0 0 1 end group end object", 3,
         "scene.mi:8:11: error: "},
        {"object \"o\" visible group 0 nan 0 v 0 p 0 0 0 end group end object", 3, "scene.mi:7:"},
        {"instance \"j\" \"o\" transform 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 end instance\n"
         "instgroup \"i\" \"j\" end instgroup",
         3, "scene.mi:7:10: error: "},
        {"instance \"j\" \"o\" transform 1 0 0 0 0 1 0 0 0 0 1 0 2e18 0 0 1 end instance\n"
         "instgroup \"i\" \"j\" end instgroup",
         3, "scene.mi:7:10: error: the transform of instance \"j\" leads beyond 1e18"},
        {"instgroup \"i\" \"none\" end instgroup", 3, "scene.mi:7:15: error: "},
        {"instance \"j\" \"g\" end instance\ninstgroup \"g\" \"j\" end instgroup\n"
         "instgroup \"i\" \"j\" end instgroup",
         3, "instgroup \"g\" contains itself"},
        {"camera \"d\" resolution 0 5 end camera", 3, "scene.mi:7:23: error: "},
        {"camera \"d\" output \"rgb\" \"png\" \"a.xyz\" output \"rgba\" \"b.xyz\" end camera "
         "instance \"e\" \"d\" end instance instgroup \"q\" \"e\" end instgroup\n"
         "options \"p\" end options render \"q\" \"e\" \"p\"",
         6, "scene.mi:7:46: error: cannot write picture \"b.xyz\": unknown picture format"},
        {"render \"root\" \"camera\" \"options\"", 3, "scene.mi:7:1: error: "},
        {"render \"none\" \"camera\" \"options\"", 3, "scene.mi:7:1: error: "},
        {"options \"p\" end options instgroup \"q\" end instgroup render \"q\" \"camera\" \"p\"", 3,
         "there is no camera instance \"camera\" in instgroup \"q\""},
    };
    for (const SceneFault& fault : kFaults) {
        const Folder folder(faulty(fault.text));
        const Outcome outcome = folder.render();
        if (fault.status != 0) {
            expect_fault(folder, outcome, fault.status, fault.line);
        } else {
            EXPECT_EQ(outcome.status, 0) << fault.text;
        }
    }
}

// What is followed by recursion, or grows with each doubling, is bounded before it is followed.
TEST(Faults, OfScenesWithoutMeasure) {
    const auto repeated = [](int count, const std::string& text) {
        std::string all;
        for (int i = 1; i < count; ++i) {
            std::string one = text;
            for (std::size_t at; (at = one.find_first_of("<>")) != one.npos;)
                one.replace(at, 1, std::to_string(one[at] == '>' ? i : i - 1));
            all += one + '\n';
        }
        return all;
    };
    const std::string group =
        R"(instgroup "<" "a<" "b<" end instgroup instance "a>" "<" end instance )";
    const std::string first = R"(instance "a0" "o" end instance instance "b0" "o" end instance )";
    const std::string both = R"(instance "b>" "<" end instance)",
                      lone = R"(instance "b>" "o" end instance)";
    const std::pair<std::string, std::string> kCases[] = {
        {R"(shader "0" "soft_checker" ())" +
             repeated(999, R"(shader ">" "soft_checker" ("even" = "<"))") +
             R"(material "m" = "998" end material)",
         "4 more than 256 deep"},
        {first + repeated(999, group + lone) + R"(instgroup "i" "a998" end instgroup)",
         "3 instgroups are nested more than 256 deep"},
        {first + repeated(99, group + both) + R"(instgroup "i" "a98" end instgroup)",
         "3 instgroup \"root\" places more than 10000000 instances"},
    };
    for (const auto& [text, fault] : kCases) {
        const Folder folder(faulty(text));
        expect_fault(folder, folder.render(), fault[0] - '0', fault.substr(2));
    }
}

TEST(Faults, OfTheCommandLine) {
    const Folder open("\n  \"open");
    expect_fault(open, open.render(), 3, "scene.mi:2:3: error: the string is not closed");

    Scene s;
    s.material("m", "\"probe_see\" (\"what\" 1)");
    const Folder folder(s.wall("w", "m", -2));
    const struct {
        Arguments arguments;
        int status;
    } kFaults[] = {
        {{}, 2},
        {{"paint"}, 2},
        {{"render"}, 2},
        {{"render", "none.mi"}, 5},
        {{"render", "."}, 5},
        {{"render", "scene.mi", "--resolution", "0", "5"}, 2},
        {{"render", "scene.mi", "--resolution", "5"}, 2},
        {{"render", "scene.mi", "--samples", "2", "1"}, 2},
        {{"render", "scene.mi", "-j", "97"}, 2},
        {{"render", "scene.mi", "-j", "two"}, 2},
        {{"render", "scene.mi", "--window", "2", "0", "1", "1"}, 2},
        {{"render", "scene.mi", "--bogus"}, 2},
        {{"render", "scene.mi", "-o", "a.xyz"}, 6},
        {{"render", "scene.mi", "-o", "."}, 6},
        {{"render", "scene.mi", "-o", "scene.mi/a.exr"}, 6},
        {{"render", "scene.mi", "-o", "/proc/none/a.exr"}, 6},
    };
    for (const auto& fault : kFaults)
        expect_fault(folder, folder.run(fault.arguments), fault.status, "");
    const Arguments large = {"--resolution", "99", "99"};
    expect_fault(folder, folder.render(large, {.disk_is_full = true}), 6, "out.exr");
}

// A library that is missing is told, and missed where one of its shaders is called.
TEST(Faults, MissingLibraryIsTold) {
    const std::string head = "link \"none.so\"\ndeclare shader \"far\" () end declare\n";
    const Folder idle(head + Scene().body());
    const Outcome told = idle.render();
    EXPECT_EQ(told.status, 0);
    EXPECT_THAT(told.errors, testing::AllOf(StartsWith("scene.mi:1:6: warning: "),
                                            HasSubstr("library \"none.so\" is not loaded")));
    Scene s;
    const Folder folder(head + std::string(s.material("m", "\"far\" ()").wall("w", "m", -2)));
    const Outcome missed = folder.render();
    EXPECT_THAT(missed.errors, StartsWith("scene.mi:1:6: warning: "));
    expect_fault(folder, missed, 4, "shader \"far\" is declared, but no linked library has it");
}

Scene trouble(int kind) {
    Scene s;
    s.material("m", "\"probe_trouble\" (\"kind\" " + std::to_string(kind) + ")");
    return s.wall("w", "m", -2);
}

// Also when another thread waits for a lock that will not be given back.
TEST(Faults, ShadersEndTheRender) {
    const char* const kMessages[] = {"", "trouble at init", "trouble while shading",
                                     "trouble with a lock", "a lock that its thread already holds"};
    for (const int kind : {1, 2, 3, 4}) {
        const Folder folder(trouble(kind));
        const Outcome outcome = folder.render({"-j", "3", "--tile-size", "1"});
        expect_fault(folder, outcome, 7, kMessages[kind]);
    }
}

TEST(Faults, MemoryThatShadersLackEndsTheRender) {
    Scene s;
    s.camera = R"(volume "Orvane_Volume" ("light" ["lamp"]))";
    s.material("m", kWhite)
        .wall("w", "m", -9)
        .light("lamp",
               R"("Orvane_Light" ("shadow" on, "volume_density" 1, "map_resolution" 2147483647))",
               "origin 0 3 -5 direction 0 -1 0 spread 0.9");
    const Folder folder(s);
    expect_fault(folder, folder.render(), 33, "out of memory: ");
}

TEST(Faults, LeaksAreTold) {
    const Folder folder(trouble(5));
    const Outcome outcome = folder.render({"-v", "6"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors, HasSubstr("probe_trouble:7: 1 blocks, 100 bytes"));
}

TEST(Faults, SignalsKeepWhatIsDone) {
    for (const auto& [signal, status] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
        const Folder folder(trouble(6));
        const Outcome outcome = folder.render(
            {"--resolution", "200", "200", "-j", "2", "--tile-size", "8"}, {.signal = signal});
        EXPECT_EQ(outcome.status, status) << outcome.errors;
        const Image picture = folder.picture();
        EXPECT_EQ(picture.at(0, 0).r, 1);
        EXPECT_EQ(picture.at(199, 199).r, 0);
    }
}

}  // namespace
}  // namespace orvane
