// The panorama lens: where the pixels look.

#include <cmath>
#include <numbers>

#include "scripted/host.h"

extern "C" miBoolean Cylindric(miColor*, miState*, void*);

namespace {

class CylindricTest : public scripted::Renderer {
  protected:
    CylindricTest() {
        camera.focal = 2, camera.aperture = 6, camera.aspect = 1.5;
        camera.x_resolution = 641, camera.y_resolution = 101;  // halves of 320 and 50
        host.trace_reflection = [this](miColor*, miState* s, const miVector& d) {
            EXPECT_TRUE(!s->pri && s->pri_index == 0);
            dir = d;
            return answer;
        };
    }
    // The direction that a place of the frame looks along is as given, up to its length.
    void expect(miScalar x, miScalar y, miScalar fov, miVector along) {
        state.raster_x = x, state.raster_y = y;
        state.pri = this, state.pri_index = 5;
        miColor result = {};
        EXPECT_EQ(Cylindric(&result, &state, &fov), answer);
        EXPECT_LT(length(dir - normalized(along)), 1e-6) << fov << ' ' << x << ' ' << y;
    }
    miVector dir = {};
    miBoolean answer = miTRUE;
};

TEST_F(CylindricTest, TurnsAcrossAndRisesUpwards) {
    const float root = std::numbers::sqrt2_v<float>;
    for (const float fov : {0.0f, 360.0f}) expect(320, 50, fov, {0, 0, -1});
    expect(0, 50, 360, {0, 0, 1});
    expect(640, 50, 360, {0, 0, 1});
    expect(640, 50, 180, {1, 0, 0});
    expect(0, 50, 90, {-1, 0, -1});
    // Half of the view plane's height, 4, stands on the wall at 2, at any angle.
    expect(320, 100, 90, {0, 2, -2});
    expect(480, 0, 180, {root, -2, -root});
    // A single pixel looks straight ahead.
    camera.x_resolution = 1;
    expect(0.5f, 100, 90, {0, 1, -1});
    camera.y_resolution = 1;
    expect(0.5f, 0.5f, 90, {0, 0, -1});
}

TEST_F(CylindricTest, StartsAtTheCameraAndAnswersAsTheRay) {
    host.camera = scripted::translation(-1, -2, -3) *
                  scripted::rotation(0, -std::numbers::pi_v<float> / 2, 0);
    answer = miFALSE;
    expect(320, 50, 90, {-1, 0, 0});
    EXPECT_LT(length(state.point - miVector{1, 2, 3}), 1e-5);
}

}  // namespace
