// What goes wrong is told in one line, with the right exit status, and leaves nothing behind.

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
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

// A scene of one pixel around some elements, which begin in its line 7: what is missing stands
// behind them.
Scene faulty(const std::string& text, const std::string& camera = "",
             const std::string& options = "") {
    Scene s;
    s.options = options;
    s.camera = "resolution 1 1 " + camera;
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

// Expects an error and its hints; or with status 0 as many warnings, and no more.
void expect_told(const Scene& scene, int status, const std::vector<std::string>& told) {
    const Folder folder(scene);
    const Outcome outcome = folder.render();
    if (status != 0) expect_fault(folder, outcome, status, told.at(0));
    for (const std::string& line : told) EXPECT_THAT(outcome.errors, HasSubstr(line));
    EXPECT_EQ(outcome.status, status) << scene.text << outcome.errors;
    const auto lines = std::count(outcome.errors.begin(), outcome.errors.end(), '\n');
    EXPECT_TRUE(status != 0 || static_cast<std::size_t>(lines) == told.size()) << outcome.errors;
}

// Cases are parted by empty lines.
TEST(Faults, OfTheScene) {
    std::ifstream file(ORVANE_SOURCE_DIR "/tests/renders/faults.txt");
    std::string camera, options, elements;
    std::vector<std::string> told;
    int status = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("camera: ")) {
            camera = line.substr(8);
        } else if (line.starts_with("options: ")) {
            options = line.substr(9);
        } else if (line.starts_with("=> ")) {
            status = line[3] - '0';
            if (line.size() > 5) told.push_back(line.substr(5));
        } else if (!line.empty() && line[0] != '#') {
            elements += (elements.empty() ? "" : "\n") + line;
        } else if (line.empty()) {
            expect_told(faulty(elements, camera, options), status, told);
            camera = options = elements = "";
            told.clear();
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
