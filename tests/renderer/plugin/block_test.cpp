// Layouts of parameter blocks, and what calls write into them.
#include "plugin/block.h"

#include <gmock/gmock.h>

#include <bit>

#include "scene/parser.h"

namespace orvane::plugin {
namespace {

using scene::Base;
using scene::Place;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Words = std::vector<std::uint32_t>;

// Shaders that others are connected to.
const std::string kShaders = R"(
    declare color "color" () end declare  declare scalar "scalar" () end declare
    declare "nothing" () end declare  declare array color "list" () end declare
    declare shader shader "shader" () end declare
    declare struct { scalar "depth", vector "position" } "both" () end declare )";

// Strings are item 9; "lamp" is reached over two paths; shaders are item 50.
struct Names : Resolver {
    explicit Names(const scene::Scene& scene) : scene(scene) {}

    std::vector<miTag> items(Base, const std::string& name, const Place& place) override {
        if (name == "lamp") return {31, 32};
        if (name == "key") return {33};
        if (name == "pic") return {40};
        throw error_at(place, Exit::Shader, "no " + name);
    }
    miTag string(const std::string&) override { return 9; }
    std::pair<miTag, const scene::Declaration*> shader(const std::string& name,
                                                       const Place&) override {
        return {50, scene.declarations.at(name).get()};
    }

    const scene::Scene& scene;
};

// The block of a call of shader "wood" whose parameters and arguments are given.
Block make(const std::string& parameters, const std::string& arguments) {
    const scene::Scene scene =
        scene::parse_text(kShaders + "declare color \"wood\" (" + parameters + ") end declare\n" +
                              "shader \"s\" \"wood\" (" + arguments + ")",
                          "test.mi", ".", {});
    Names names(scene);
    return make_block(*scene.declarations.at("wood"), scene.shaders.at("s")->front(), names);
}

std::uint32_t f(float number) { return std::bit_cast<std::uint32_t>(number); }

// The words of element k of the array whose fields begin at word at, found as a shader does.
Words element(const Block& block, std::size_t at, std::size_t words, std::size_t k) {
    const std::size_t position = at + 2 + (block.words[at] + k) * words;
    if (position + words > block.words.size()) return {};
    return {&block.words[position], &block.words[position] + words};
}

TEST(Block, HoldsEveryKindOfValue) {
    const Block block = make(R"(boolean "on", boolean "one", integer "i", scalar "s", color "c",
            string "text", color texture "map", light "light", material "none", vector "untouched")",
                             R"("light" "lamp", "s" 2, "on" on, "one" 1, "i" -5, "c" .25 .5 1,
            "text" "hello", "map" "pic", "none" null)");
    EXPECT_THAT(block.words, ElementsAre(1, 1, 0xFFFFFFFBu, f(2), f(.25), f(.5), f(1), 0, 9, 40, 31,
                                         0, 0, 0, 0));
    EXPECT_THAT(block.connected, IsEmpty());
    EXPECT_FALSE(make("", "").words.empty());
    EXPECT_EQ(to_string({Base::ColorTexture, true, {}}), "array color texture");
}

TEST(Block, DefaultsHoldUnlessGivenAndTheLastArgumentWins) {
    const std::string fields = R"(color "c" default .5 .5 .5 1,
        struct "s" { scalar "x" default 3, scalar "y" default 4 }, array integer "n")";
    EXPECT_THAT(make(fields, "").words,
                ElementsAre(f(.5), f(.5), f(.5), f(1), f(3), f(4), 0, 0, 0));
    const Block given =
        make(fields, R"("n" [1, 2], "c" = "color", "c" 1 1 1, "s" { "y" 8 }, "n" 6)");
    // An alpha that is left out is 0, not the default.
    EXPECT_THAT(given.words, ElementsAre(f(1), f(1), f(1), 0, f(3), f(8), 0, 1, 6));
    EXPECT_THAT(given.connected, IsEmpty());
    EXPECT_THROW(make("vector \"v\" default 1", ""), Error);
}

TEST(Block, LongArraysLieBehindTheFieldsAtWholeElements) {
    const std::string fields = R"(scalar "s", array color "c", array light "l", array vector "v")";
    const Block block = make(fields, R"("c" [1 2 3, 4 5 6 7], "l" ["key", "lamp", null], "v" [])");
    EXPECT_GE(3 + 4 * block.words[1], 15u) << "not behind the declared fields";
    EXPECT_THAT(element(block, 1, 4, 0), ElementsAre(f(1), f(2), f(3), 0));
    EXPECT_THAT(element(block, 1, 4, 1), ElementsAre(f(4), f(5), f(6), f(7)));
    for (std::uint32_t i = 0; i < 4; ++i)
        EXPECT_THAT(element(block, 7, 1, i), ElementsAre(std::array{33u, 31u, 32u, 0u}[i]));
    EXPECT_THAT((std::array{block.words[2], block.words[8], block.words[11]}),
                ElementsAre(2, 4, 0));
    EXPECT_EQ(make(fields, "\"l\" null").words[8], 0u);
    const Block single = make(fields, "\"v\" 1 2 3");
    EXPECT_THAT(Words(single.words.begin() + 10, single.words.end()),
                ElementsAre(0, 1, f(1), f(2), f(3)));
}

TEST(Block, ArraysNestInStructsAndStructsInArrays) {
    const Block block = make(
        R"(array struct "layers" { integer "id" default 7, array vector "path", scalar "size" },
           array integer "after")",
        R"("after" [1, 2, 3], "layers" [ { "path" [10 0 0, 11 0 0], "size" 5 },
           { "id" 8, "path" [20 0 0, 21 0 0] }, { "size" 6 } ])");
    EXPECT_EQ(block.words[1], 3u);
    const std::size_t layers = 2 + block.words[0] * 7;
    EXPECT_EQ(block.words.at(layers), 7u);
    EXPECT_EQ(block.words.at(layers + 6), f(5));
    EXPECT_EQ(block.words.at(layers + 7), 8u);
    EXPECT_EQ(block.words.at(layers + 14 + 2), 0u);
    EXPECT_THAT(element(block, layers + 1, 3, 1), ElementsAre(f(11), 0, 0));
    EXPECT_THAT(element(block, layers + 8, 3, 0), ElementsAre(f(20), 0, 0));
    EXPECT_THAT(element(block, 9, 1, 2), ElementsAre(3));
}

TEST(Block, ConnectionsCopyWhatFits) {
    const Block block =
        make(R"(scalar "s", color "c", color texture "t", shader "f", array vector "v")",
             R"("s" = "color", "c" = "both.position", "t" = "color", "f" = "shader",
           "v" [1 2 3, = "color"])");
    EXPECT_EQ(block.words[5], 50u) << "a texture that is a shader";
    const std::size_t second = 36 + (block.words[7] + 1) * 12;
    std::vector<std::array<std::size_t, 5>> fields;
    for (const ConnectedField& c : block.connected)
        fields.push_back({c.offset, c.size, c.shader, c.result_offset, c.result_size});
    using Field = std::array<std::size_t, 5>;
    EXPECT_THAT(fields, ElementsAre(Field{0, 4, 50, 0, 16}, Field{4, 12, 50, 4, 16},
                                    Field{24, 4, 50, 0, 4}, Field{second, 12, 50, 0, 16}));
}

TEST(Block, ErrorsNameWhatIsWrong) {
    const struct {
        const char *type, *argument, *error;
    } cases[] = {
        {"color", "1 2", "parameter \"p\" of shader \"wood\" wants 3 or 4 numbers (color), got 2"},
        {"scalar", "", "wants 1 number (scalar), got nothing"},
        {"vector", "1 \"x\" 2", "got \"x\""},
        {"scalar", "[1]", "got an array"},
        {"integer", "2.5", "wants an integer, got 2.5"},
        {"integer", "on", "got on"},
        {"integer", "3000000000", "beyond the range"},
        {"boolean", "1.0", "wants on or off, got 1"},
        {"string", "1", "wants a string, got 1"},
        {"light", "\"key\" \"key\"", "wants the name of one light, got 2 values"},
        {"light", "\"nowhere\"", "no nowhere"},
        {"struct", "1", "wants a struct, got 1"},
        {"struct", "{ \"width\" null }", "parameter \"p.width\" of shader \"wood\""},
        {"struct", "{ \"with\" 1 }", "unknown parameter \"p.with\" of shader \"wood\""},
        {"scalar", "1, \"q\" 1", "unknown parameter \"q\" of shader \"wood\""},
        // Connections.
        {"color", "= \"scalar\"", "wants color, but \"scalar\" returns scalar"},
        {"scalar", "= \"nothing\"", "returns nothing"},
        {"color", "= \"list\"", "returns array color"},
        {"integer", "= \"scalar\"", "wants integer"},
        {"scalar", "= \"both.dept\"", "has no member \"dept\""},
        {"struct", "= \"both\"", "wants struct"},
    };
    for (const auto& [type, argument, expected] : cases) {
        const std::string members = std::string("struct") == type ? "{ scalar \"width\" }" : "";
        try {
            make(std::string(type) + " \"p\" " + members, std::string("\"p\" ") + argument);
            ADD_FAILURE() << expected;
        } catch (const Error& error) {
            EXPECT_EQ(error.status, Exit::Shader);
            EXPECT_THAT(error.what(), AllOf(StartsWith("test.mi:"), HasSubstr(expected)));
        }
    }
}

}  // namespace
}  // namespace orvane::plugin
