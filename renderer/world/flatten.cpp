// The instance tree as a list of leaves in world space.

#include <algorithm>

#include "scene/limits.h"
#include "scene/messages.h"
#include "world/builder.h"
#include "world/render.h"

namespace orvane::world {
namespace {

Imath::M44f to_matrix(const scene::Matrix& m) {
    return Imath::M44f(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8], m[9], m[10], m[11],
                       m[12], m[13], m[14], m[15]);
}

// What is below a group.
struct Extent {
    std::uint64_t leaves = 0;
    std::size_t height = 0;  // groups in each other, itself included
};

// Measures each group once, however often it is placed. All that can be wrong with names shows
// here.
class Measure {
  public:
    explicit Measure(const scene::Scene& scene) : scene_(scene) {}

    const Extent& group(const std::string& name, const scene::Place& place) {
        const auto found = scene_.groups.find(name);
        if (found == scene_.groups.end())
            throw error_at(place, Exit::Scene, "there is no instgroup \"" + name + "\"");
        const auto [known, is_new] = known_.try_emplace(name);
        Extent& extent = known->second;
        if (!is_new && extent.height == 0) refuse_circle(name, place);
        if (open_.size() + std::max<std::size_t>(extent.height, 1) > scene::kDeepest)
            throw error_at(
                place, Exit::Scene,
                "instgroups are nested more than " + std::to_string(scene::kDeepest) + " deep");
        if (!is_new) return extent;
        open_.push_back(&known->first);
        Extent measured{0, 1};
        const scene::Group& members = *found->second;
        for (std::size_t i = 0; i < members.members.size(); ++i)
            add(measured, members.members[i], members.member_places[i]);
        open_.pop_back();
        return extent = measured;
    }

  private:
    [[noreturn]] void refuse_circle(const std::string& name, const scene::Place& place) const {
        std::string chain;
        for (const std::string* group : open_) chain += "\"" + *group + "\" > ";
        throw error_at(place, Exit::Scene,
                       "instgroup \"" + name + "\" contains itself: " + chain + "\"" + name + "\"");
    }

    void add(Extent& extent, const std::string& name, const scene::Place& place) {
        const auto found = scene_.instances.find(name);
        if (found == scene_.instances.end())
            throw error_at(place, Exit::Scene, "there is no instance \"" + name + "\"",
                           did_you_mean(name, names_in(scene_.instances)));
        const scene::Instance& instance = *found->second;
        if (instance.hide) return;
        Extent below{1, 0};
        if (scene_.groups.contains(instance.element))
            below = group(instance.element, instance.place);
        extent.height = std::max(extent.height, below.height + 1);
        // Beyond the limit the number no longer matters, and must not overflow.
        extent.leaves = std::min(extent.leaves + below.leaves, kUncounted);
    }

    static constexpr std::uint64_t kUncounted = std::uint64_t{1} << 62;
    const scene::Scene& scene_;
    std::map<std::string, Extent> known_;
    std::vector<const std::string*> open_;
};

// Follows each way to a leaf; groups without leaves are left out, as there may be many ways to
// them.
class Walk {
  public:
    Walk(const scene::Scene& scene, Measure& measure) : scene_(scene), measure_(measure) {}

    void group(const std::string& name, const Leaf& inherited) {
        for (const std::string& member : scene_.groups.at(name)->members) {
            const auto& [key, instance] = *scene_.instances.find(member);
            if (instance->hide) continue;
            if (render_aborted()) throw Stopped{};
            const Leaf leaf = placed(key, *instance, inherited);
            if (!scene_.groups.contains(instance->element))
                leaves.push_back(leaf);
            else if (measure_.group(instance->element, instance->place).leaves > 0)
                group(instance->element, leaf);
        }
    }

    std::vector<Leaf> leaves;

  private:
    // What an instance says goes over what it inherits, unless an override came from above.
    Leaf placed(const std::string& name, const scene::Instance& source, const Leaf& inherited) {
        Leaf leaf = inherited;
        leaf.name = &name;
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
        if (!source.materials.empty() && !(keep && leaf.dressed)) leaf.dressed = &source;
        return leaf;
    }

    const scene::Scene& scene_;
    Measure& measure_;
};

// What is large by nature is told before it takes its time.
void check_size(std::uint64_t leaves, const scene::RenderCommand& command) {
    constexpr std::uint64_t kMany = 1'000'000, kBytesEach = 800;
    const std::string placed = "instgroup \"" + command.root + "\" places ";
    if (leaves > scene::kMostInstances)
        throw error_at(
            command.place, Exit::Scene,
            placed + "more than " + std::to_string(scene::kMostInstances) + " instances");
    if (leaves > kMany)
        message(Level::Warning, to_string(command.place) + ": warning: " + placed +
                                    std::to_string(leaves) + " instances, which need some " +
                                    std::to_string(leaves * kBytesEach / 1'000'000'000 + 1) +
                                    " GB of memory");
}

}  // namespace

std::vector<Leaf> flatten(const scene::Scene& scene, const scene::RenderCommand& command) {
    const std::string &root = command.root, &camera = command.camera;
    if (!scene.groups.contains(root) && scene.groups.contains(camera))
        throw error_at(command.place, Exit::Scene, "there is no instgroup \"" + root + "\"",
                       "the group comes first: render \"" + camera + "\" \"" + root + "\" \"" +
                           command.options + "\"");
    Measure measure(scene);
    const std::uint64_t count = measure.group(root, command.place).leaves;
    check_size(count, command);
    Walk walk(scene, measure);
    walk.leaves.reserve(count);
    walk.group(root, Leaf{});
    return std::move(walk.leaves);
}

}  // namespace orvane::world
