// Looking for what a dark picture is short of.

#include "trace/advice.h"

#include <algorithm>

#include "scene/errors.h"
#include "trace/frame.h"

namespace orvane::trace {
namespace {

std::string warning(const scene::Place& place, const std::string& what) {
    return to_string(place) + ": warning: " + what;
}

bool is_light_list(const scene::Type& type) {
    return type.base == scene::Base::Light && type.array;
}

// The name of a shader's first list of lights, when all that it has are empty.
std::string empty_light_list(const world::Function& function) {
    std::string name;
    const std::vector<scene::Member>& members = function.shader->declaration->parameters;
    const std::vector<std::size_t> offsets = plugin::field_offsets(members);
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (!is_light_list(members[i].type)) continue;
        if (function.block.words[offsets[i] / 4 + 1] != 0) return "";
        if (name.empty()) name = members[i].name;
    }
    return name;
}

void add_materials(const Frame& frame, std::vector<std::string>* lines) {
    for (const world::Material& material : frame.world.materials()) {
        if (!material.was_black() || !material.surface) continue;
        const std::string list = empty_light_list(*material.surface->function);
        if (list.empty()) continue;
        lines->push_back(warning(material.place, "material \"" + material.name + "\" is black: \"" +
                                                     list + "\" of its shader names no lights"));
    }
}

void add_objects(const Frame& frame, std::vector<std::string>* lines) {
    for (const world::Placement& placement : frame.world.placements())
        if (placement.lacks_texture())
            lines->push_back(warning(placement.object->place,
                                     "this object has no texture coordinates where its "
                                     "material asks for them: a map has one color on it"));
}

// All corners of the boxes around the visible objects are behind the camera.
bool is_all_behind(const Frame& frame) {
    for (const world::Placement& placement : frame.world.placements()) {
        if (!placement.visible) continue;
        for (const scene::Vec3& p : placement.object->mesh->position) {
            const Imath::V3f seen = Imath::V3f(p.x, p.y, p.z) * placement.instance->local_to_world *
                                    frame.world.world_to_camera();
            if (seen.z < 0) return false;
        }
    }
    return true;
}

bool is_visible(const world::Placement& placement) {
    return placement.visible && !placement.object->mesh->triangle.empty();
}

constexpr const char* kTransforms =
    "the transform of an instance leads from the world to the camera or object, not back";

void add_view(const Frame& frame, std::vector<std::string>* lines) {
    const std::vector<world::Placement>& placements = frame.world.placements();
    const scene::Place& camera = frame.world.scene_camera().place;
    if (std::none_of(placements.begin(), placements.end(), is_visible))
        lines->push_back(warning(frame.world.place(),
                                 "nothing that is rendered is visible: objects are seen with "
                                 "\"visible on\""));
    else if (frame.findings.met_front())
        return;
    else if (frame.findings.met_back())
        lines->push_back(warning(camera, std::string("the camera sees surfaces from behind only, "
                                                     "as from within an object: ") +
                                             kTransforms));
    else if (is_all_behind(frame))
        lines->push_back(
            warning(camera, std::string("all objects are behind the camera: ") + kTransforms));
}

}  // namespace

std::vector<std::string> advice(const Frame& frame, bool is_black) {
    std::vector<std::string> lines;
    if (!frame.world.misses_instances()) add_materials(frame, &lines);
    add_objects(frame, &lines);
    if (frame.findings.misses_tags())
        lines.push_back(warning(frame.world.scene_camera().place,
                                "a lens of this camera tells objects by their tags, and no object "
                                "that it sees has one (\"tag 1\" in the object or its instance)"));
    if (is_black) add_view(frame, &lines);
    return lines;
}

}  // namespace orvane::trace
