// The lights of a volume: which are taken, the frames of their maps and slides, what the maps hold.

#include "volumetric/maps.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <random>

#include "shaders/volumetric/volume_fixture.h"
#include "volumetric/map_projection.h"

namespace {

using scripted::IsColor;

const float kHalf = std::sqrt(0.5f);

class MapsTest : public VolumeTest {
  protected:
    // The only light: a spot light 10 above the ground that shines down, or a point light.
    Orvane_Light_params& only(bool spot, int resolution = 4) {
        params.n_light = 0;
        Orvane_Light_params& block = spot ? add_spot({0, 10, 0}) : add_point({0, 10, 0});
        block.map_resolution = resolution;
        return block;
    }
    // Slide coordinates of a world point, seen from a light whose plane is half a unit away.
    miVector project(miVector origin, miVector direction, miVector at) {
        mi_point_from_world(&state, &origin, &origin);
        mi_vector_from_world(&state, &direction, &direction);
        mi_point_from_world(&state, &at, &at);
        miMatrix matrix;
        qv_SetupMapProj(&state, matrix, &origin, &direction, 0.5);
        miVector uv;
        qv_SlideConvertToMapProj(matrix, &origin, &at, &uv);
        return uv;
    }
};

// What is "right" and "up" on the slide of a light, in the world: the corners of the slide lie
// there, and stay there twice as far away. In one pose of internal space and in another.
TEST_F(MapsTest, SlidesStandUprightInEveryStanceOfTheLight) {
    const struct {
        miVector origin, direction, right, up;
    } stances[] = {
        {{3, 2, 1}, {0, -kHalf, -kHalf}, {1, 0, 0}, {0, kHalf, -kHalf}},
        {{3, -2, 1}, {0, kHalf, -kHalf}, {1, 0, 0}, {0, kHalf, kHalf}},
        {{3, 2, 1}, {0, kHalf, -kHalf}, {-1, 0, 0}, {0, -kHalf, -kHalf}},
        {{3, -2, 1}, {0, -kHalf, -kHalf}, {-1, 0, 0}, {0, -kHalf, kHalf}},
        {{1000, 0, 7}, {-1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
        {{-5, 0, 2}, {0, kHalf, kHalf}, {-1, 0, 0}, {0, kHalf, -kHalf}},
        {{4, 9, -3}, {1e-8f, -1, 2e-8f}, {1, 0, 0}, {0, 0, -1}},
        {{4, 9, -3}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}},
        {{0, 0.5f, 0}, {0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
        {{0, 0, 0}, {0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
        // Rounding decides these in any internal space but the world.
        {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
        {{0, 1, 0}, {1, 0, 0}, {0, 0, -1}, {0, -1, 0}},
    };
    for (const bool turned : {false, true}) {
        if (turned)
            host.world = scripted::rotation(0.3f, -1.2f, 2.0f) * scripted::translation(5, -3, 8);
        for (int n = 0; n < (turned ? 10 : 12); ++n)
            for (const miScalar u : {-1.0f, 1.0f})
                for (const miScalar v : {-0.5f, -1.0f, 1.0f}) {
                    const auto& [origin, direction, right, up] = stances[n];
                    const miVector across = (right * u + up * v) * (1 + std::abs(v));
                    const miVector at = origin + direction * (1 + std::abs(v)) + across;
                    const miVector uv = project(origin, direction, at);
                    EXPECT_NEAR(uv.x, 0.5f * u, 2e-4) << n;
                    EXPECT_NEAR(uv.y, 0.5f * v, 2e-4) << n;
                }
    }
    host.world = scripted::identity();
    for (const miVector unreachable : {miVector{2, 3, 0}, {0, 4, 0}, {0, 3, 0}})
        EXPECT_EQ(project({0, 3, 0}, {0, -1, 0}, unreachable).x, -1);
    EXPECT_EQ(project({0, 3, 0}, {0, 0, 0}, {0, 1, 0}).y, -1);
}

TEST_F(MapsTest, TakesPointAndSpotLightsWithABeam) {
    const scripted::Matrix placed = scripted::translation(1, 2, 3);
    host.world = scripted::translation(10, 0, 0);  // from internal space
    add_spot({1, 0, 0}).volume_density = 0;
    add({.type = miLIGHT_DIRECTIONAL, .origin = {2, 0, 0}});
    add({miLIGHT_SPOT, {3, 0, 0}, {0, 0, 0}, .5f, &placed, "Orvane_Light", nullptr}).intensity = 2;
    add_point({4, 0, 0}).volume_decay = 4;
    add({.shader = "Orvane_Light2"});
    params.behind[params.n_light - 1] = host.add({miITEM_LIGHT, nullptr, {}});
    set_up();
    ASSERT_EQ(shared().light_count, 2);
    const VolumeLight &cone = shared().lights[0], &sphere = shared().lights[1];
    EXPECT_TRUE(cone.origin.x == -6 && cone.origin.z == 3 && cone.kind == VOLUME_CONE);
    EXPECT_EQ(cone.direction.z, -1);  // none was given
    EXPECT_THAT(cone.color, IsColor(2, 2, 2, 1));
    EXPECT_TRUE(sphere.origin.x == -6 && sphere.kind == VOLUME_SPHERE && sphere.extent == 12);

    // Left out are lights that cannot have maps; one that does not tell its spread ends the list.
    for (const miScalar spread : {0.0f, 1.0f, -1.0f, 2.0f, -0.5f, std::nanf("")}) {
        host.items[params.behind[2] - 1].answers[miQ_LIGHT_SPREAD] = spread;
        set_up();
        EXPECT_EQ(shared().light_count, 1) << spread;
    }
    for (const int resolution : {0, -4, INT_MAX}) {
        blocks[3].map_resolution = resolution;
        set_up();
        EXPECT_EQ(shared().light_count, 0) << resolution;
    }
    blocks[3].map_resolution = 4;
    host.items[params.behind[2] - 1].answers.erase(miQ_LIGHT_SPREAD);
    set_up();
    EXPECT_EQ(shared().light_count, 0);
}

// Directions of texels are those of their centres, (i + 0.5) / N. Looked up is the nearest multiple
// of 1 / N, by quick arithmetic that must not show, least at the borders: there the centres are.
TEST_F(MapsTest, DirectionsHaveTexelsOfASphere) {
    std::mt19937 random(1);
    std::uniform_real_distribution<miScalar> number(-1, 1);
    for (int k = 0; k < 200'000; ++k) {
        VolumeLight light = {};
        const int n = light.map_resolution = 1 + k % 64, column = k / 128 % n, row = k / 1024 % n;
        const auto size = static_cast<miScalar>(n);
        miVector dir = normalized({number(random), number(random), number(random)});
        if (k / 64 % 2) qv_ConvertFromSphericMapProj(&light, column, row, &dir);
        // Rounding may leave a vector longer than 1, which at the poles none of its angles
        // survives.
        const bool is_long = k % 3 == 0;
        const miScalar level = k % 2 ? 1 : 1e-4f;
        if (is_long) dir = normalized({dir.x * level, dir.y, dir.z * level}) * 1.0000002f;
        miScalar u, v;
        int i, j;
        qv_ConvertToSphericMapProj(&dir, &u, &v);
        convert_to_spheric_texel(&light, &dir, &i, &j);
        ASSERT_EQ(i, std::floor(u * size + 0.5f)) << dir.x << ' ' << dir.y << ' ' << dir.z;
        ASSERT_EQ(j, std::floor(v * size + 0.5f)) << dir.x << ' ' << dir.y << ' ' << dir.z;
        if (k / 64 % 2 && !is_long) {
            ASSERT_NEAR(u * size, column + 0.5, 1e-4);
            ASSERT_NEAR(v * size, row + 0.5, 1e-4);
        }
    }
}

TEST_F(MapsTest, NoiseEndsWithTheLastOctaveThatShows) {
    std::vector<miScalar> scales;
    host.noise = [&](const miVector& at) {
        scales.push_back(at.y / 2);
        return scales.size() < 128 ? 0.5f : 0.0f;
    };
    const miVector p = {1, 2, 3};
    EXPECT_EQ(qv_FractalNoise(&p, INT_MAX, 1e38f), 0.5f + 0.5e38f / 0x1p127f);
    EXPECT_EQ(scales.size(), 128u);
    EXPECT_TRUE(scales[1] == 2 && scales[2] == 8 && scales[3] == 64);
}

// The ground ends at x = 0. A depth ray tells nothing of where it begins, and sees no mirrors.
TEST_F(MapsTest, DepthRaysMeasureTheSceneFromTheLight) {
    state.reflection_level = 3, state.refraction_level = 2;
    trace([&](const miVector& org, const miVector& dir) {
        EXPECT_TRUE(state.pri == nullptr && state.pri_index == 0);
        EXPECT_TRUE(state.reflection_level == 7 && state.refraction_level == 7);
        EXPECT_TRUE(is_zero(state.normal - dir) && is_zero(state.normal_geom - dir));
        state.pri = &state, state.pri_index = 9;
        const double distance = -org.y / dir.y;
        return distance < 0 || org.x + distance * dir.x > 0 ? 0 : distance;
    });
    Orvane_Light_params& block = only(true);
    block.shadow = miTRUE, block.depth_start = 2;
    const VolumeLight& light = set_up();
    for (int i = 0; i < 4; ++i) {
        const double ground = 10 * std::hypot(1, (i - 1.5) / 2, .25) - 0.05;
        EXPECT_FLOAT_EQ(light.depth[i][1], i < 2 ? static_cast<miScalar>(ground) : FLT_MAX);
    }
    EXPECT_TRUE(state.reflection_level == 3 && state.refraction_level == 2);
    EXPECT_FALSE(catch_depth(&shared(), &state));
    options.shadow = miSHADOW_SORT;  // maps know nothing of these
    EXPECT_FALSE(set_up().has_depth);
}

}  // namespace
