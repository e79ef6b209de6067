// Rays against light volumes: many rays against the question whether a point of the ray lies
// inside.

#include "volumetric/intersection.h"

#include <array>
#include <cmath>
#include <random>

#include "frame/vector.h"
#include "scripted/host.h"

namespace {

TEST(QuadraticRoots, OfEveryKindOfEquation) {
    const struct {
        double a, b, c;
        std::vector<double> roots;
    } cases[] = {
        {1, -3, 2, {1, 2}},  {1, 3, 2, {-2, -1}}, {-2, 0, 8, {-2, 2}},
        {1, 2, 1, {-1, -1}}, {1, 0, 1, {}},       {1, -1e8, 1, {1e-8, 1e8}},
        {0, 2, -6, {3}},     {0, -2, -6, {-3}},   {0, 0, 0, {}},
        {0, 0, 5, {}},
    };
    for (const auto& c : cases) {
        std::vector<double> roots(2, 7);
        roots.resize(static_cast<std::size_t>(qv_QuadraticRoots(c.a, c.b, c.c, roots.data())));
        std::sort(roots.begin(), roots.end());
        EXPECT_THAT(roots, testing::Pointwise(testing::DoubleEq(), c.roots)) << c.a << ' ' << c.b;
    }
}

using Point = std::array<double, 3>;

double dot(const Point& a, const Point& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

struct RandomRay {
    std::mt19937 random{1};
    miVector place, org, dir;  // place is the volume's

    miScalar number(miScalar from, miScalar to) {
        return std::uniform_real_distribution<miScalar>(from, to)(random);
    }
    miVector unit() { return normalized({number(-1, 1), number(-1, 1), number(-1, 1)}); }
    void next(bool aimed) {
        place = unit() * number(0, 3);
        org = place + unit() * number(0, 10);
        dir = aimed ? normalized(place - org + unit() * number(0, 1)) : unit();
    }

    // Whether the stretch agrees with depth(f, t), f being the way from the place to the point at
    // t: above 1 inside, below -1 outside. Asked at both ends, around them and all over the ray.
    bool agrees(bool hit, double near, double far, auto depth) {
        for (int k = 0; k < 12; ++k) {
            double t = number(0, 20);
            if (k < 6 && hit) t = (k < 3 ? near : far) * (1 + k % 3 * 0.01 * double{number(-1, 1)});
            if (t > 1e4) continue;
            const miVector w = org - place;
            const double at = depth(Point{w.x + t * dir.x, w.y + t * dir.y, w.z + t * dir.z}, t);
            if (std::abs(at) > 1 && (at > 0) != (hit && near <= t && t <= far)) return false;
        }
        return true;
    }
};

// The shader works in single precision, 6e-8, and some tens of roundings may add up. The distance
// to a cone's side is unsure by 1e-5 of the lengths involved: up to 10 to the apex, and t. (Cones
// narrower than these know the angle to their axis less well.) For a sphere squares of coordinates
// up to 13 are subtracted: the squared distance to its centre is unsure by 1e-6 of their sum.
TEST(VolumeIntersection, KnowsWhichPointsOfARayAreInside) {
    RandomRay ray;
    int hits = 0;
    for (int n = 0; n < 100'000; ++n) {
        ray.next(n % 2);
        const miVector axis = ray.unit();
        const double half = ray.number(0.02f, 1.55f), radius = ray.number(0, 5);
        const auto depth_in_cone = [&](const Point& f, double t) {
            const double along = dot(f, {axis.x, axis.y, axis.z});
            const double across = std::sqrt(std::max(0.0, dot(f, f) - along * along));
            return (along * std::sin(half) - across * std::cos(half)) / (1e-5 * (10 + t));
        };
        const auto depth_in_sphere = [&](const Point& f, double t) {
            return (radius * radius - dot(f, f)) / (1e-6 * (13 * 13 + t * t));
        };
        miScalar near = 0, far = 0;
        int hit = qv_ConeIntersection(&ray.org, &ray.dir, &ray.place, &axis,
                                      static_cast<miScalar>(half), &near, &far);
        ASSERT_TRUE(ray.agrees(hit, near, far, depth_in_cone)) << n << ' ' << near << ' ' << far;
        hits += hit;
        hit = qv_SphereIntersection(&ray.org, &ray.dir, &ray.place, static_cast<miScalar>(radius),
                                    &near, &far);
        ASSERT_TRUE(ray.agrees(hit, near, far, depth_in_sphere)) << n << ' ' << near << ' ' << far;
        hits += hit;
    }
    EXPECT_GT(hits, 50'000);
}

}  // namespace
