// Camera and options of a render command, as the records that shaders read.

#include <algorithm>

#include "world/builder.h"

namespace orvane::world {
namespace {

miInteger shadow_mode(scene::Shadow shadow) {
    switch (shadow) {
        case scene::Shadow::Off:
            return miSHADOW_OFF;
        case scene::Shadow::On:
            return miSHADOW_ON;
        case scene::Shadow::Sort:
            return miSHADOW_SORT;
        case scene::Shadow::Segments:
            return miSHADOW_SEGMENTS;
    }
    return miSHADOW_ON;
}

}  // namespace

void Builder::set_options(const scene::RenderCommand& command, const Overrides& overrides) {
    const auto found = scene_.options.find(command.options);
    if (found == scene_.options.end())
        throw error_at(command.place, Exit::Scene,
                       "there are no options \"" + command.options + "\"");
    world_.scene_options_ = found->second;
    const scene::Options& source = *found->second;
    miOptions& options = world_.options_;
    options.trace = source.trace;
    options.scanline = source.scanline;
    options.shadow = shadow_mode(source.shadow);
    options.face = source.face;
    options.reflection_depth = source.trace_depth[0];
    options.refraction_depth = source.trace_depth[1];
    options.trace_depth = source.trace_depth[2];
    const auto samples =
        overrides.samples.value_or(std::array{source.samples_min, source.samples_max});
    options.samples_min = samples[0];
    options.samples_max = samples[1];
    options.contrast = {source.contrast.r, source.contrast.g, source.contrast.b, source.contrast.a};
    options.shutter = source.motion ? source.shutter : 0;
    options.gamma = source.gamma;
}

void Builder::set_camera(const scene::RenderCommand& command, const Overrides& overrides) {
    const auto leaf = cameras_.find(command.camera);
    if (leaf == cameras_.end())
        throw error_at(command.place, Exit::Scene,
                       "there is no camera instance \"" + command.camera + "\" in instgroup \"" +
                           command.root + "\"");
    world_.scene_camera_ = scene_.cameras.at(leaf->second.source->element);
    const scene::Camera& source = *world_.scene_camera_;
    world_.world_to_camera_ = leaf->second.world_to_local;
    world_.camera_to_world_ = leaf->second.world_to_local.inverse();

    miCamera& camera = world_.camera_;
    camera.focal = source.focal;
    camera.aperture = source.aperture;
    camera.aspect = source.aspect;
    camera.x_resolution = source.x_resolution;
    camera.y_resolution = source.y_resolution;
    if (overrides.resolution) {
        camera.x_resolution = (*overrides.resolution)[0];
        camera.y_resolution = (*overrides.resolution)[1];
    }
    camera.x_offset = source.x_offset;
    camera.y_offset = source.y_offset;
    camera.clip_near = source.clip_near;
    camera.clip_far = source.clip_far;
    camera.orthographic = source.orthographic;
    camera.frame = source.frame;
    camera.frame_time = source.frame_time;
    camera.instance = instances_.at(command.camera).front();
    world_.database_.get<Instance>(camera.instance, miITEM_INSTANCE)->item =
        world_.database_.add(miITEM_CAMERA, &camera);

    // The window is kept within the picture; one that misses it leaves no pixel to render.
    const std::array<int, 4> whole = {0, 0, camera.x_resolution - 1, camera.y_resolution - 1};
    const auto window = overrides.window ? *overrides.window : source.window.value_or(whole);
    camera.window[0] = std::max(window[0], 0);
    camera.window[1] = std::max(window[1], 0);
    camera.window[2] = std::min(window[2], whole[2]);
    camera.window[3] = std::min(window[3], whole[3]);
}

// Whole classes of shaders can be switched off in the options.
void Builder::set_camera_shaders() {
    const scene::Camera& source = *world_.scene_camera_;
    const scene::Options& options = *world_.scene_options_;
    miCamera& camera = world_.camera_;
    camera.environment = tag_of(list(source.environment, Use::Environment));
    if (options.volume) camera.volume = tag_of(list(source.volume, Use::Volume));
    if (options.lens) camera.lens = tag_of(list(source.lens, Use::Lens));
    const ListEntry* first = nullptr;
    for (const scene::Output& output : source.outputs) {
        const bool shade = options.output && !output.shader.empty();
        world_.output_shaders_.push_back(shade ? list(output.shader, Use::Output) : nullptr);
        if (!first) first = world_.output_shaders_.back();
    }
    camera.output = tag_of(first);
}

}  // namespace orvane::world
