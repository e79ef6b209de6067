// Faults in a scene text: each is one error at its place.
#include <gmock/gmock.h>

#include "scene_text.h"

namespace orvane::scene {
namespace {

using testing::StartsWith;

std::string repeated(const std::string& text, int count) {
    return count == 0 ? "" : text + repeated(text, count - 1);
}

TEST(Faults, NameTheirPlaceAndWhatIsWrong) {
    const std::string mesh = "object \"o\" group 0 0 0 v 0 v 0 v 0\n";
    const struct {
        std::string text, error;
    } faults[] = {
        // Tokens and directives.
        {"\n  \"open", "2:3: error: the string is not closed"},
        {"set \"a\" ?", "1:9: error: unexpected character"},
        {"memory 12x", "1:8: error: this is not a number"},
        {"memory 1e", "1:8: error: this is not a number"},
        {"memory 1e999", "1:8: error: the number is too large"},
        {"memory 1e60", "1:8: error: the number is too large"},
        {"'abc'", "1:1: error: a byte is two hex digits"},
        {"`short`", "1:1: error: a binary vector is 12 bytes"},
        {"\n$ifdef \"x\"\n", "2:1: error: $ifdef is not closed"},
        {"$else\n", "1:1: error: $else without a conditional"},
        {"$ifdef \"x\"\n$else\n$else\n$endif", "3:1: error: $else after $else"},
        {"$foo", "1:1: error: unknown directive $foo"},
        {"$code\nint x;\n$end code", "1:1: error: source code in a scene is not compiled"},
        {"set $ifdef", "1:5: error: a directive must be the first on its line"},
        // Commands and elements as a whole.
        {"camra \"x\"", "1:1: error: unknown command \"camra\""},
        {"12", "1:1: error: expected a command, found number 12"},
        {"end camera", "1:1: error: \"end\" without anything to close"},
        {"system \"rm\"", "1:1: error: a scene may not run commands"},
        {"namespace \"x\"", "1:14: error: \"end namespace\" is missing"},
        {"namespace \"" + std::string(1023, 'x') + "\"", "1:11: error: the names of the open"},
        {repeated("namespace \"a\"\n", 40), "33:11: error: namespaces are nested more than 32"},
        {"camera \"c\" end light", "1:12: error: expected \"end camera\", found \"end light\""},
        {"incremental light \"l\" end light", "1:19: error: there is no light \"l\" to change"},
        {"camera \"c\" ) end camera", "1:12: error: expected a statement of the camera"},
        {"declare shader \"x\" ( colour \"c\" )", "1:22: error: expected a type"},
        {"shader \"s\" \"x\" ( \"p\" 1 2 \"q\"\n3 [", "2:4: error: expected a value"},
        {"shader \"s\" \"x\" ( \"p\" " + std::string(100, '['), "1:87: error: the values are"},
        {"shader \"s\" \"x\" ( \"p\" = interface \"i\" )", "1:24: error: an interface"},
        // Values of statements.
        {"options \"o\" trace maybe", "1:19: error: expected on or off for trace"},
        {"options \"o\" samples -5 2", "1:21: error: samples must be -4 to 6"},
        {"options \"o\" samples 2 7", "1:23: error: samples must be -4 to 6"},
        {"options \"o\" samples 3 2", "1:21: error: the minimum of samples is above"},
        {"options \"o\" filter bix", "1:20: error: expected one of box"},
        {"camera \"c\" resolution 0 1", "1:23: error: resolution must be 1 to 65536"},
        {"camera \"c\" resolution 1 65537", "1:25: error: resolution must be 1 to 65536"},
        {"camera \"c\" resolution 1.5 1", "1:23: error: expected an integer for resolution"},
        {"camera \"c\" resolution 99999999999999", "1:23: error: the integer is too large"},
        {"camera \"c\" focal 0", "1:18: error: focal must be above 0"},
        {"camera \"c\" window 5 0 4 9", "1:19: error: the window is inverted"},
        {"color texture \"t\" [ 2 2 ] 'ffff'", "1:19: error: the texture has 2 bytes"},
        {"color texture \"t\" [ 1 1 3 ] 'ff'", "1:25: error: texture depth must be 1, 2 or 4"},
        {"camera \"c\" output \"rgb\" \"png\" \"\"", "1:31: error: the name of the output file"},
        {"instance \"i\" \"e\" transform 1 0 end", "1:32: error: expected a number for transform"},
        {"instance \"i\" \"e\" transform 1 0 0 2",
         "1:34: error: number 4 of the transform must be 0"},
        // Geometry.
        {"object \"o\" group 0 0 0\nv 1", "2:3: error: vector 1 does not exist: there are 1"},
        {"object \"o\" group 0 0 0\nv 0 n -1", "2:7: error: vector -1 does not exist"},
        {mesh + "c 0, 1, 2", "2:4: error: expected a vertex, found \",\""},
        {"shader \"s\" \"x\" ( \"p\" 1, 2", "1:23: error: a comma ends the value of \"p\""},
        {"camera \"c\" clip 5 1 end", "1:17: error: nothing lies between the clip distances"},
        {"incremental light \"" + std::string(999, 'x') + "\" end",
         "1:19: error: there is no light \"" + std::string(80, 'x') + "\u2026\" to change"},
        {mesh + "p 0 1 3", "2:7: error: vertex 3 does not exist: there are 3"},
        {mesh + "p 0 1 2 hole 0", "2:9: error: a polygon needs three corners or more"},
        {mesh + "end object", "2:1: error: expected \"end group\", found \"end object\""},
        {"object \"o\" tagged on group 0 0 0 v 0\np \"m\"", "2:3: error: expected a label"},
        {"object \"o\" group\n1 2 1e39", "2:5: error: the number is too large"},
        {"object \"o\" group\n`\x7f\xf0zzzzzzzzzz`", "2:1: error: the vector holds a number that"},
        {"object \"o\" trilist vertex 1 p triangle 1\n0 0 0 0 0 1", "2:11: error: vertex 1 does"},
        {"object \"o\" trilist vertex 1 p triangle 1 scalar", "1:42: error: a binary trilist"},
        {"object \"o\" trilist vertex 1 n triangle 1", "1:29: error: a vertex begins with its"},
    };
    for (const auto& fault : faults)
        EXPECT_THAT(error_in(fault.text), StartsWith("t.mi:" + fault.error)) << fault.text;
}

TEST(Faults, EndTheTextAnywhere) {
    const std::string text = R"(
        declare shader color "s" ( array struct "a" { scalar "b" default 1 } ) version 1 end declare
        camera "c" output "rgba" "png" "a.png" output "x" = "y" lens "l" ( "p" [ { "q" 1 } ] )
            window 0 0 1 1 unknown ( "x" [ 1 ] ) 3 framebuffer "f" primary on filename "x" end camera
        object "o" tagged group 0 0 0 1 0 0 1 1 0 v 0 n 1 t 2 v 1 v 2 p 1 0 1 2 hole 2 1 0 end group
            trilist vertex 1 p n t 2 triangle 1 0 0 0 0 0 0 0 0 1 0 0 0 end trilist end object
        light "k" "x" ( ) area rectangle 1 0 0 0 1 0 3 3 2 1 1 spread 3 end light)";
    EXPECT_EQ(error_in(text), "");
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_NO_THROW(error_in(text.substr(0, length))) << length;
}

}  // namespace
}  // namespace orvane::scene
