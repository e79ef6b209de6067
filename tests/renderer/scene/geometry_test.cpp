// Objects: vertices with their fields, polygons of all kinds, lists of triangles.
#include <gmock/gmock.h>

#include <cmath>

#include "scene/triangulate.h"
#include "scene_text.h"

namespace orvane::scene {
namespace {

using testing::ElementsAre;
using Triangle = std::array<std::uint32_t, 3>;

constexpr const char* kSquare = "group 0 0 0 1 0 0 1 1 0 0 1 0 v 0 v 1 v 2 v 3 ";

Object square(const std::string& polygons, const std::string& flags = {}) {
    return object_of(flags + " " + kSquare + polygons + " end group");
}

TEST(ObjectElement, ReadsFlags) {
    const Object o = square("",
                            "visible shadow 1 trace on face back tag 5 select on shadowmap off "
                            "max displace 2 box 0 0 0 1 1 1 attribute boolean \"a\" on");
    EXPECT_TRUE(o.visible && o.shadow && o.trace);
    EXPECT_EQ(o.face, 'b');
    EXPECT_EQ(o.tag, 5u);
    const Object later = square("", "visible off shadow 2 reflection 2");
    EXPECT_FALSE(later.visible || later.shadow);
    EXPECT_TRUE(later.trace);
}

TEST(Group, VerticesPickTheirFields) {
    const Object o = object_of(R"(group "g" merge 0.1
        0 0 0  1 2 3  4 5 6  7 8 9
        v 0
        v 1 n 2 d 0 0 t 3 1 2 t 2 m 1 m 2 u 3 corner level 1
        v 2 t 1 cusp
        c 0 1 2 approximate visible trace parametric 1 1 "x" end group)");
    const Mesh& mesh = *o.mesh;
    ASSERT_EQ(mesh.position.size(), 3u);
    EXPECT_EQ(mesh.position[1].y, 2);
    ASSERT_EQ(mesh.normal.size(), 3u);
    EXPECT_EQ(mesh.normal[0].x, 0);
    EXPECT_EQ(mesh.normal[1].x, 4);
    ASSERT_EQ(mesh.texture.size(), 2u);
    EXPECT_EQ(mesh.texture[0][1].x, 7);
    EXPECT_EQ(mesh.texture[0][2].x, 1);
    EXPECT_EQ(mesh.texture[1][1].x, 4);
    EXPECT_EQ(mesh.texture[1].size(), 3u);
    EXPECT_EQ(mesh.motion[1].x, 1);
    EXPECT_THAT(mesh.triangle, ElementsAre(Triangle{0, 1, 2}));
}

TEST(Group, PolygonsBecomeTriangles) {
    EXPECT_THAT(square("c 0 1 2 3").mesh->triangle,
                ElementsAre(Triangle{0, 1, 2}, Triangle{0, 2, 3}));
    EXPECT_THAT(square("p 0 1 2").mesh->triangle, ElementsAre(Triangle{0, 1, 2}));
    EXPECT_THAT(square("strip 0 1 3 2").mesh->triangle,
                ElementsAre(Triangle{0, 1, 3}, Triangle{3, 1, 2}));
    EXPECT_THAT(square("fan 0 1 2 3").mesh->triangle,
                ElementsAre(Triangle{0, 1, 2}, Triangle{0, 2, 3}));
}

TEST(Group, PolygonsCarryMaterialsOrLabels) {
    const Object named = square("c \"a\" 0 1 2 3 p \"b\" 0 1 2 p 0 1 2 cp \"a\" 1 2 3");
    EXPECT_THAT(named.materials, ElementsAre("a", "b"));
    EXPECT_EQ(named.material_places.size(), 2u);
    EXPECT_THAT(named.mesh->material, ElementsAre(0, 0, 1, -1, 0));
    const Object tagged = square("c 7 0 1 2 p 3 1 2 3", "tagged");
    EXPECT_THAT(tagged.mesh->material, ElementsAre(7, 3));
    EXPECT_TRUE(tagged.materials.empty());
}

TEST(Group, IndicesCountFromTheirOwnGroup) {
    const std::string group = std::string(kSquare) + "c 0 1 2 end group ";
    const Object o = object_of(group + group);
    EXPECT_EQ(o.mesh->position.size(), 8u);
    EXPECT_THAT(o.mesh->triangle, ElementsAre(Triangle{0, 1, 2}, Triangle{4, 5, 6}));
}

TEST(Group, UnsupportedGeometryIsSkippedToTheEnd) {
    const Object o = square("c 0 1 2 curve \"c\" 0. 1. 1 v 9 end curve c 0 9 10 end group " +
                            std::string(kSquare) + "c 1 2 3");
    EXPECT_EQ(o.mesh->triangle.size(), 2u);
}

TEST(Group, BinaryVectorsAreBigEndian) {
    const std::string one_two_nl("`\x3f\x80\x00\x00\x40\x00\x00\x00\x0a\x60\x00\x00`", 14);
    const Object o = object_of("group " + one_two_nl + " v 0 end group");
    EXPECT_EQ(o.mesh->position[0].x, 1);
    EXPECT_EQ(o.mesh->position[0].y, 2);
    EXPECT_EQ(
        parse("object \"o\" group " + one_two_nl + " end group end object\n light \"l\" end light")
            .lights.at("l")
            ->place.line,
        3);
}

TEST(Trilist, ReadsFieldsAndTriangles) {
    const Object o =
        object_of(R"(tagged on trilist vertex 3 p n d d2 m 1 b 2 t 2 1 t 3 u 1 triangle 2
        0 0 0  0 0 1  1 1 1 1 1 1  2 2 2 2 2 2 2 2 2  5 0 0  3 3 3 3 3 3  .1 .2  .3  .4 .5 .6  9
        1 0 0  0 0 1  1 1 1 1 1 1  2 2 2 2 2 2 2 2 2  6 0 0  3 3 3 3 3 3  .1 .2  .3  .4 .5 .6  9
        1 1 0  0 0 1  1 1 1 1 1 1  2 2 2 2 2 2 2 2 2  7 0 0  3 3 3 3 3 3  .1 .2  .3  .4 .5 .6  9
        4 0 1 2  5 2 1 0 end trilist approximate fine)");
    const Mesh& mesh = *o.mesh;
    EXPECT_EQ(mesh.normal[2].z, 1);
    EXPECT_EQ(mesh.motion[1].x, 6);
    ASSERT_EQ(mesh.texture.size(), 3u);
    EXPECT_EQ(mesh.texture[0][0].y, 0.2f);
    EXPECT_EQ(mesh.texture[1][0].x, 0.3f);
    EXPECT_EQ(mesh.texture[2][0].z, 0.6f);
    EXPECT_THAT(mesh.material, ElementsAre(4, 5));
    EXPECT_THAT(mesh.triangle, ElementsAre(Triangle{0, 1, 2}, Triangle{2, 1, 0}));
}

TEST(Trilist, ReadsMaterialsAndTheOlderForm) {
    const std::string rows = " 0 0 0 1 0 0 1 1 0 ";
    const Object named = object_of("trilist vertex 3 p triangle 3" + rows +
                                   "\"a\" 0 1 2 2 1 0 \"b\" 0 2 1 end trilist");
    EXPECT_THAT(named.mesh->material, ElementsAre(0, 0, 1));
    const Object older = object_of("trilist vector [3] vertex [3] p n triangle [1] [" + rows +
                                   "] [ 0 1 1 1 2 1 ] [ \"a\" 0 1 2 ] end trilist");
    EXPECT_EQ(older.mesh->position[2].y, 1);
    EXPECT_EQ(older.mesh->normal[2].x, 1);
    EXPECT_TRUE(object_of("trilist vertex 3 p triangle 1" + rows + "7 0 1 2 end trilist").tagged);
}

// ---- Triangulation ----

struct Polygon {
    std::vector<Vec3> position;
    std::vector<std::uint32_t> corners;
    std::vector<std::size_t> loop_ends;

    void add_loop(const std::vector<std::pair<double, double>>& points) {
        for (const auto& [x, y] : points) {
            corners.push_back(static_cast<std::uint32_t>(position.size()));
            position.push_back({static_cast<float>(x), static_cast<float>(y), 0});
        }
        loop_ends.push_back(corners.size());
    }

    // Signed and absolute area of the triangles: equal when none is turned over, and then no
    // two overlap if the sum is that of the polygon.
    std::pair<double, double> areas() const {
        std::vector<Triangle> triangles;
        triangulate(position, corners, loop_ends, triangles);
        double sum = 0, absolute = 0;
        for (const auto& [a, b, c] : triangles) {
            const Vec3 &p = position[a], &q = position[b], &r = position[c];
            const double area = ((double{q.x} - p.x) * (double{r.y} - p.y) -
                                 (double{q.y} - p.y) * (double{r.x} - p.x)) /
                                2;
            sum += area;
            absolute += std::abs(area);
        }
        return {sum, absolute};
    }
};

void expect_area(const Polygon& polygon, double area) {
    const auto [sum, absolute] = polygon.areas();
    EXPECT_NEAR(sum, area, 1e-4 * std::abs(area));
    EXPECT_NEAR(absolute, std::abs(area), 1e-4 * std::abs(area));
}

TEST(Triangulation, CoversConcaveOutlinesOfEitherTurn) {
    Polygon arrow, clockwise, collinear;
    arrow.add_loop({{0, 0}, {4, 0}, {4, 4}, {3, 1}});
    expect_area(arrow, 4);
    clockwise.add_loop({{3, 1}, {4, 4}, {4, 0}, {0, 0}});
    expect_area(clockwise, -4);
    collinear.add_loop({{0, 0}, {1, 0}, {2, 0}, {2, 1}, {2, 2}, {1, 2}, {0, 2}, {0, 1}});
    expect_area(collinear, 4);
}

TEST(Triangulation, LeavesHolesOut) {
    // A grid of square holes, of both turns, whose corners lie on common lines.
    Polygon grid;
    const int n = 6;
    grid.add_loop({{0, 0}, {2 * n + 1, 0}, {2 * n + 1, 2 * n + 1}, {0, 2 * n + 1}});
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            const double l = 2 * x + 1, b = 2 * y + 1;
            if ((x + y) % 2 == 0) {
                grid.add_loop({{l, b}, {l + 1, b}, {l + 1, b + 1}, {l, b + 1}});
            } else {
                grid.add_loop({{l, b + 1}, {l + 1, b + 1}, {l + 1, b}, {l, b}});
            }
        }
    }
    expect_area(grid, (2 * n + 1) * (2 * n + 1) - n * n);

    // A hole that touches the outline in a corner.
    Polygon touching;
    touching.add_loop({{0, 0}, {4, 0}, {4, 4}, {0, 4}});
    touching.add_loop({{4, 2}, {2, 3}, {2, 1}});
    expect_area(touching, 14);
}

TEST(Triangulation, CoversStarsWithStarHoles) {
    for (int points = 5; points < 200; points += 13) {
        Polygon star;
        double area = 0;
        for (const double size : {2.0, 0.5}) {
            std::vector<std::pair<double, double>> loop;
            for (int i = 0; i < 2 * points; ++i) {
                const double radius = size * (i % 2 == 0 ? 1 : 0.6 + 0.003 * (i % 7));
                const double angle = 3.14159265358979 * i / points;
                loop.emplace_back(radius * std::cos(angle), radius * std::sin(angle));
            }
            double twice = 0;
            for (std::size_t i = 0; i < loop.size(); ++i) {
                const auto& [x, y] = loop[i];
                const auto& [u, v] = loop[(i + 1) % loop.size()];
                twice += x * v - y * u;
            }
            area += (area == 0 ? 1 : -1) * twice / 2;
            star.add_loop(loop);
        }
        expect_area(star, area);
    }
}

TEST(Triangulation, EndsForDegeneratePolygons) {
    const std::vector<std::vector<std::pair<double, double>>> loops = {
        {{0, 0}, {0, 0}, {0, 0}, {0, 0}},
        {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {1, 0}},
        {{0, 0}, {1, 1}, {1, 0}, {0, 1}},
        {{0, 0}, {2, 0}, {0, 0}, {2, 0}, {2, 2}},
        {{0, 0}, {1e30, 0}, {1e30, 1e30}, {5e29, 1e29}},
    };
    for (const auto& outline : loops) {
        for (const auto& hole : loops) {
            Polygon polygon;
            polygon.add_loop(outline);
            polygon.add_loop(hole);
            polygon.areas();
        }
    }
}

TEST(Group, ReadsManyPolygons) {
    const int n = 200;
    std::string text = "group ";
    for (int i = 0; i < n * n; ++i) {
        text += std::to_string(i % n) + " " + std::to_string(i / n) + ". 0.5\n";
    }
    for (int i = 0; i < n * n; ++i) text += "v " + std::to_string(i) + "\n";
    for (int i = 0; i + n + 1 < n * n; ++i) {
        if (i % n == n - 1) continue;
        text += "p \"m\" " + std::to_string(i) + " " + std::to_string(i + 1) + " " +
                std::to_string(i + n + 1) + " " + std::to_string(i + n) + "\n";
    }
    const Object o = object_of(text + "end group");
    EXPECT_EQ(o.mesh->triangle.size(), 2u * (n - 1) * (n - 1));
}

}  // namespace
}  // namespace orvane::scene
