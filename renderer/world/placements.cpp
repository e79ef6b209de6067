// Instances of objects and lights, from the leaves of the instance tree.

#include <algorithm>
#include <cmath>

#include "scene/messages.h"
#include "world/builder.h"
#include "world/render.h"

namespace orvane::world {
namespace {

miVector to_vector(const scene::Vec3& v) { return {v.x, v.y, v.z}; }

// Of a matrix to the world, beyond which rays do not reach; NaN is beyond.
bool is_within_reach(const Imath::M44f& m) {
    constexpr float kFarthest = 1e18f;
    return std::all_of(m.getValue(), m.getValue() + 16,
                       [](float x) { return std::abs(x) < kFarthest; });
}

}  // namespace

const Material* Placement::material(std::size_t triangle, miTag* tag) const {
    const auto& of_triangle = object->mesh->material;
    const std::int32_t index = triangle < of_triangle.size() ? of_triangle[triangle] : -1;
    if (index < 0 || materials.empty()) {
        *tag = inherited_tag;
        return inherited;
    }
    const std::size_t known = std::min(static_cast<std::size_t>(index), materials.size() - 1);
    *tag = material_tags[known];
    return materials[known];
}

// Gives the leaf its item, so that names lead to it; what it needs from other items comes later.
void Builder::add_instance(const Leaf& leaf) {
    if (render_aborted()) throw Stopped{};
    const std::string& element = leaf.source->element;
    Instance instance;
    instance.world_to_local = leaf.world_to_local;
    instance.moves = leaf.motion_world_to_local != leaf.world_to_local;
    try {
        instance.local_to_world = leaf.world_to_local.inverse(true);
        instance.motion_local_to_world = leaf.motion_world_to_local.inverse(true);
    } catch (const std::exception&) {
        throw error_at(leaf.source->place, Exit::Scene,
                       "the transform of instance \"" + *leaf.name + "\" has no inverse");
    }
    if (!is_within_reach(instance.local_to_world) ||
        !is_within_reach(instance.motion_local_to_world))
        throw error_at(leaf.source->place, Exit::Scene,
                       "the transform of instance \"" + *leaf.name +
                           "\" leads beyond 1e18, farther than rays reach");

    Instance& stored = world_.instances_.emplace_back(instance);
    stored.tag = world_.database_.add(miITEM_INSTANCE, &stored);
    instances_[*leaf.name].push_back(stored.tag);
    if (const auto light = scene_.lights.find(element); light != scene_.lights.end()) {
        world_.kept_.push_back(light->second);
        add_light(*light->second, stored);
    } else if (scene_.objects.contains(element)) {
        // An object's record is not part of the contract, its item only tells what it is.
        miTag& item = object_items_[element];
        if (item == 0) item = world_.database_.add<void>(miITEM_OBJECT, nullptr);
        stored.item = item;
        objects_.emplace_back(leaf, &stored);
    } else if (scene_.cameras.contains(element)) {
        cameras_.emplace(*leaf.name, leaf);
    } else {
        throw error_at(leaf.source->place, Exit::Scene,
                       "instance \"" + *leaf.name + "\" places \"" + element +
                           "\", which is no object, light, camera or instgroup");
    }
}

// Each light instance has a light item and shaders of its own: a light shader keeps what it
// computes from its placement in its instance.
void Builder::add_light(const scene::Light& source, Instance& instance) {
    Light& light = world_.lights_.emplace_back();
    light.source = &source;
    light.type = !source.direction ? miLIGHT_POINT
                 : source.origin   ? miLIGHT_SPOT
                                   : miLIGHT_DIRECTIONAL;
    if (source.origin) light.origin = to_vector(*source.origin);
    if (source.direction) light.direction = to_vector(*source.direction);
    light.spread = source.spread;
    instance.item = world_.database_.add(miITEM_LIGHT, &light);
    lights_.emplace_back(&light, instance.tag);
    if (source.visible && source.area != scene::Light::Area::None)
        message(Level::Warning, to_string(source.place) +
                                    ": warning: the area of a light is not rendered as geometry");
}

void Builder::add_light_shaders() {
    for (const auto& [light, instance] : lights_)
        light->shader = list(light->source->shader, Use::Light, instance);
}

void Builder::add_placements() {
    world_.placements_.reserve(objects_.size());
    for (const auto& [leaf, instance] : objects_) {
        if (render_aborted()) throw Stopped{};
        add_placement(leaf, *instance);
    }
}

void Builder::add_placement(const Leaf& leaf, const Instance& instance) {
    Placement placement;
    placement.instance = &instance;
    placement.object = scene_.objects.at(leaf.source->element);
    const scene::Object& object = *placement.object;
    placement.label = leaf.tag.value_or(object.tag);
    placement.face = object.face;
    placement.visible = leaf.visible.value_or(object.visible);
    placement.trace = leaf.trace.value_or(object.trace);
    placement.shadow = leaf.shadow.value_or(object.shadow);

    // A tagged object takes its materials from the instance, by label.
    static const scene::Instance kBare;
    const scene::Instance& dressed = leaf.dressed ? *leaf.dressed : kBare;
    const auto& names = object.tagged ? dressed.materials : object.materials;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const miTag tag =
            material(names[i], object.tagged ? dressed.place : object.material_places[i]);
        placement.material_tags.push_back(tag);
        placement.materials.push_back(world_.database_.get<Material>(tag, miITEM_MATERIAL));
    }
    if (leaf.dressed) {
        placement.inherited_tag = material(dressed.materials.front(), dressed.place);
        placement.inherited =
            world_.database_.get<Material>(placement.inherited_tag, miITEM_MATERIAL);
    }
    const auto& labels = object.mesh->material;
    if (object.tagged && !labels.empty() &&
        *std::max_element(labels.begin(), labels.end()) >=
            static_cast<std::int32_t>(dressed.materials.size()))
        message(Level::Warning, to_string(leaf.source->place) + ": warning: instance \"" +
                                    *leaf.name +
                                    "\" has fewer materials than its object has labels");
    world_.placements_.push_back(std::move(placement));
}

}  // namespace orvane::world
