// zel_shadow_matte: alpha for the light that is missing.

#include "material_fixture.h"

extern "C" miBoolean zel_shadow_matte(miColor*, miState*, void*);

namespace {

using ShadowMatteTest = MaterialTest;

TEST_F(ShadowMatteTest, AlphaIsTheMissingLight) {
    struct {
        miInteger i_light = 2, n_light = 0;
        miTag light[4] = {9, 9, 0, 0};
    } block;
    // Light k has a grey of k quarters; light 7 is blocked, light 5 takes light away, 6 is broken.
    host.light_samples = [](miState*, miTag light) {
        miScalar x = static_cast<miScalar>(light) / 4;
        if (light == 5) x = -1;
        if (light == 6) x = kNan;
        return std::vector<scripted::LightSample>(light != 7, {{x, 2 * x, 0, 5}, {0, 0, 1}, 0});
    };
    const struct {
        int n;
        miTag first, second;
        miScalar alpha;
    } kCases[] = {{0, 4, 4, 1},     {-1, 4, 4, 1}, {1, 4, 4, 0},    {2, 2, 2, 0},
                  {2, 1, 7, 0.75f}, {2, 3, 5, 1},  {2, 8, 1, 0},    {2, 7, 7, 1},
                  {2, 5, 8, 0},     {2, 6, 4, 1},  {2, 1, 2, 0.25f}};
    for (const miInteger ray : {miRAY_EYE, miRAY_SHADOW})
        for (const auto& c : kCases) {
            state.type = ray, block.n_light = c.n;
            block.light[2] = c.first, block.light[3] = c.second;
            EXPECT_THAT(shade(zel_shadow_matte, &block), scripted::IsColor(0, 0, 0, c.alpha))
                << "case " << &c - kCases;
        }
}

// A shadow ray that looks for the shadows at a matte that another shadow ray has met.
TEST_F(ShadowMatteTest, MattesDoNotAskEachOther) {
    struct {
        miInteger i_light = 0, n_light = 1;
        miTag light[1] = {2};
    } block;
    miState eye = state, outer = state;
    outer.type = miRAY_SHADOW, outer.parent = &eye;
    for (const miInteger ray : {miRAY_SHADOW, miRAY_REFLECT}) {
        state.type = ray, state.parent = &outer, host.calls.clear();
        shade(zel_shadow_matte, &block);
        EXPECT_EQ(host.count("mi_trace_light"), ray != miRAY_SHADOW);
    }
    state.type = miRAY_SHADOW, state.parent = &eye;
    shade(zel_shadow_matte, &block);
    EXPECT_EQ(host.count("mi_trace_light"), 2);
}

}  // namespace
