// The fixture of tests against the scripted renderer.

#include "scripted/host.h"

namespace scripted {

Renderer::Renderer() {
    set_current(&host);
    camera.focal = camera.aperture = camera.aspect = 1;
    camera.x_resolution = camera.y_resolution = 100;
    options.trace = miTRUE;
    options.shadow = miSHADOW_ON;
    options.reflection_depth = options.refraction_depth = options.trace_depth = 8;
    state.camera = &camera;
    state.options = &options;
    state.global_lock = &global_lock;
    state.shader = &function;
    state.dir = {0, 0, -1};
    state.normal = state.normal_geom = {0, 0, 1};
    state.dot_nd = -1;
    state.dist = 1;
    state.point = {0, 0, -1};
}

Renderer::~Renderer() { set_current(nullptr); }

void Renderer::TearDown() {
    for (const auto& [p, allocation] : host.allocations)
        ADD_FAILURE() << "not released: " << allocation.size << " bytes of " << allocation.file;
    EXPECT_TRUE(host.locks.empty()) << "locks not deleted: " << host.locks.size();
    for (const auto& [tag, pins] : host.pinned) EXPECT_EQ(pins, 0) << "still pinned: " << tag;
}

}  // namespace scripted
