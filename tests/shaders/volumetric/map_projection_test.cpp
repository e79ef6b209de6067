// Slide frames, slide coordinates and spherical coordinates.

#include "volumetric/map_projection.h"

#include <cmath>

#include "scripted/host.h"

namespace {

struct Point {
    float u, v;
};

// A light, what "right" and "up" on its slide are in the world, and a name for the case.
struct Stance {
    const char* name;
    miVector origin, direction, right, up;
};

const float kHalf = std::sqrt(0.5f);

const Stance kStances[] = {
    {"slanting down to the ground", {3, 2, 1}, {0, -kHalf, -kHalf}, {1, 0, 0}, {0, kHalf, -kHalf}},
    {"slanting up to the ground", {3, -2, 1}, {0, kHalf, -kHalf}, {1, 0, 0}, {0, kHalf, kHalf}},
    {"slanting up from the ground", {3, 2, 1}, {0, kHalf, -kHalf}, {-1, 0, 0}, {0, -kHalf, -kHalf}},
    {"slanting down below it", {3, -2, 1}, {0, -kHalf, -kHalf}, {-1, 0, 0}, {0, -kHalf, kHalf}},
    {"level, at height 0", {1000, 0, 7}, {-1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
    {"slanting, at height 0", {-5, 0, 2}, {0, kHalf, kHalf}, {-1, 0, 0}, {0, kHalf, -kHalf}},
    {"straight down", {4, 9, -3}, {0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
    {"straight down but for rounding", {4, 9, -3}, {1e-8f, -1, 2e-8f}, {1, 0, 0}, {0, 0, -1}},
    {"straight up", {4, 9, -3}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}},
    {"straight down to its foot", {0, 0.5f, 0}, {0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
    {"straight down at height 0", {0, 0, 0}, {0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
};

// Of these, rounding decides in any internal space but the world.
const Stance kLevelStances[] = {
    {"level, below", {0, -1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
    {"level, above", {0, 1, 0}, {1, 0, 0}, {0, 0, -1}, {0, -1, 0}},
};

class MapProjection : public scripted::Renderer {
  protected:
    // Slide coordinates of a world point, seen from a light whose plane is half a unit away.
    Point project(miVector origin, miVector direction, miVector at) {
        mi_point_from_world(&state, &origin, &origin);
        mi_vector_from_world(&state, &direction, &direction);
        mi_point_from_world(&state, &at, &at);
        miMatrix matrix;
        qv_SetupMapProj(&state, matrix, &origin, &direction, 0.5);
        miVector uv;
        qv_SlideConvertToMapProj(matrix, &origin, &at, &uv);
        return {uv.x, uv.y};
    }

    // The corners of the slide lie where right and up say, and stay there twice as far away.
    void expect_whole(const Stance& light) {
        for (const float distance : {0.5f, 1.0f})
            for (const Point corner : {Point{-1, -1}, {1, -1}, {-1, 1}, {1, 1}}) {
                const miVector across = light.right * corner.u + light.up * corner.v;
                const miVector at = light.origin + (light.direction + across) * distance;
                const Point uv = project(light.origin, light.direction, at);
                EXPECT_NEAR(uv.u, 0.5f * corner.u, 2e-4) << light.name;
                EXPECT_NEAR(uv.v, 0.5f * corner.v, 2e-4) << light.name;
            }
    }
};

TEST_F(MapProjection, ProjectsTheWholeSlideForEveryStanceOfTheLight) {
    for (const Stance& light : kStances) expect_whole(light);
    for (const Stance& light : kLevelStances) expect_whole(light);
}

TEST_F(MapProjection, DoesNotDependOnInternalSpace) {
    host.world = scripted::rotation(0.3f, -1.2f, 2.0f) * scripted::translation(5, -3, 8);
    for (const Stance& light : kStances) expect_whole(light);
}

TEST_F(MapProjection, MeasuresFromTheCentreOfThePlane) {
    miVector origin = {1, 2, 3}, direction = {0, -kHalf, -kHalf};
    miMatrix m;
    qv_SetupMapProj(&state, m, &origin, &direction, 4);
    miVector centre = origin + direction * 4, at;
    mi_point_transform(&at, &centre, m);
    EXPECT_NEAR(length(at), 0, 1e-6);
    mi_point_transform(&at, &origin, m);
    EXPECT_NEAR(at.x, 0, 1e-6);
    EXPECT_NEAR(at.y, 4, 1e-6);
    EXPECT_NEAR(at.z, 0, 1e-6);
    EXPECT_EQ(m[15], 1);
}

TEST_F(MapProjection, MarksPointsThatTheSlideCannotReach) {
    const miVector origin = {0, 3, 0}, down = {0, -1, 0};
    const miVector beside = {2, 3, 0}, behind = {0, 4, 0}, none = {0, 0, 0};
    for (const miVector at : {beside, behind, origin}) EXPECT_EQ(project(origin, down, at).u, -1);
    EXPECT_EQ(project(origin, none, {0, 1, 0}).v, -1);
    EXPECT_EQ(project({0, 0, 0}, none, {0, 1, 0}).v, -1);
}

TEST_F(MapProjection, WrapsTheSphereOnceAround) {
    const struct {
        miVector dir;
        float u, v;
    } cases[] = {
        {{0, 0, 1}, 1, 0.5f},
        {{1, 0, 0}, 0.75f, 0.5f},
        {{0, 0, -1}, 0.5f, 0.5f},
        {{-1, 0, 0}, 0.25f, 0.5f},
        {{0, 1, 0}, 1, 1},
        {{0, -1, 0}, 1, 0},
        {{0, 1.0000002f, 0}, 1, 1},
        {{0, -1.0000002f, 0}, 1, 0},
        {{0, 0, 0}, 1, 0.5f},
        {{0, kHalf, kHalf}, 1, 0.75f},
        {{-0.0f, 0, -1}, 0.5f, 0.5f},
    };
    for (auto [dir, u, v] : cases) {
        miScalar got_u, got_v;
        qv_ConvertToSphericMapProj(&dir, &got_u, &got_v);
        EXPECT_NEAR(got_u, u, 1e-6) << dir.x << ' ' << dir.y << ' ' << dir.z;
        EXPECT_NEAR(got_v, v, 1e-6) << dir.x << ' ' << dir.y << ' ' << dir.z;
    }
    // Just beyond +z the longitude begins anew.
    miVector dir = {-1e-3f, 0, 1};
    miScalar u, v;
    qv_ConvertToSphericMapProj(&dir, &u, &v);
    EXPECT_NEAR(u, 1e-3 / 6.2831853, 1e-6);
}

}  // namespace
