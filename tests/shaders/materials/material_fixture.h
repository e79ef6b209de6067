// A hit seen head-on, to call materials on: light 1 shines (0.5, 1, 2) from light_dir, light 2 red
// from the normal, light 3 is blocked.
#pragma once

#include <cmath>
#include <limits>

#include "scripted/host.h"

constexpr miScalar kNan = std::numeric_limits<miScalar>::quiet_NaN();
constexpr miScalar kInfinity = std::numeric_limits<miScalar>::infinity();

// The outside material's block, a shader's own fields, and behind them the light arrays.
template <typename Own>
struct MaterialBlock {
    soft_material_params material = {};
    Own own = {};
    miTag light[3] = {3, 1, 2}, diffuse_light[2] = {1, 2};

    // The given numbers of lights: 1 is the blocked one alone.
    void lights(int n, int n_diffuse) {
        const auto* words = reinterpret_cast<const miTag*>(this);
        material.i_light = static_cast<int>(light - words) - 26;
        material.i_diffuse_light = static_cast<int>(diffuse_light - words) - 29;
        material.n_light = n, material.n_diffuse_light = n_diffuse;
    }
};

class MaterialTest : public scripted::Renderer {
  protected:
    MaterialTest() {
        host.light_samples = [this](miState*, miTag light) {
            std::vector<scripted::LightSample> samples;
            if (light == 1) samples.push_back({{0.5f, 1, 2, 0}, light_dir, light_dir.z});
            if (light == 2) samples.push_back({{1, 0, 0, 0}, {0, 0, 1}, 1});
            return samples;
        };
    }

    template <typename Block>
    miColor shade(miBoolean (*shader)(miColor*, miState*, void*), Block* block,
                  miBoolean answer = miTRUE) {
        host.materials.calls.clear();
        miColor result = {9, 9, 9, 9};
        EXPECT_EQ(shader(&result, &state, block), answer);
        return result;
    }

    // The calls of the material library, in order.
    std::string library_calls() const {
        std::string names;
        for (const auto& call : host.materials.calls)
            names += call.name.substr(call.name.starts_with("mi_mtl_") ? 7 : 0) + ' ';
        return names;
    }

    // What a shadow ray gets: the library's attenuation and answer, or, where nothing casts a
    // shadow, what came in and the answer given.
    template <typename Block>
    void expect_shadows(miBoolean (*shader)(miColor*, miState*, void*), Block* block,
                        miBoolean answer_without) {
        state.type = miRAY_SHADOW;
        host.materials.casts_shadow = miFALSE;
        EXPECT_THAT(shade(shader, block, answer_without), scripted::IsColor(9, 9, 9, 9));
        EXPECT_EQ(library_calls(), "is_casting_shadow ");
        host.materials.casts_shadow = miTRUE;
        EXPECT_THAT(shade(shader, block, miFALSE), scripted::IsColor(0, 0, 0, 9));
        host.materials.shadow = {0.5f, 0.25f, 0, 0};
        EXPECT_THAT(shade(shader, block), scripted::IsColor(4.5f, 2.25f, 0, 9));
        EXPECT_TRUE(library_calls().ends_with("compute_shadow ")) << library_calls();
        EXPECT_EQ(host.materials.count("mi_mtl_refraction_index"), 0);
        EXPECT_TRUE(host.calls.empty()) << host.calls.front().name;
    }

    miVector light_dir = {0.6f, 0, 0.8f};
};

inline bool is_finite(const miColor& c) {
    return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b) && std::isfinite(c.a);
}
