// soft.mi declares the parameter blocks as the shaders read them.

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <regex>

#include "soft/builtins.h"

namespace {

// Where a file of declarations puts each "shader.parameter", in bytes, and as "shader." the size:
// 4 bytes a component, arrays with index and count before one element. A line is
// `type "name" ...`, that of a shader ends in `(`.
std::map<std::string, std::size_t> declared_layout(const std::string& path) {
    const std::regex kLine(R"re( +(array )?(\w+)( texture)? "(\w+)".*)re");
    const std::map<std::string, std::size_t> kComponents = {{"color", 4}, {"vector", 3}};
    std::map<std::string, std::size_t> layout;
    std::string shader;
    std::ifstream file(path);
    std::smatch match;
    for (std::string line; std::getline(file, line);) {
        if (!std::regex_match(line, match, kLine)) continue;
        if (line.ends_with('(')) {
            shader = match[4].str() + ".";
            continue;
        }
        const auto count = kComponents.find(match[2]);
        const bool single = match[3].matched || count == kComponents.end();
        std::size_t& size = layout[shader];
        size += match[1].matched ? 8 : 0;
        layout[shader + match[4].str()] = size;
        size += single ? 4 : 4 * count->second;
    }
    return layout;
}

TEST(SoftDeclarations, LayOutTheBlocksOfTheShaders) {
    auto layout = declared_layout(ORVANE_SOURCE_DIR "/renderer/soft/soft.mi");
#define EXPECT_SIZE(shader) EXPECT_EQ(layout[#shader "."], sizeof(shader##_params)) << #shader
#define EXPECT_AT(shader, name) \
    EXPECT_EQ(layout[#shader "." #name], offsetof(shader##_params, name)) << #shader "." #name
    EXPECT_SIZE(soft_constant);
    EXPECT_SIZE(soft_texture);
    EXPECT_AT(soft_texture, space);
    EXPECT_SIZE(soft_checker);
    EXPECT_AT(soft_checker, solid);
    EXPECT_SIZE(soft_environment);
    EXPECT_AT(soft_environment, zenith);
    EXPECT_SIZE(soft_light);
    EXPECT_AT(soft_light, falloff);
    EXPECT_SIZE(soft_material);
    EXPECT_AT(soft_material, exponent);
    EXPECT_AT(soft_material, reflectivity);
    EXPECT_AT(soft_material, no_shadow);
    EXPECT_AT(soft_material, diffuse_light);
    EXPECT_AT(soft_material, reflectivity_map);
    EXPECT_AT(soft_material, texture_rotation);
    EXPECT_AT(soft_material, tint_transparency);
}

}  // namespace
