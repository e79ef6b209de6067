// soft.mi declares the parameter blocks as the shaders read them.

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "soft/builtins.h"

namespace {

using Offsets = std::map<std::string, std::size_t>;  // in bytes, by parameter; "" is the size

// The blocks that a file of declarations lays out, by shader: 4 bytes a component, arrays with
// index and count before one element. A line is `type "name" ...`, that of a shader ends in `(`.
std::map<std::string, Offsets> declared_blocks(const std::string& path) {
    const Offsets components = {{"color", 4}, {"vector", 3}};
    std::map<std::string, Offsets> blocks;
    Offsets* block = nullptr;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t open = line.find('"'), close = line.find('"', open + 1);
        if (!line.starts_with("    ") || open > line.find('#') || close == line.npos) continue;
        const std::string name = line.substr(open + 1, close - open - 1);
        if (line.ends_with('(')) {
            block = &blocks[name];
            continue;
        }
        std::istringstream type(line.substr(0, open));
        std::string first, last;
        for (type >> first; type >> last;) {
        }
        const bool array = first == "array";
        const auto count = last.empty() ? components.find(first) : components.end();
        std::size_t& size = (*block)[""];
        size += array ? 8 : 0;
        (*block)[name] = size;
        size += 4 * (count == components.end() ? 1 : count->second);
    }
    return blocks;
}

TEST(SoftDeclarations, LayOutTheBlocksOfTheShaders) {
    auto blocks = declared_blocks(ORVANE_SOURCE_DIR "/renderer/soft/soft.mi");
    EXPECT_EQ(blocks.size(), 6u);
    EXPECT_EQ(blocks["soft_constant"][""], sizeof(soft_constant_params));
    EXPECT_EQ(blocks["soft_texture"][""], sizeof(soft_texture_params));
    EXPECT_EQ(blocks["soft_texture"]["space"], offsetof(soft_texture_params, space));
    EXPECT_EQ(blocks["soft_checker"][""], sizeof(soft_checker_params));
    EXPECT_EQ(blocks["soft_checker"]["solid"], offsetof(soft_checker_params, solid));
    EXPECT_EQ(blocks["soft_environment"][""], sizeof(soft_environment_params));
    EXPECT_EQ(blocks["soft_environment"]["zenith"], offsetof(soft_environment_params, zenith));
    EXPECT_EQ(blocks["soft_light"][""], sizeof(soft_light_params));
    EXPECT_EQ(blocks["soft_light"]["falloff"], offsetof(soft_light_params, falloff));

    Offsets& material = blocks["soft_material"];
    EXPECT_EQ(material[""], sizeof(soft_material_params));
#define EXPECT_AT(name) EXPECT_EQ(material[#name], offsetof(soft_material_params, name)) << #name
    EXPECT_AT(specular);
    EXPECT_AT(static_blur);
    EXPECT_AT(exponent);
    EXPECT_AT(transparency);
    EXPECT_AT(reflectivity);
    EXPECT_AT(no_shadow);
    EXPECT_AT(environment_only);
    EXPECT_AT(light);
    EXPECT_AT(diffuse_light);
    EXPECT_AT(reflectivity_map);
    EXPECT_AT(texture_space);
    EXPECT_AT(texture_rotation);
    EXPECT_AT(tint_transparency);
#undef EXPECT_AT
}

}  // namespace
