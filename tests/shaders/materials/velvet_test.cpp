// zel_velvet: the blend of the outside material's colour by the viewing angle.

#include "material_fixture.h"

extern "C" miBoolean zel_velvet(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class VelvetTest : public MaterialTest {
  protected:
    struct Own {
        miScalar strength = 1;
        miColor edge = {0.5f, 2, 1, 9}, face = {0.125f, 0, 0.25f, 9};
    };
    MaterialBlock<Own> block;
};

TEST_F(VelvetTest, BlendsByTheViewingAngle) {
    host.materials.material = {0.3f, 0.5f, 1, 0.75f};
    const struct {
        miScalar strength, dot_nd;
        miColor color;
    } kCases[] = {{0, -0.3f, {0.3f, 0.5f, 1, 0}},
                  {1, -1, {0.125f, 0, 0.25f, 0}},
                  {1, 0, {0.15f, 1, 1, 0}},
                  {1, -0.25f, {0.14375f, 0.75f, 0.8125f, 0}},
                  {0.5f, 0, {0.225f, 0.75f, 1, 0}}};
    for (const int ray : {miRAY_EYE, miRAY_REFLECT, miRAY_SHADOW})
        for (const auto& c : kCases) {
            state.type = ray, state.dot_nd = c.dot_nd, block.own.strength = c.strength;
            EXPECT_THAT(shade(zel_velvet, &block),
                        IsColor(c.color.r, c.color.g, c.color.b, 0.75f, 1e-7f))
                << "case " << &c - kCases;
            EXPECT_EQ(library_calls(), "soft_material ");
        }
    block.own.strength = 0;
    EXPECT_EQ(shade(zel_velvet, &block).r, 0.3f) << "bit for bit";
}

TEST_F(VelvetTest, StaysFinite) {
    for (const miScalar bad : {kNan, kInfinity, -kInfinity}) {
        for (miScalar* field : {&block.own.strength, &block.own.edge.r, &block.own.face.g}) {
            const miScalar sane = std::exchange(*field, bad);
            const miColor c = shade(zel_velvet, &block);
            EXPECT_TRUE(is_finite(c) && c.a == 1) << bad;
            *field = sane;
        }
    }
}

}  // namespace
