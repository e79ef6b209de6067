// The flame: where it burns, how strongly, and what it lets through.

#include <cmath>
#include <utility>

#include "scripted/host.h"

extern "C" miBoolean Hot_Stuff(miColor*, miState*, void*);

namespace {

using scripted::IsColor;

class Flame : public scripted::Renderer {
  protected:
    Flame() {
        host.trace_transparent = [this](miColor* color, miState*, auto&) {
            *color = behind;
            return miTRUE;
        };
        host.noise = [this](const miVector& p) {
            looked_up = p;
            return noise;
        };
        host.object = scripted::translation(0, 10, 0);
    }
    miColor burn(double y = 0) {
        state.point = {1, static_cast<miScalar>(y) - 10, 2};
        miColor c = {9, 9, 9, 9};
        EXPECT_TRUE(Hot_Stuff(&c, &state, &params));
        return c;
    }
    struct {
        miScalar scale = 2, stretch = 0.25f, height = 8, drift = 3, rise = 5;
        miInteger octaves = 1;
        miScalar intensity = 1;
        miColor color1 = {0.1f, 0, 0, 0}, color2 = {0.2f, 0, 0, 0}, color3 = {0.3f, 0.5f, 0, 0},
                color4 = {0.4f, 0.5f, -1, 0};
    } params;
    miColor behind = {0.25f, 0.25f, 0.25f, 0};
    miVector looked_up = {};
    miScalar noise = 1;  // of which a single octave makes 0: the full flame
};

// The scripted spline is of straight lines: 0, color1 ... color4, color4 at 0, 0.2 ... 0.8, 1.
TEST_F(Flame, RunsThroughItsColorsAndDiesAwayWithHeight) {
    EXPECT_THAT(burn(), IsColor(0.65f, 0.75f, 0, 1));
    EXPECT_THAT(burn(0.5 - std::log(0.6)), IsColor(0.55f, 0.75f, 0.25f, 0.6f));
    EXPECT_THAT(burn(0.5 - std::log(0.4)), IsColor(0.45f, 0.25f, 0.25f, 0.4f));
    EXPECT_THAT(burn(0.5 - std::log(0.1)), IsColor(0.3f, 0.25f, 0.25f, 0.1f));
    params.height = 4, behind.a = 0.25f;
    noise = 0.5f;  // bias(0.2, 1/2) = 0.2
    EXPECT_THAT(burn(0.25 - std::log(0.5) / 2), IsColor(0.45f, 0.25f, 0.25f, 0.65f));
    params.intensity = 0;
    EXPECT_THAT(burn(0.25 - std::log(0.5) / 2), IsColor(0.25f, 0.25f, 0.25f, 0.65f));
}

TEST_F(Flame, MovesItsNoiseWithTime) {
    for (const miScalar time : {0.0f, 2.0f}) {
        camera.frame_time = time;
        burn(3);
        EXPECT_EQ(looked_up.x, 2);
        EXPECT_EQ(looked_up.y, 4.5f - 5 * time);
        EXPECT_EQ(looked_up.z, 4 + 3 * time);
    }
}

TEST_F(Flame, ShowsWhatLiesBehindBelowItsBaseAndLetsLightPass) {
    behind = {-5, 3, 0.5f, 4};
    for (const double y : {-1e-5, -3.0, std::nan("")})
        EXPECT_THAT(burn(y), IsColor(-5, 3, 0.5f, 4, 0)) << y;
    EXPECT_THAT(burn(100), IsColor(0, 1, 0.5f, 1));
    host.trace_transparent = nullptr;
    EXPECT_THAT(burn(-1), IsColor(0, 0, 0, 0, 0));
    for (const miInteger type : {miRAY_LIGHT, miRAY_SHADOW}) {
        state.type = type;
        EXPECT_THAT(burn(), IsColor(9, 9, 9, 9, 0));
    }
}

TEST_F(Flame, StaysWithinNumbers) {
    params.height = 0;
    EXPECT_THAT(burn(0), IsColor(0.65f, 0.75f, 0, 1));
    EXPECT_THAT(burn(1), IsColor(0.25f, 0.25f, 0.25f, 0));
    // The sum of two octaves leaves 0..1, to -1/4 and 5/4, where noise is 1 or 0 throughout.
    params.octaves = 2, params.height = 8;
    EXPECT_THAT(burn(), IsColor(0.65f, 0.75f, 0, 1));
    noise = 0, behind.a = 1;
    EXPECT_THAT(burn(0.5), IsColor(0.25f, 0.25f, 0.25f, 2 - std::pow(1.25f, 2.3219281f), 1e-5f));
    for (const float x : {0.0f, -1e30f, 1e30f, 1e-30f, NAN})
        for (miScalar* p : {&params.scale, &params.stretch, &params.height, &params.drift,
                            &params.rise, &params.intensity, &params.color4.b}) {
            const miScalar before = std::exchange(*p, x);
            for (const double y : {0.0, 2.0}) {
                const auto [r, g, b, a] = burn(y);
                EXPECT_TRUE(r >= 0 && g >= 0 && b >= 0 && a >= 0) << x << ' ' << y;
                EXPECT_TRUE(r <= 1 && g <= 1 && b <= 1 && a <= 1) << x << ' ' << y;
            }
            *p = before;
        }
}

}  // namespace
