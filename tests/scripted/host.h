// A scripted renderer for tests of the plug-in: it implements every operation of the contract
// against one plain record, which a test sets up beforehand and inspects afterwards.
//
//     class LightTest : public scripted::Renderer {};
//
//     TEST_F(LightTest, ...) {
//         host.trace_shadow = [](miColor* passing, miState*) { ... return miTRUE; };
//         miColor c;
//         Orvane_Light(&c, &state, &params);
//         EXPECT_EQ(host.count("mi_trace_shadow"), 1);
//     }
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scripted/script.h"

namespace scripted {

// A fresh host for each test, with a render state for one thread to call a shader with. The test
// fails when memory, locks or pins are left behind.
class Renderer : public ::testing::Test {
  protected:
    Renderer();
    ~Renderer() override;
    void TearDown() override;

    Host host;
    miCamera camera = {};
    miOptions options = {};
    miFunction function = {};
    std::mutex global_lock;
    miState state = {};
};

// Matches a color, channel by channel.
inline auto IsColor(float r, float g, float b, float a, float tolerance = 1e-6f) {
    using testing::Field;
    using testing::FloatNear;
    return testing::AllOf(Field("r", &miColor::r, FloatNear(r, tolerance)),
                          Field("g", &miColor::g, FloatNear(g, tolerance)),
                          Field("b", &miColor::b, FloatNear(b, tolerance)),
                          Field("a", &miColor::a, FloatNear(a, tolerance)));
}
inline auto IsColor(const miColor& c, float tolerance = 2e-6f) {
    return IsColor(c.r, c.g, c.b, c.a, tolerance);
}

}  // namespace scripted
