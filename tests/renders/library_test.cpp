// The built plug-in: what it exports, what it needs, and whether its declarations agree with it.

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"

namespace orvane {
namespace {

using testing::Contains;
using testing::Each;
using testing::MatchesRegex;
using testing::UnorderedElementsAreArray;
using Json = nlohmann::json;

struct ShaderFacts {
    std::string name;
    int version;
    bool has_init, has_exit;
    std::string kind;
};
// exports.txt: a line of several words for a shader, of one for another function.
struct Exports {
    std::vector<ShaderFacts> shaders;
    std::vector<std::string> functions;
};

Exports listed_exports() {
    Exports all;
    std::ifstream file(ORVANE_SOURCE_DIR "/tests/renders/exports.txt");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        ShaderFacts shader{};
        words >> shader.name;
        if (shader.name.empty() || shader.name == "#") continue;
        if (!(words >> shader.version >> shader.kind)) {
            all.functions.push_back(shader.name);
            continue;
        }
        for (std::string word; words >> word;)
            (word == "init" ? shader.has_init : shader.has_exit) = true;
        all.shaders.push_back(shader);
    }
    return all;
}

const std::vector<ShaderFacts> kShaders = listed_exports().shaders;

std::string output_of(const std::string& command) {
    const auto close = [](std::FILE* pipe) { pclose(pipe); };
    const std::unique_ptr<std::FILE, decltype(close)> pipe(popen(command.c_str(), "r"), close);
    std::string text;
    std::array<char, 4096> piece;
    while (const std::size_t n = std::fread(piece.data(), 1, piece.size(), pipe.get()))
        text.append(piece.data(), n);
    return text;
}

// The last words of the lines that a shell command prints.
std::vector<std::string> last_words(const std::string& command) {
    std::istringstream lines(output_of(command));
    std::vector<std::string> words;
    for (std::string line; std::getline(lines, line);)
        words.push_back(line.substr(line.rfind(' ') + 1));
    return words;
}

const std::string kPlugin = ORVANE_BUILD_DIR "/orvane.so";

TEST(Plugin, ExportsItsShadersAndFunctionsAndNothingElse) {
    std::vector<std::string> wanted = listed_exports().functions;
    for (const ShaderFacts& shader : kShaders) {
        wanted.push_back(shader.name);
        wanted.push_back(shader.name + "_version");
        if (shader.has_init) wanted.push_back(shader.name + "_init");
        if (shader.has_exit) wanted.push_back(shader.name + "_exit");
    }
    EXPECT_THAT(last_words("nm -D --defined-only '" + kPlugin + "'"),
                UnorderedElementsAreArray(wanted));
}

TEST(Plugin, NeedsTheStandardLibraryAndTheRenderer) {
    const auto needed = last_words("readelf -dW '" + kPlugin + "' | grep NEEDED");
    EXPECT_THAT(needed,
                Each(MatchesRegex(
                    "\\[(lib(stdc\\+\\+|m|gcc_s|c|asan|ubsan|tsan)|ld-linux-x86-64)\\.so\\..*")));
    const auto asked = last_words("nm -D --undefined-only '" + kPlugin + "' | grep ' mi_'");
    EXPECT_THAT(asked, Contains("mi_trace_shadow"));
}

// ---- Declarations

// One 32-bit word of a parameter block: the parameter's name and whether it is an integer, a float
// or a tag.
using Words = std::vector<std::string>;

void add_words(Words& words, int count, const std::string& word) {
    words.insert(words.end(), static_cast<std::size_t>(count), word);
}

// As declared, in the words of the struct: array x is i_x, n_x and one element.
Words declared_words(const Json& parameters) {
    const std::map<std::string, std::pair<int, char>> kTypes = {
        {"boolean", {1, 'i'}}, {"integer", {1, 'i'}},      {"scalar", {1, 'f'}},
        {"color", {4, 'f'}},   {"vector", {3, 'f'}},       {"transform", {16, 'f'}},
        {"light", {1, 't'}},   {"color texture", {1, 't'}}};
    Words words;
    for (const Json& parameter : parameters) {
        const std::string name = parameter["name"];
        EXPECT_EQ(parameter["offset"], 4 * words.size()) << name;
        std::string type = parameter["type"];
        if (type.starts_with("array ")) {
            type = type.substr(6);
            words.insert(words.end(), {"i_" + name + " i", "n_" + name + " i"});
        }
        if (type == "struct") {
            for (const std::string& word : declared_words(parameter["members"]))
                words.push_back(word);
            continue;
        }
        const auto [count, letter] = kTypes.at(type);
        add_words(words, count, name + ' ' + letter);
    }
    return words;
}

// The plug-in's source text, without comments.
std::string source_text() {
    std::stringstream text;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(ORVANE_SOURCE_DIR "/shaders"))
        if (entry.is_regular_file()) text << std::ifstream(entry.path()).rdbuf();
    return std::regex_replace(text.str(), std::regex("//[^\\n]*"), "");
}

// What stands between the braces of structs, by name.
std::map<std::string, std::string> structs_in(const std::string& code) {
    std::map<std::string, std::string> structs;
    const std::regex kStruct(R"re(struct (\w+) \{([^}]*)\};)re");
    for (std::sregex_iterator it(code.begin(), code.end(), kStruct), end; it != end; ++it)
        structs[(*it)[1]] = (*it)[2];
    return structs;
}

Words struct_words(const std::map<std::string, std::string>& structs, const std::string& name) {
    const std::map<std::string, std::pair<int, char>> kTypes = {
        {"miBoolean", {1, 'i'}}, {"miInteger", {1, 'i'}}, {"miUint", {1, 'i'}},
        {"miScalar", {1, 'f'}},  {"miColor", {4, 'f'}},   {"miVector", {3, 'f'}},
        {"miTag", {1, 't'}}};
    const std::regex kField(R"re((\w+)\s+([^;]+);)re"), kName(R"re((\w+)(\[(\d+)\])?)re");
    const std::string& code = structs.at(name);
    Words words;
    for (std::sregex_iterator field(code.begin(), code.end(), kField), end; field != end; ++field) {
        const std::string type = (*field)[1], names = (*field)[2];
        if (!kTypes.contains(type)) {
            for (const std::string& word : struct_words(structs, type)) words.push_back(word);
            continue;
        }
        const auto [count, letter] = kTypes.at(type);
        for (std::sregex_iterator it(names.begin(), names.end(), kName); it != end; ++it)
            add_words(words, (*it)[3].matched ? count * std::stoi((*it)[3]) : count,
                      (*it)[1].str() + ' ' + letter);
    }
    return words;
}

// What is never read may have any name, and a type of the same size.
void expect_same_words(const Words& declared, const Words& read, const std::string& shader) {
    ASSERT_EQ(declared.size(), read.size()) << shader;
    for (std::size_t i = 0; i < read.size(); ++i)
        if (!declared[i].starts_with("unused") && !declared[i].starts_with("reserved")) {
            EXPECT_EQ(declared[i], read[i]) << shader << ", word " << i;
        }
}

TEST(Plugin, IsDeclaredAsItIs) {
    const Json declared = Json::parse(output_of("'" ORVANE_BUILD_DIR "/orvane' shaders --json"));
    EXPECT_EQ(declared.size(), kShaders.size());
    const std::string code = source_text();
    const auto structs = structs_in(code);
    for (const ShaderFacts& shader : kShaders) {
        const std::string version =
            "int " + shader.name + "_version() { return " + std::to_string(shader.version) + "; }";
        EXPECT_THAT(code, testing::HasSubstr(version));
        const auto found = std::find_if(declared.begin(), declared.end(),
                                        [&](const Json& d) { return d["name"] == shader.name; });
        ASSERT_NE(found, declared.end()) << shader.name;
        EXPECT_EQ((*found)["version"], shader.version) << shader.name;
        EXPECT_EQ((*found)["kind"][0], shader.kind) << shader.name;
        const Words read = struct_words(structs, shader.name + "_params");
        expect_same_words(declared_words((*found)["parameters"]), read, shader.name);
        EXPECT_EQ((*found)["block_size"], 4 * read.size()) << shader.name;
        for (const Json& parameter : (*found)["parameters"]) {
            EXPECT_NE(parameter["unit"], "") << shader.name << ' ' << parameter["name"];
            EXPECT_NE(parameter["meaning"], "") << shader.name << ' ' << parameter["name"];
        }
    }
}

TEST(Shaders, AreListedAndExplained) {
    const Folder folder("");
    const std::string command = "'" ORVANE_BUILD_DIR "/orvane' shaders ";
    const std::string list = output_of(command);
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 25);
    for (const ShaderFacts& shader : kShaders)
        EXPECT_THAT(list,
                    testing::ContainsRegex(shader.name + " +" + shader.kind + ".* [a-z]+.*\\."));
    const std::string one = output_of(command + "zel_velvet cam_proj_tex");
    EXPECT_THAT(one, testing::HasSubstr("scalar \"strength\" default 0.8  [factor, 0..1]"));
    EXPECT_THAT(one, testing::HasSubstr("cam_proj_tex (texture, version 2)"));
    EXPECT_THAT(output_of(command + "-d soft.mi"), testing::HasSubstr("soft_environment"));
    const Outcome unknown = folder.run({"shaders", "zel_velvt"});
    EXPECT_EQ(unknown.status, 4);
    EXPECT_THAT(unknown.errors, testing::HasSubstr("did you mean \"zel_velvet\"?"));
}

}  // namespace
}  // namespace orvane
