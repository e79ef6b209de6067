// The dense medium: what it takes from a ray.

#include <cfloat>
#include <cmath>

#include "scripted/host.h"

extern "C" miBoolean zel_dense_vol(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class DenseVolume : public scripted::Renderer {
  protected:
    struct {
        miScalar density;
        miColor color;
        miInteger unused;
        miBoolean thin, very_thin;
        miScalar exponent;
    } params = {1, {0, 0.5f, 1, 9}, 7, 0, 0, 1};

    miColor through(double dist, miColor c = {1, 1, 1, 0.25f}) {
        state.dist = dist;
        EXPECT_TRUE(zel_dense_vol(&c, &state, &params));
        return c;
    }
};

TEST_F(DenseVolume, TakesAPartThatIsLinearInThePowerOfTheDistance) {
    EXPECT_THAT(through(0.5), IsColor(0.5f, 0.75f, 1, 0.25f));
    EXPECT_THAT(through(1, {0.75f, 8, 3, 1}), IsColor(0, 7.5f, 3, 1));
    params.exponent = 2;
    EXPECT_THAT(through(0.5), IsColor(0.75f, 0.875f, 1, 0.25f));
    params.exponent = 1, params.thin = 2, params.very_thin = 1;
    EXPECT_THAT(through(2), IsColor(0.8f, 0.9f, 1, 0.25f));
    params.thin = 0;
    EXPECT_THAT(through(2), IsColor(0.98f, 0.99f, 1, 0.25f));
    for (const double dist : {0.0, -3.0, std::nan("")})
        EXPECT_THAT(through(dist, {-1, 2, 3, 4}), IsColor(-1, 2, 3, 4, 0)) << dist;
}

TEST_F(DenseVolume, StaysWithinNumbers) {
    const float nan = std::nanf("");
    for (const float exponent : {1.0f, 50.0f, -50.0f, nan})
        for (const float density : {1.0f, FLT_MAX, -FLT_MAX, nan})
            for (const double dist : {1e-30, 5.0, 1e300}) {
                params = {density, {1, nan, 5, 0}, 0, 0, 0, exponent};
                const miColor c = through(dist);
                EXPECT_TRUE(c.r == 1 && c.g == 1);
                EXPECT_TRUE(std::isfinite(c.b) && c.b >= 0) << exponent << density << dist;
            }
}

}  // namespace
