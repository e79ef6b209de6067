// Building a world in the order in which names must be known.

#include "world/world.h"

#include <algorithm>

#include "world/builder.h"

namespace orvane::world {

void Builder::build(const scene::RenderCommand& command, const Overrides& overrides) {
    world_.place_ = command.place;
    set_options(command, overrides);
    for (const Leaf& leaf : flatten(scene_, command)) add_instance(leaf);
    set_camera(command, overrides);
    add_placements();
    add_light_shaders();
    set_camera_shaders();
}

World::World(const scene::Scene& scene, const scene::RenderCommand& command,
             const plugin::Libraries& libraries, PictureCache& pictures, const Folders& folders,
             const Overrides& overrides) {
    Builder(*this, scene, libraries, pictures, folders).build(command, overrides);
}

World::~World() = default;

std::vector<Function*> World::functions() {
    std::vector<Function*> sorted;
    for (Function& function : functions_) sorted.push_back(&function);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Function* a, const Function* b) { return a->stage < b->stage; });
    return sorted;
}

}  // namespace orvane::world
