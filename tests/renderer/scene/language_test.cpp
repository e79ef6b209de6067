// The language around the elements: tokens, directives, commands, declarations, values.
#include <unistd.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "scene_text.h"

namespace orvane::scene {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The arguments of shader "s" ( text ).
std::vector<Argument> arguments_of(const std::string& text, const std::string& before = {}) {
    const Scene scene = parse(before + " shader \"s\" \"call\" (" + text + ")");
    return scene.shaders.at("s")->front().arguments;
}

double number_of(const std::string& text) {
    return arguments_of("\"p\" " + text)[0].values[0].number;
}

TEST(Tokens, NumbersInAllSpellings) {
    const std::vector<std::pair<std::string, double>> cases = {
        {"1.", 1},
        {".5", 0.5},
        {"-0.25", -0.25},
        {"+3", 3},
        {"1e5", 1e5},
        {"2.3e-06", 2.3e-6},
        {"1d2", 100},
        {"1.5D+1", 15},
        {"-7", -7},
        {"1e-999", 0},
        {"123456789012345678", 123456789012345678.0}};
    for (const auto& [text, value] : cases) EXPECT_DOUBLE_EQ(number_of(text), value) << text;
    EXPECT_TRUE(arguments_of("\"p\" 3")[0].values[0].is_integer);
    EXPECT_FALSE(arguments_of("\"p\" 3.")[0].values[0].is_integer);
}

TEST(Tokens, StringsKeepAllButTheirEscapes) {
    const auto text_of = [](const std::string& text) {
        return arguments_of(text)[0].values[0].text;
    };
    EXPECT_EQ(text_of(R"("p" "a\"b\\c\d # no comment")"), R"(a"b\c\d # no comment)");
    EXPECT_EQ(text_of("\"p\" \"two\nlines\""), "two\nlines");
    EXPECT_EQ(arguments_of("\"p\" \"x\ny\" , # comment\n \"q\" 1")[1].place.line, 3);
}

TEST(Values, FormTrees) {
    const std::string named = "shader \"a.b\" \"x\" ( )";
    const auto args = arguments_of(
        R"("f" 1 2.5 3, "b" on, "n" null, "s" "text", "c" = "tex", "m" = "tex.alpha",
           "w" = "a.b", "e" [ ], "v" [ 1 0 0, 0 1 0, ], "l" [ = "u", "k" ],
           "st" [ { "x" 1, "y" [ 2 ] } ], )",
        named);
    ASSERT_EQ(args.size(), 11u);
    EXPECT_EQ(args[0].values.size(), 3u);
    EXPECT_EQ(args[1].values[0].kind, Value::Kind::Boolean);
    EXPECT_EQ(args[2].values[0].kind, Value::Kind::Null);
    EXPECT_EQ(args[3].values[0].text, "text");
    EXPECT_EQ(args[4].values[0].connection.shader, "tex");
    EXPECT_EQ(args[5].values[0].connection.shader, "tex");
    EXPECT_EQ(args[5].values[0].connection.member, "alpha");
    EXPECT_EQ(args[6].values[0].connection.shader, "a.b");
    EXPECT_THAT(args[7].values[0].elements, IsEmpty());
    ASSERT_EQ(args[8].values[0].elements.size(), 2u);
    EXPECT_EQ(args[8].values[0].elements[1][1].number, 1);
    EXPECT_EQ(args[9].values[0].elements[0][0].kind, Value::Kind::Connected);
    const Value& structure = args[10].values[0].elements[0][0];
    EXPECT_EQ(structure.members[1].values[0].elements[0][0].number, 2);
}

TEST(Values, CallsFormLists) {
    const Scene scene =
        parse("shader \"l\" \"a\" ( \"x\" 1 ) \"b\" ( ) = \"c\" = shader \"d\" \"e\" ( \"y\" 2 )");
    const ShaderList& list = *scene.shaders.at("l");
    ASSERT_EQ(list.size(), 4u);
    EXPECT_FALSE(list[0].no_list);
    EXPECT_TRUE(list[1].no_list);
    EXPECT_TRUE(list[2].by_name);
    EXPECT_TRUE(list[3].by_name);
    EXPECT_EQ(list[3].shader, "d");
    EXPECT_EQ(scene.shaders.at("d")->front().shader, "e");
}

TEST(Declarations, KeepTypesDefaultsAndComments) {
    const Scene scene = parse(R"(
# not this: a blank line is between

# About the shader,
# in two lines.
declare shader
    struct { color "c", scalar "z" } "both" (
        array struct "parts" {     # the parts
            scalar texture "t",    # inside
            vector "v" default 1 2 3
        },
                                   # go on
        boolean "on" default on,   # a switch

                                   # a heading, no part of the switch
        array light "lights",
    )
    version 3
    gui "g" { control ( "x" "end" ) }
    apply lens, material  trace on  texture 2
end declare
declare color "old" ( ) version 2
declare phenomenon shader "p" ( ) material "m" end material end declare
declare shader "bare" ( shader "s" ) end declare
)");
    const Declaration& both = *scene.declarations.at("both");
    EXPECT_EQ(both.comment, "About the shader,\nin two lines.");
    EXPECT_EQ(both.version, 3);
    EXPECT_THAT(both.apply, ElementsAre("lens", "material"));
    EXPECT_EQ(both.result.members[1].name, "z");
    ASSERT_EQ(both.parameters.size(), 3u);

    const Member& parts = both.parameters[0];
    EXPECT_TRUE(parts.type.array);
    EXPECT_EQ(parts.comment, "the parts\ngo on");
    EXPECT_EQ(parts.type.members[0].type.base, Base::ScalarTexture);
    EXPECT_EQ(parts.type.members[0].comment, "inside");
    EXPECT_EQ(parts.type.members[1].defaults[2].number, 3);
    EXPECT_EQ(both.parameters[1].comment, "a switch");
    EXPECT_EQ(both.parameters[1].defaults[0].kind, Value::Kind::Boolean);
    EXPECT_EQ(both.parameters[2].type.base, Base::Light);

    EXPECT_EQ(scene.declarations.at("old")->version, 2);
    EXPECT_EQ(scene.declarations.at("old")->result.base, Base::Color);
    EXPECT_EQ(scene.declarations.at("bare")->result.base, Base::None);
    EXPECT_EQ(scene.declarations.size(), 3u);
}

// The names of the groups that are left when conditionals are decided.
std::vector<std::string> groups_in(const std::string& text) {
    std::vector<std::string> names;
    for (const auto& [name, group] : parse(text).groups) names.push_back(name);
    return names;
}

TEST(Directives, ConditionalsChooseOneBranch) {
    const auto group = [](const std::string& name) {
        return "instgroup \"" + name + "\" end instgroup\n";
    };
    const std::string tail = group("a") + "$elseifeq \"v\" \"2\"\n" + group("b") +
                             "$ifdef \"v\"\n$else\n$endif\n$else\n" + group("c") + "  $endif\n";
    EXPECT_THAT(groups_in("$ifeq \"v\" \"1\"\n" + tail), ElementsAre("c"));
    EXPECT_THAT(groups_in("set \"v\" \"1\"\n$ifeq \"v\" \"1\"\n" + tail), ElementsAre("a"));
    EXPECT_THAT(groups_in("set \"v\" \"2\"\n$ifeq \"v\" \"1\"\n" + tail), ElementsAre("b"));
    EXPECT_THAT(groups_in("set \"v\" \"2\" set \"v\"\n$ifndef \"v\"\n" + tail), ElementsAre("a"));

    setenv("ORVANE_TEST", "yes", 1);
    EXPECT_THAT(groups_in("$ifeq \"${ORVANE_TEST}\" \"yes\"\n" + tail), ElementsAre("a"));
    EXPECT_THAT(groups_in("$ifdef \"${?ORVANE_NONE}\"\n" + tail), ElementsAre("c"));
    EXPECT_THAT(groups_in("registry \"{R}\" value \"x\" end registry\n$ifdef \"{R}\"\n" + tail),
                ElementsAre("a"));
    EXPECT_THAT(groups_in("$ifdef \"none\"\n' \" $include \"nowhere\"\n$endif\n" + group("a")),
                ElementsAre("a"));
}

class Includes : public testing::Test {
  protected:
    // The tests of the class may run at the same time, each in a process of its own.
    Includes()
        : folder_(std::filesystem::path(testing::TempDir()) /
                  ("orvane_includes." + std::to_string(getpid()))) {
        std::filesystem::create_directories(folder_ / "path");
        write("inner.mi", "instgroup \"inner\" end instgroup");
        write("outer.mi",
              "$include \"inner.mi\"\n$include <both.mi>\ninstgroup \"outer\" end instgroup\n");
        write("both.mi", "instgroup \"beside\" end instgroup");
        write("path/both.mi", "instgroup \"path\" end instgroup");
        write("loop.mi", "\n$include \"loop2.mi\"\n");
        write("loop2.mi", "$include \"loop.mi\"\n");
        write("bad.mi", "\n  oops\n");
        settings_.include_path = {folder_ / "path"};
    }
    ~Includes() override { std::filesystem::remove_all(folder_); }

    void write(const std::string& name, const std::string& text) {
        std::ofstream(folder_ / name) << text;
    }

    std::string error_in_file(const std::string& name, Exit status) {
        try {
            parse_file((folder_ / name).string(), settings_);
        } catch (const Error& error) {
            EXPECT_EQ(error.status, status);
            details_ = error.details;
            return error.what();
        }
        return {};
    }

    std::filesystem::path folder_;
    ParserSettings settings_;
    std::string details_;
};

TEST_F(Includes, AreFoundBesideAndOnThePath) {
    const Scene scene = parse_file((folder_ / "outer").string(), settings_);
    EXPECT_TRUE(scene.groups.contains("inner"));
    EXPECT_TRUE(scene.groups.contains("path"));
    EXPECT_TRUE(scene.groups.contains("outer"));
    EXPECT_FALSE(scene.groups.contains("beside"));
    write("env.mi", "$include \"${ORVANE_DIR}/inner.mi\"\n");
    setenv("ORVANE_DIR", folder_.c_str(), 1);
    EXPECT_TRUE(parse_file((folder_ / "env.mi").string(), settings_).groups.contains("inner"));
}

TEST_F(Includes, FailWithTheirPlace) {
    const std::string loop = (folder_ / "loop.mi").string();
    const std::string loop2 = (folder_ / "loop2.mi").string();
    EXPECT_EQ(
        error_in_file("loop.mi", Exit::Scene),
        loop2 + ":1:1: error: a file includes itself: " + loop + " > " + loop2 + " > " + loop);
    write("missing.mi", "\n $include \"nowhere.mi\"\n");
    EXPECT_THAT(error_in_file("missing.mi", Exit::Input),
                HasSubstr("missing.mi:2:11: error: cannot find the include file \"nowhere.mi\""));
    EXPECT_THAT(error_in_file("no such", Exit::Input), HasSubstr("cannot read "));
    write("outer2.mi", "$include \"bad.mi\"\n");
    EXPECT_THAT(error_in_file("outer2.mi", Exit::Scene),
                HasSubstr("bad.mi:2:3: error: unknown command \"oops\""));
    EXPECT_EQ(details_, "    oops\n    ^");
}

TEST(Commands, CallBackAtEachRender) {
    ParserSettings settings;
    std::vector<std::string> seen;
    settings.on_render = [&](const Scene& scene, const RenderCommand& command) {
        seen.push_back(command.root + command.camera + command.options +
                       std::to_string(scene.groups.size()));
    };
    parse(
        "instgroup \"a\" end instgroup render \"a\" \"b\" \"c\" "
        "instgroup \"d\" end instgroup render \"d\" \"e\" \"f\" delete \"d\"",
        settings);
    EXPECT_THAT(seen, ElementsAre("abc1", "def2"));
}

TEST(Commands, MayHaveNoEffect) {
    const Scene scene = parse(R"(version "3.1" min version "3.0" max version "4" echo "hello"
        debug "x" "y" debug "z" memory 100 touch "a" call "s" ( "p" 1 ), "cam" "opt"
        root "r" link "${ORVANE_NONE}lib.so" gui "g" { a ( "}" ) } lightprofile "p" x 1 end lightprofile
        data "d" tag 1 4 [ '00ff' ] data "e" "file" data "f" "decl" ( "p" 1 )
        private session depth 2 instgroup "a" merge 0.1 tag 2 b "c" end instgroup)");
    EXPECT_EQ(scene.libraries.at(0).first, "lib.so");
    EXPECT_THAT(scene.groups.at("a")->members, ElementsAre("b", "c"));
}

TEST(Commands, SetTheVerbosityUnlessItIsFixed) {
    parse("verbose on");
    EXPECT_EQ(verbosity(), 5);
    parse("verbose 2", {.include_path = {}, .verbosity_fixed = true, .on_render = {}});
    EXPECT_EQ(verbosity(), static_cast<int>(Level::Error));
    parse("verbose 6");
    EXPECT_EQ(verbosity(), 6);
}

TEST(Commands, NamespacesPrefixNames) {
    const Scene scene = parse(R"(
        instance "i" "x" end instance
        namespace "n"
            instance "j" "y" end instance
            namespace "m"
                instgroup "g" "i" "j" "::i" end instgroup
                shader "s" "call" ( "light" "j" )
            end namespace
        end namespace)");
    EXPECT_THAT(scene.groups.at("n::m::g")->members, ElementsAre("i", "n::j", "i"));
    EXPECT_EQ(scene.shaders.at("n::m::s")->front().arguments[0].values[0].text, "n::j");
}

TEST(Messages, WarnOnceOfEachKeywordThatIsSkipped) {
    const std::string twice =
        "object \"a\" select on end object object \"b\" select off end object ";
    const std::string warnings =
        warnings_of(twice + "camera \"c\" resoluton 1 2 focal 2 end camera");
    EXPECT_EQ(warnings,
              "t.mi:1:12: warning: \"select\" in object is ignored\n"
              "t.mi:1:77: warning: \"resoluton\" in camera is unknown and skipped; "
              "did you mean \"resolution\"?\n");
    EXPECT_THAT(warnings_of("instgroup \"a\" end instgroup instgroup \"a\" end instgroup"),
                HasSubstr("t.mi:1:39: warning: \"a\" is defined again"));
}

TEST(Messages, NameAFaultWithItsPlaceOnly) {
    testing::internal::CaptureStderr();
    set_verbosity(static_cast<int>(Level::Warning));
    message(Level::Error, "a:b.mi:1:2: error: what\n");
    message(Level::Error, "x:1: error: what");
    message(Level::Info, "not shown");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "a:b.mi:1:2: error: what\norvane: error: x:1: error: what\n");
}

TEST(Errors, NearestNameAllowsFewEdits) {
    const std::vector<std::string> names = {"camera", "light", "on"};
    EXPECT_EQ(nearest_name("camrea", names), "camera");
    EXPECT_EQ(nearest_name("lihgts", names), "light");
    EXPECT_EQ(nearest_name("material", names), "");
    EXPECT_EQ(nearest_name("x", names), "");
}

}  // namespace
}  // namespace orvane::scene
