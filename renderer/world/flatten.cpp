// The instance tree as a list of leaves in world space.

#include <algorithm>

#include "scene/messages.h"
#include "world/builder.h"

namespace orvane::world {
namespace {

Imath::M44f to_matrix(const scene::Matrix& m) {
    return Imath::M44f(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11],
                       m[12], m[13], m[14], m[15]);
}

class Walk {
  public:
    explicit Walk(const scene::Scene& scene) : scene_(scene) {}

    void group(const std::string& name, const scene::Place& place, const Leaf& inherited) {
        const auto found = scene_.groups.find(name);
        if (found == scene_.groups.end())
            throw error_at(place, Exit::Scene, "there is no instgroup \"" + name + "\"");
        enter(name, place);
        const scene::Group& group = *found->second;
        for (std::size_t i = 0; i < group.members.size(); ++i)
            member(group.members[i], group.member_places[i], inherited);
        open_.pop_back();
    }

    std::vector<Leaf> leaves;

  private:
    void enter(const std::string& name, const scene::Place& place) {
        if (std::find(open_.begin(), open_.end(), name) != open_.end()) {
            std::string chain;
            for (const std::string& group : open_) chain += "\"" + group + "\" > ";
            throw error_at(
                place, Exit::Scene,
                "instgroup \"" + name + "\" contains itself: " + chain + "\"" + name + "\"");
        }
        open_.push_back(name);
    }

    void member(const std::string& name, const scene::Place& place, const Leaf& inherited) {
        const auto found = scene_.instances.find(name);
        if (found == scene_.instances.end()) {
            throw error_at(place, Exit::Scene, "there is no instance \"" + name + "\"",
                           did_you_mean(name, names_in(scene_.instances)));
        }
        if (found->second->hide) return;
        const Leaf leaf = placed(name, *found->second, inherited);
        if (scene_.groups.contains(leaf.source->element))
            group(leaf.source->element, leaf.source->place, leaf);
        else
            leaves.push_back(leaf);
    }

    // What an instance says goes over what it inherits, unless an override came from above.
    Leaf placed(const std::string& name, const scene::Instance& source, const Leaf& inherited) {
        Leaf leaf = inherited;
        leaf.name = name;
        leaf.source = &source;
        const Imath::M44f local = to_matrix(source.transform);
        leaf.world_to_local = inherited.world_to_local * local;
        leaf.motion_world_to_local =
            inherited.motion_world_to_local *
            (source.motion_transform ? to_matrix(*source.motion_transform) : local);
        const bool keep = inherited.overridden;
        leaf.overridden = keep || source.override_flags;
        const auto inherit = [keep](auto& value, const auto& own) {
            if (own && !(keep && value)) value = own;
        };
        inherit(leaf.visible, source.visible);
        inherit(leaf.trace, source.trace);
        inherit(leaf.shadow, source.shadow);
        inherit(leaf.tag, source.tag);
        if (!source.materials.empty() && !(keep && !leaf.materials.empty())) {
            leaf.materials = source.materials;
            leaf.materials_place = source.place;
        }
        return leaf;
    }

    const scene::Scene& scene_;
    std::vector<std::string> open_;
};

}  // namespace

std::vector<Leaf> flatten(const scene::Scene& scene, const scene::RenderCommand& command) {
    const std::string &root = command.root, &camera = command.camera;
    if (!scene.groups.contains(root) && scene.groups.contains(camera))
        throw error_at(command.place, Exit::Scene, "there is no instgroup \"" + root + "\"",
                       "the group comes first: render \"" + camera + "\" \"" + root + "\" \"" +
                           command.options + "\"");
    Walk walk(scene);
    walk.group(root, command.place, Leaf{});
    return std::move(walk.leaves);
}

}  // namespace orvane::world
