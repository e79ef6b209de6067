// The language around the elements: tokens, directives, commands, declarations, values.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "scene_text.h"

namespace orvane::scene {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::Key;

// The arguments of shader "s" ( text ).
std::vector<Argument> arguments_of(const std::string& text, const std::string& before = {}) {
    const Scene scene = parse(before + " shader \"s\" \"call\" (" + text + ")");
    return scene.shaders.at("s")->front().arguments;
}

Value value_of(const std::string& text) { return arguments_of("\"p\" " + text)[0].values[0]; }

TEST(Tokens, NumbersAndStringsInAllSpellings) {
    const std::pair<const char*, double> numbers[] = {{"1.", 1},
                                                      {".5", 0.5},
                                                      {"-0.25", -0.25},
                                                      {"+3", 3},
                                                      {"1e5", 1e5},
                                                      {"2.3e-06", 2.3e-6},
                                                      {"1d2", 100},
                                                      {"1.5D+1", 15},
                                                      {"1e-999", 0},
                                                      {"-7", -7},
                                                      {"123456789012345678", 123456789012345678.0}};
    for (const auto& [text, number] : numbers)
        EXPECT_DOUBLE_EQ(value_of(text).number, number) << text;
    EXPECT_TRUE(value_of("3").is_integer);
    EXPECT_FALSE(value_of("3.").is_integer);

    EXPECT_EQ(value_of(R"("a\"b\\c\d # no comment")").text, R"(a"b\c\d # no comment)");
    EXPECT_EQ(value_of("\"two\nlines\"").text, "two\nlines");
    EXPECT_EQ(arguments_of("\"p\" \"x\ny\" , # comment\n \"q\" 1")[1].place.line, 3);
}

// What values mean is told where blocks are made of them; here the edges of the syntax.
TEST(Values, FormTreesAndCallsLists) {
    const auto args = arguments_of(
        R"("m" = "tex.alpha", "w" = "a.b", "e" [ ], "v" [ 1 0 0, 0 1 0, ],
           "st" [ { "x" 1, "y" [ 2 ] } ], )",
        "shader \"a.b\" \"x\" ( )");
    ASSERT_EQ(args.size(), 5u);
    EXPECT_THAT(args[0].values[0].connection, FieldsAre("tex", "alpha"));
    EXPECT_THAT(args[1].values[0].connection, FieldsAre("a.b", "")) << "the name of a shader";
    EXPECT_EQ(args[2].values[0].elements.size() + args[3].values[0].elements.size(), 2u);
    EXPECT_EQ(args[4].values[0].elements[0][0].members[1].values[0].elements[0][0].number, 2);

    const Scene scene =
        parse("shader \"l\" \"a\" ( \"x\" 1 ) \"b\" ( ) = \"c\" = shader \"d\" \"e\" ( \"y\" 2 )");
    std::string calls;
    for (const ShaderCall& call : *scene.shaders.at("l"))
        calls += (call.by_name ? "=" : "") + call.shader + (call.no_list ? "()" : "");
    EXPECT_EQ(calls, "ab()=c=d");
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
    EXPECT_TRUE(both.version == 3 && both.result.members[1].name == "z");
    EXPECT_THAT(both.apply, ElementsAre("lens", "material"));
    ASSERT_EQ(both.parameters.size(), 3u);
    const Member &parts = both.parameters[0], &on = both.parameters[1];
    EXPECT_EQ(parts.comment, "the parts\ngo on");
    EXPECT_EQ(parts.type.members[0].comment, "inside");
    EXPECT_EQ(parts.type.members[1].defaults[2].number, 3);
    EXPECT_TRUE(on.comment == "a switch" && on.defaults[0].kind == Value::Kind::Boolean);

    EXPECT_EQ(scene.declarations.size(), 3u);
    EXPECT_EQ(scene.declarations.at("old")->version, 2);
    EXPECT_EQ(scene.declarations.at("bare")->result.base, Base::None);
}

TEST(Directives, ConditionalsChooseOneBranch) {
    setenv("ORVANE_TEST", "yes", 1);
    const auto group = [](const std::string& name) {
        return "instgroup \"" + name + "\" end instgroup\n";
    };
    const std::string tail = group("a") + "$elseifeq \"v\" \"2\"\n" + group("b") +
                             "$ifdef \"v\"\n$else\n$endif\n$else\n" + group("c") + "  $endif\n";
    const std::pair<std::string, const char*> cases[] = {
        {"$ifeq \"v\" \"1\"\n" + tail, "c"},
        {"set \"v\" \"1\"\n$ifeq \"v\" \"1\"\n" + tail, "a"},
        {"set \"v\" \"2\"\n$ifeq \"v\" \"1\"\n" + tail, "b"},
        {"set \"v\" \"2\" set \"v\"\n$ifndef \"v\"\n" + tail, "a"},
        {"$ifeq \"${ORVANE_TEST}\" \"yes\"\n" + tail, "a"},
        {"$ifdef \"${?ORVANE_NONE}\"\n" + tail, "c"},
        {"registry \"{R}\" value \"x\" end registry\n$ifdef \"{R}\"\n" + tail, "a"},
        {"$ifdef \"none\"\n' \" $include \"nowhere\"\n$endif\n" + group("a"), "a"}};
    for (const auto& [text, left] : cases)
        EXPECT_THAT(parse(text).groups, ElementsAre(Key(left))) << text;
}

TEST(Includes, AreFoundBesideAndOnThePathAndFailWithTheirPlace) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(testing::TempDir()) / "orvane_includes";
    fs::create_directories(folder / "path");
    setenv("ORVANE_DIR", folder.c_str(), 1);
    const std::pair<const char*, const char*> files[] = {
        {"outer.mi",
         "$include \"beside.mi\"\n$include <both.mi>\n$include \"${ORVANE_DIR}/env.mi\"\n"},
        {"beside.mi", "instgroup \"beside\" end instgroup"},
        {"env.mi", "instgroup \"env\" end instgroup"},
        {"both.mi", "instgroup \"not this\" end instgroup"},
        {"path/both.mi", "instgroup \"path\" end instgroup"},
        {"loop.mi", "\n$include \"loop2.mi\"\n"},
        {"loop2.mi", "$include \"loop.mi\"\n"},
        {"missing.mi", "\n $include \"nowhere.mi\"\n"},
        {"bad.mi", "\n  oops\n"}};
    for (const auto& [name, text] : files) std::ofstream(folder / name) << text;

    ParserSettings settings;
    settings.include_path = {folder / "path"};
    EXPECT_THAT(parse_file((folder / "outer").string(), settings).groups,
                ElementsAre(Key("beside"), Key("env"), Key("path")));
    const std::tuple<const char*, Exit, const char*> faults[] = {
        {"loop.mi", Exit::Scene, "loop2.mi:1:1: error: a file includes itself"},
        {"missing.mi", Exit::Input, "missing.mi:2:11: error: cannot find the include file"},
        {"bad.mi", Exit::Scene, "bad.mi:2:3: error: unknown command"},
        {"no such", Exit::Input, "cannot read "}};
    for (const auto& [name, status, line] : faults) {
        try {
            parse_file((folder / name).string(), settings);
            ADD_FAILURE() << name;
        } catch (const Error& error) {
            EXPECT_EQ(error.status, status);
            EXPECT_THAT(error.what(), HasSubstr(line));
            EXPECT_EQ(error.details.find("    oops\n    ^") != error.details.npos,
                      name == std::string("bad.mi"));
        }
    }
    fs::remove_all(folder);
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

TEST(Messages, WarnOnceOfEachKeywordThatIsSkipped) {
    const std::pair<const char*, const char*> cases[] = {
        {"object \"a\" select on end object object \"b\" select off end object "
         "camera \"c\" resoluton 1 2 focal 2 end camera",
         "t.mi:1:12: warning: \"select\" in object is ignored\n"
         "t.mi:1:77: warning: \"resoluton\" in camera is unknown and skipped; "
         "did you mean \"resolution\"?\n"},
        {"delete \"a\" delete \"b\" delete \"c\"",
         "warning: 2 more like this: there is no \"...\" to delete\n"},
        {"options \"o\" jitter 1 jitter 2 end options",
         "t.mi:1:29: warning: jitter must be 0 to 1"},
        {"instgroup \"a\" end instgroup instgroup \"a\" end instgroup",
         "t.mi:1:39: warning: \"a\" is defined again"}};
    ParserSettings settings;
    settings.verbosity_fixed = true;
    for (const auto& [text, warnings] : cases) {
        testing::internal::CaptureStderr();
        set_verbosity(static_cast<int>(Level::Warning));
        parse_text(text, "t.mi", ".", settings);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(warnings));
    }
}

TEST(Reading, EndsWhenItIsToldTo) {
    ParserSettings settings;
    settings.stop = [asked = 0]() mutable { return ++asked > 3; };
    std::string text = "camera \"c\" end camera ";
    EXPECT_NO_THROW(parse(text, settings));
    for (int i = 0; i < 10; ++i) text += text;
    EXPECT_THROW(parse(text, settings), Stopped);
}

TEST(Messages, KeepToTheVerbosityAndNameAFaultWithItsPlaceOnly) {
    parse("verbose on");
    EXPECT_EQ(verbosity(), 5);
    parse("verbose 2", {.include_path = {}, .fence = {}, .verbosity_fixed = true, .on_render = {}});
    EXPECT_EQ(verbosity(), static_cast<int>(Level::Error));

    testing::internal::CaptureStderr();
    message(Level::Error, "a:b.mi:1:2: error: what\n");
    message(Level::Error, "x:1: error: what");
    message(Level::Info, "not shown");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "a:b.mi:1:2: error: what\norvane: error: x:1: error: what\n");
}

}  // namespace
}  // namespace orvane::scene
