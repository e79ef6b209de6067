// Objects: vertices with their fields, polygons of all kinds, lists of triangles.
#include <gmock/gmock.h>

#include <cmath>

#include "scene/triangulate.h"
#include "scene_text.h"

namespace orvane::scene {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using Triangle = std::array<std::uint32_t, 3>;

Object object_of(const std::string& statements) {
    return *parse("object \"o\" " + statements + " end object").objects.at("o");
}

TEST(Group, VerticesPickTheirFields) {
    const Mesh mesh = *object_of(R"(group "g" merge 0.1
        0 0 0  1 2 3  4 5 6  7 8 9
        v 0  v 1 n 2 d 0 0 t 3 1 2 t 2 m 1 m 2 u 3 corner level 1  v 2 t 1 cusp
        c 0 1 2 approximate visible trace parametric 1 1 "x" end group)")
                           .mesh;
    const auto zero = FieldsAre(0, 0, 0), one = FieldsAre(1, 2, 3), two = FieldsAre(4, 5, 6),
               three = FieldsAre(7, 8, 9);
    EXPECT_THAT(mesh.position, ElementsAre(zero, one, two));
    EXPECT_THAT(mesh.normal, ElementsAre(zero, two, zero));
    EXPECT_THAT(mesh.texture,
                ElementsAre(ElementsAre(zero, three, one), ElementsAre(zero, two, zero)));
    EXPECT_THAT(mesh.motion, ElementsAre(zero, one, zero));
}

// Indices count from their own group; geometry that is not supported is skipped to its end.
TEST(Group, HasIndicesOfItsOwn) {
    const std::string square = "group 0 0 0 1 0 0 1 1 0 0 1 0 v 0 v 1 v 2 v 3 ";
    const Object o = object_of(square + "p 0 1 2 curve \"c\" 0. 1. 1 v 9 end curve c 0 9 10 " +
                               "end group " + square + "c \"a\" 0 1 2 cp \"b\" 1 2 3 end group");
    EXPECT_EQ(o.mesh->position.size(), 8u);
    EXPECT_THAT(o.mesh->triangle,
                ElementsAre(Triangle{0, 1, 2}, Triangle{4, 5, 6}, Triangle{5, 6, 7}));
    EXPECT_THAT(o.mesh->material, ElementsAre(-1, 0, 1));
    EXPECT_THAT(o.materials, ElementsAre("a", "b"));
}

// A line break among the bytes counts as one.
TEST(Group, BinaryVectorsAreBigEndian) {
    const std::string one_two_nl("`\x3f\x80\x00\x00\x40\x00\x00\x00\x0a\x60\x00\x00`", 14);
    const Scene scene = parse("object \"o\" group " + one_two_nl +
                              " v 0 end group end object\n light \"l\" end light");
    EXPECT_THAT(scene.objects.at("o")->mesh->position[0], FieldsAre(1, 2, testing::_));
    EXPECT_EQ(scene.lights.at("l")->place.line, 3);
}

// ---- Triangulation ----

using Loop = std::vector<std::pair<double, double>>;

double twice_the_area(const Loop& loop) {
    double sum = 0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const auto& [x, y] = loop[i];
        const auto& [u, v] = loop[(i + 1) % loop.size()];
        sum += x * v - y * u;
    }
    return sum;
}

// Signed and absolute area of the triangles of an outline with holes: equal when none is turned
// over, and then no two overlap if the sum is that of the polygon.
std::pair<double, double> areas(const std::vector<Loop>& loops) {
    std::vector<Vec3> position;
    std::vector<std::uint32_t> corners;
    std::vector<std::size_t> loop_ends;
    for (const Loop& loop : loops) {
        for (const auto& [x, y] : loop) {
            corners.push_back(static_cast<std::uint32_t>(position.size()));
            position.push_back({static_cast<float>(x), static_cast<float>(y), 0});
        }
        loop_ends.push_back(corners.size());
    }
    std::vector<Triangle> triangles;
    triangulate(position, corners, loop_ends, triangles);
    double sum = 0, absolute = 0;
    for (const Triangle& triangle : triangles) {
        Loop loop;
        for (const std::uint32_t i : triangle) loop.emplace_back(position[i].x, position[i].y);
        sum += twice_the_area(loop) / 2;
        absolute += std::abs(twice_the_area(loop) / 2);
    }
    return {sum, absolute};
}

void expect_area(const std::vector<Loop>& loops, double area) {
    const auto [sum, absolute] = areas(loops);
    EXPECT_NEAR(sum, area, 1e-4 * std::abs(area));
    EXPECT_NEAR(absolute, std::abs(area), 1e-4 * std::abs(area));
}

TEST(Triangulation, CoversOutlinesOfEitherTurnAndLeavesHolesOut) {
    expect_area({{{0, 0}, {4, 0}, {4, 4}, {3, 1}}}, 4);
    expect_area({{{3, 1}, {4, 4}, {4, 0}, {0, 0}}}, -4);
    // Corners on straight edges.
    expect_area({{{0, 0}, {1, 0}, {2, 0}, {2, 1}, {2, 2}, {1, 2}, {0, 2}, {0, 1}}}, 4);
    // A hole that touches the outline in a corner.
    expect_area({{{0, 0}, {4, 0}, {4, 4}, {0, 4}}, {{4, 2}, {2, 3}, {2, 1}}}, 14);

    // A grid of square holes, of both turns, whose corners lie on common lines.
    std::vector<Loop> grid = {{{0, 0}, {13, 0}, {13, 13}, {0, 13}}};
    for (int l = 1; l < 13; l += 2)
        for (int b = 1; b < 13; b += 2) {
            grid.push_back({{l, b}, {l + 1, b}, {l + 1, b + 1}, {l, b + 1}});
            if ((l + b) % 4 == 0) std::reverse(grid.back().begin(), grid.back().end());
        }
    expect_area(grid, 13 * 13 - 36);
}

// Stars with star holes; and most corners of a spiral are no ears for long: cubic work would take
// minutes.
TEST(Triangulation, CoversStarsAndSpirals) {
    for (int points = 5; points < 200; points += 13) {
        std::vector<Loop> star(2);
        for (int i = 0; i < 2 * points; ++i) {
            const double radius = i % 2 == 0 ? 1 : 0.6 + 0.003 * (i % 7);
            const double angle = 3.14159265358979 * i / points;
            const double x = radius * std::cos(angle), y = radius * std::sin(angle);
            star[0].emplace_back(2 * x, 2 * y);
            star[1].emplace_back(x / 2, y / 2);
        }
        expect_area(star, (twice_the_area(star[0]) - twice_the_area(star[1])) / 2);
    }
    Loop spiral;
    for (int i = -10000; i < 10000; ++i) {
        const double turn = std::abs(i + 0.5) / 100, r = 1 + turn + (i < 0 ? 0 : 2);
        spiral.emplace_back(r * std::cos(turn), r * std::sin(turn));
    }
    expect_area({spiral}, twice_the_area(spiral) / 2);
}

TEST(Triangulation, EndsForDegeneratePolygons) {
    const std::vector<Loop> loops = {
        {{0, 0}, {0, 0}, {0, 0}, {0, 0}},
        {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {1, 0}},
        {{0, 0}, {1, 1}, {1, 0}, {0, 1}},
        {{0, 0}, {2, 0}, {0, 0}, {2, 0}, {2, 2}},
        {{0, 0}, {1e30, 0}, {1e30, 1e30}, {5e29, 1e29}},
    };
    for (const Loop& outline : loops)
        for (const Loop& hole : loops) areas({outline, hole});
}

}  // namespace
}  // namespace orvane::scene
