// What the two sides of the contract rely on without looking: sizes, places in records, and the
// library's identification.

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "frame/host.h"

extern "C" const char* const dso_version_orvane;

TEST(Contract, IdentifiesTheLibraryByItsExactText) {
    EXPECT_STREQ(dso_version_orvane, "=@@= orvane linux-x86 for mental ray 3.1 (3.1.3.17)");
}

// A block is read word by word by code that has only the declaration.
TEST(Contract, OutsideMaterialHasItsRolesAtTheAgreedWords) {
    using Block = soft_material_params;
    const auto word = [](std::size_t offset) { return offset / 4; };
    EXPECT_EQ(sizeof(Block), 196u);
    EXPECT_EQ(word(offsetof(Block, model)), 0u);
    EXPECT_EQ(word(offsetof(Block, ambient)), 1u);
    EXPECT_EQ(word(offsetof(Block, diffuse)), 5u);
    EXPECT_EQ(word(offsetof(Block, specular)), 9u);
    EXPECT_EQ(word(offsetof(Block, ambience)), 13u);
    EXPECT_EQ(word(offsetof(Block, exponent)), 17u);
    EXPECT_EQ(word(offsetof(Block, transparency)), 18u);
    EXPECT_EQ(word(offsetof(Block, reflectivity)), 19u);
    EXPECT_EQ(word(offsetof(Block, ior)), 20u);
    EXPECT_EQ(word(offsetof(Block, environment_only)), 23u);
    EXPECT_EQ(word(offsetof(Block, i_light)), 24u);
    EXPECT_EQ(word(offsetof(Block, n_light)), 25u);
    EXPECT_EQ(word(offsetof(Block, light)), 26u);
    EXPECT_EQ(word(offsetof(Block, i_diffuse_light)), 27u);
    EXPECT_EQ(word(offsetof(Block, n_diffuse_light)), 28u);
    EXPECT_EQ(word(offsetof(Block, diffuse_light)), 29u);
}

// Shaders copy states and clear the two fields that name the geometry a ray leaves.
TEST(Contract, StateIsPlainAndKeepsTheTriangleJustBeforeTheLevels) {
    EXPECT_TRUE(std::is_trivially_copyable_v<miState>);
    EXPECT_TRUE(std::is_standard_layout_v<miState>);
    EXPECT_EQ(offsetof(miState, reflection_level), offsetof(miState, pri_index) + 4);
    EXPECT_EQ(sizeof(miState::thread), 2u);
    EXPECT_EQ(sizeof(miState::dist), 8u);
}

TEST(Contract, CodesAreThoseOfTheInterface) {
    EXPECT_EQ(miRAY_LIGHT, 4);
    EXPECT_EQ(miRAY_SHADOW, 5);
    EXPECT_EQ(miSHADOW_SEGMENTS, 115);
    EXPECT_EQ(miQ_FUNC_USERPTR, 51);
    EXPECT_EQ(miQ_DECL_NAME, 63);
    EXPECT_EQ(miITEM_INSTANCE, 10);
    EXPECT_EQ(miITEM_LIGHT, 4);
}
