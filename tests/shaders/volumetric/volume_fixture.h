// What the tests of Orvane_Volume share: its functions, and an instance in a scripted renderer to
// which lights are added one by one.
#pragma once

#include <deque>

#include "scripted/host.h"
#include "volumetric/light_block.h"
#include "volumetric/light_set.h"

extern "C" {
int Orvane_Volume_version();
void Orvane_Volume_init(miState*, void*, miBoolean*);
void Orvane_Volume_exit(miState*, void*);
miBoolean Orvane_Volume(miColor*, miState*, Orvane_Volume_params*);
}

// The block of a volume with room for five lights.
struct VolumeBlock : Orvane_Volume_params {
    miTag behind[5] = {};
};

class VolumeTest : public scripted::Renderer {
  protected:
    VolumeTest() {
        params.i_light = (sizeof(Orvane_Volume_params) - offsetof(Orvane_Volume_params, light)) / 4;
        params.step_length = 0.5f, params.max_length = 1000;
    }
    void TearDown() override {
        exit();
        Renderer::TearDown();
    }

    // White lights of density 1 with maps of 4 x 4 texels. Spot lights have a cone of 45 degrees.
    Orvane_Light_params& add(scripted::Light light) {
        Orvane_Light_params& block = blocks.emplace_back();
        block.color = {1, 1, 1, 1};
        block.intensity = block.volume_density = block.volume_decay = block.slide_scale = 1;
        block.map_resolution = 4;
        light.params = &block;
        params.behind[params.n_light++] = host.add_light(light);
        return block;
    }
    Orvane_Light_params& add_point(miVector origin) { return add({.origin = origin}); }
    Orvane_Light_params& add_spot(miVector origin) {
        const miVector down = {0, -7, 0};
        return add({miLIGHT_SPOT, origin, down, 0.70710678f, nullptr, "Orvane_Light", nullptr});
    }

    void init() { Orvane_Volume_init(&state, &params, nullptr); }
    void exit() { Orvane_Volume_exit(&state, &params); }
    VolumeShared& shared() { return *static_cast<VolumeShared*>(state.shader->user); }

    // The first light of a new instance, with its maps.
    const VolumeLight& set_up() {
        exit();
        init();
        qv_SetupLights(&shared(), &state, &params);
        shared().setup_done = 1;
        return shared().lights[0];
    }

    // The picture that a new instance makes of a ray from the origin; dist 0 is infinite.
    miColor see(double dist, miColor behind = {0, 0, 0, 0}, miVector dir = {0, 0, -1}) {
        exit();
        init();
        state.dist = dist, state.dir = dir;
        EXPECT_TRUE(Orvane_Volume(&behind, &state, &params));
        return behind;
    }

    // Lets depth rays end where distance says, 0 being nowhere, and pass through the volume.
    void trace(std::function<double(const miVector& org, const miVector& dir)> distance) {
        host.trace_reflection = [this, distance](miColor* c, miState* from, const miVector& dir) {
            miState ray = *from;
            ray.type = miRAY_REFLECT;
            ray.dist = distance(from->point, dir);
            return Orvane_Volume(c, &ray, &params);
        };
    }

    VolumeBlock params = {};
    std::deque<Orvane_Light_params> blocks;
};
