// Laws that hold for any preset: bursts are what their rays make of them, and no number in a
// preset or a light's block does harm.

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "flare/primitives.h"
#include "flare/star.h"
#include "scripted/host.h"

namespace {

class FlarePropertyTest : public scripted::Renderer {
  protected:
    FlarePropertyTest() { initRayTable(); }

    miScalar uniform(double low, double high) {
        return static_cast<miScalar>(std::uniform_real_distribution<double>(low, high)(random));
    }
    int below(unsigned count) { return static_cast<int>(random() % count); }

    // A number of a usual size, or now and then one that nobody means.
    miScalar hostile(double low, double high) {
        constexpr miScalar kOdd[] = {0,     -1,    1e-45f, 195, 2e9f,    -2e9f,
                                     1e20f, 3e38f, -3e38f, NAN, INFINITY};
        return below(3) ? uniform(low, high) : kOdd[below(std::size(kOdd))];
    }

    void place(FlarePrimitive* records, int count, miScalar blend) {
        light.params = &params, light.primitives = records, light.primitive_count = count;
        placePrimitives(&light, blend);
    }

    miColor draw(miScalar X, miScalar Y) {
        miColor drawn;
        drawPrimitives(&state, &drawn, &light, X, Y, below(96));
        return drawn;
    }

    std::mt19937 random{5};
    Orvane_Light_params params = {};
    FlareLight light = {};
};

// What a placed burst of mode 4 draws at a pixel: each ray of its run in turn, in double.
double slow_burst(const FlarePrimitive& burst, double X, double Y, double aspect) {
    unsigned short angles[3] = {0xee31, 0x59f1, 0xa7b3}, lengths[3] = {0x9001, 0x7ca4, 0xbc71};
    const std::vector<double> v(burst.values, burst.values + 15);
    const double dx = (X - v[3]) / (v[6] * aspect), dy = (Y - v[4]) / v[6];
    const double way = std::atan2(dy, dx) - v[5], distance = std::hypot(dx, dy);
    const bool wedges = burst.type == PRIMITIVE_SECTOR;
    const int count = static_cast<int>(wedges ? v[10] : v[9]);
    const int first = wedges ? 191 - count : static_cast<int>(v[10]);
    double best = 0;
    for (int j = 0; j < std::min(first + count, 200); ++j) {
        const double angle = 2 * std::acos(-1.0) * mi_erandom(angles);
        const double longest = 0.1 + 0.9 * mi_erandom(lengths);
        if (j < first || distance > longest) continue;
        double beside = distance * std::abs(std::sin(way - angle)) / longest;
        if (wedges) beside -= distance * v[9];
        if (beside >= v[8]) continue;
        const double fade = beside < v[7] ? 1 : (v[8] - beside) / (v[8] - v[7]);
        best = std::max(best, fade * (1 - distance / longest));
    }
    return std::pow(best, v[12]);
}

TEST_F(FlarePropertyTest, BurstsAreTheSumOfTheirStrongestRays) {
    int covered = 0;
    for (int round = 0; round < 400; ++round) {
        std::array<FlarePrimitive, 2> bursts = {};
        for (auto& [type, v] : bursts) {
            const bool wedges = below(2) == 1;
            type = wedges ? PRIMITIVE_SECTOR : PRIMITIVE_RAYS;
            v[0] = 1, v[3] = uniform(-1, 1), v[4] = uniform(-4, 4), v[5] = uniform(-4, 4);
            v[6] = uniform(0.2, 1) * (below(4) ? 1.0f : -1.0f);
            v[7] = uniform(-0.01, 0.03), v[8] = v[7] + uniform(0.005, 0.05);
            v[wedges ? 10 : 9] = uniform(-9, 210);  // maybe beyond the table
            v[wedges ? 9 : 10] = wedges ? uniform(-0.05, 0.1) : uniform(-20, 210);
            v[11] = 4, v[12] = uniform(1, 3);
        }
        light.x = uniform(-0.5, 0.5), light.y = uniform(-0.4, 0.4);
        params.flare_aspect = uniform(0.5, 2) * (below(4) ? 1.0f : -1.0f);
        const miScalar blend = uniform(0, 1);
        std::array<FlarePrimitive, 2> placed = bursts;
        place(placed.data(), 2, blend);
        for (auto& [type, v] : bursts) {
            v[5] = (1 - blend) * v[4] + blend * v[5];
            v[4] = light.y * v[3], v[3] *= light.x;
        }
        for (int i = 0; i < 20; ++i) {
            const miScalar X = light.x + uniform(-0.4, 0.4), Y = light.y + uniform(-0.4, 0.4);
            const double sum = slow_burst(bursts[0], X, Y, params.flare_aspect) +
                               slow_burst(bursts[1], X, Y, params.flare_aspect);
            ASSERT_NEAR(draw(X, Y).r, sum, 1e-3) << "round " << round;
            covered += sum > 0;
        }
    }
    EXPECT_GT(covered, 2000);
}

// Sane colours stay numbers, whatever else is in the preset, the block and the pixel.
TEST_F(FlarePropertyTest, HostileNumbersDrawNumbers) {
    for (int round = 0; round < 40000; ++round) {
        miScalar words[sizeof params / sizeof(miScalar)];
        for (miScalar& word : words) word = hostile(-1, 2);
        std::memcpy(&params, words, sizeof params);
        params.star_count = below(10) - 1;
        light.x = hostile(-1, 1), light.y = hostile(-1, 1);
        FlarePrimitive one = {below(10) - 1, {}};
        for (int i = 0; i < 15; ++i) one.values[i] = i < 3 ? uniform(0, 1) : hostile(-2, 16);
        place(&one, 1, hostile(0, 1));
        buildStarTables(&light, round, &state);
        const miScalar X = hostile(-1, 1), Y = hostile(-1, 1);
        miColor drawn = draw(X, Y), star = {0, 0, 0, 0};
        drawStar(&star, &light, X, Y);
        for (const miScalar c : {drawn.r, drawn.g, drawn.b, star.r, star.g, star.b})
            ASSERT_TRUE(std::isfinite(c)) << "round " << round;
    }
}

}  // namespace
