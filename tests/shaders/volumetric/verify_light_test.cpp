// Which lights are recognised, and where they are said to be.

#include "volumetric/verify_light.h"

#include <gmock/gmock.h>

#include "scripted/host.h"

namespace {

class VerifyLightTest : public scripted::Renderer {
  protected:
    miBoolean verify(miTag instance) {
        return qv_VerifyLight(&state, instance, &origin, &direction, &type, &params);
    }

    miVector origin = {}, direction = {};
    int type = -1;
    Orvane_Light_params block = {}, *params = nullptr;
};

TEST_F(VerifyLightTest, TakesOrvaneLightsAlone) {
    EXPECT_TRUE(verify(host.add_light({.params = &block})));
    EXPECT_EQ(params, &block);
    EXPECT_FALSE(verify(host.add_light({.shader = "Orvane_Light2", .params = &block})));
    EXPECT_FALSE(verify(host.add_light({.shader = "Orvane", .params = &block})));
    EXPECT_FALSE(verify(host.add({miITEM_LIGHT, nullptr, {}})));
    EXPECT_FALSE(verify(host.add({miITEM_INSTANCE, nullptr, {}})));
    const miTag light = host.add_light({.params = &block});
    host.items[light].answers.erase(miQ_INST_LOCAL_TO_GLOBAL);
    EXPECT_FALSE(verify(light));
}

TEST_F(VerifyLightTest, TellsPlacesInInternalSpace) {
    const scripted::Matrix placed = scripted::translation(1, 2, 3);
    host.world = scripted::translation(10, 0, 0);  // from internal space
    EXPECT_TRUE(verify(host.add_light(
        {.type = miLIGHT_SPOT, .origin = {1, 0, 0}, .to_world = &placed, .params = &block})));
    EXPECT_EQ(type, miLIGHT_SPOT);
    EXPECT_EQ(origin.x, 2 - 10);
    EXPECT_EQ(origin.z, 3);
    EXPECT_EQ(direction.z, -1);  // none was given
    EXPECT_TRUE(verify(host.add_light({.direction = {0, 3, 0}, .params = &block})));
    EXPECT_EQ(direction.y, 3);  // not normalised
    EXPECT_TRUE(verify(host.add_light({.params = &block})));
    EXPECT_EQ(direction.z, 0);  // a point light has none
}

}  // namespace
