// Builds a World from a scene: the state of the building, split over files by subject.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "world/world.h"

namespace orvane::world {

// A leaf of the instance tree: what is placed, with all that it inherits.
struct Leaf {
    const std::string* name = nullptr;  // of the instance, in the scene's table
    const scene::Instance* source = nullptr;
    Imath::M44f world_to_local, motion_world_to_local;
    const scene::Instance* dressed = nullptr;    // the instance whose materials hold, or null
    std::optional<bool> visible, trace, shadow;  // from instances; nothing = the object's own
    std::optional<std::uint32_t> tag;
    bool overridden = false;  // by an instance above: what is set stays
};

// The names that a table knows, for hints.
template <typename T>
std::vector<std::string> names_in(const scene::Table<T>& table) {
    std::vector<std::string> names;
    for (const auto& [name, unused] : table) names.push_back(name);
    return names;
}

// Walks the instance tree of a group. Throws Error (Exit::Scene) for names that lead nowhere,
// for groups that contain themselves, and for more than scene/limits.h allows; Stopped when the
// render is aborted.
std::vector<Leaf> flatten(const scene::Scene& scene, const scene::RenderCommand& command);

class Builder : public plugin::Resolver {
  public:
    Builder(World& world, const scene::Scene& scene, const plugin::Libraries& libraries,
            PictureCache& pictures, const Folders& folders)
        : world_(world),
          scene_(scene),
          libraries_(libraries),
          pictures_(pictures),
          folders_(folders) {}

    void build(const scene::RenderCommand& command, const Overrides& overrides);

    std::vector<miTag> items(scene::Base type, const std::string& name,
                             const scene::Place& place) override;
    miTag string(const std::string& text) override;
    std::pair<miTag, const scene::Declaration*> shader(const std::string& name,
                                                       const scene::Place& place) override;

  private:
    // camera.cpp
    void set_options(const scene::RenderCommand& command, const Overrides& overrides);
    void set_camera(const scene::RenderCommand& command, const Overrides& overrides);
    void set_camera_shaders();

    // placements.cpp
    void add_instance(const Leaf& leaf);
    void add_light(const scene::Light& source, Instance& instance);
    void add_light_shaders();
    void add_placements();
    void add_placement(const Leaf& leaf, const Instance& instance);

    // materials.cpp
    miTag material(const std::string& name, const scene::Place& place);
    miTag texture(const std::string& name, const scene::Place& place);
    std::filesystem::path find_picture(const scene::Texture& source) const;
    std::shared_ptr<const image::Image> picture(const scene::Texture& source);

    // functions.cpp
    miTag function(const scene::ShaderCall& call, Use use, miTag light_instance = 0,
                   const Function* shared = nullptr);
    miTag make_function(const scene::ShaderCall& call, Use use, miTag light_instance = 0,
                        const Function* shared = nullptr);
    bool has_image(const Function& function) const;
    miTag named(const std::string& name, const scene::Place& place, Use use,
                miTag light_instance = 0);
    miTag make_named(const std::string& name, const scene::Place& place, Use use,
                     miTag light_instance);
    ShaderClass& shader_class(const std::string& name, const scene::Place& place);
    [[noreturn]] void fail_undeclared(const std::string& name, const scene::Place& place) const;
    [[noreturn]] static void fail_too_deep(const scene::Place& place);
    void warn_outside(const std::string& name, const scene::Place& place);
    const ListEntry* list(const scene::ShaderList& calls, Use use, miTag light_instance = 0,
                          const Function* shared = nullptr);
    static miTag tag_of(const ListEntry* list) { return list ? list->tag : 0; }

    World& world_;
    const scene::Scene& scene_;
    const plugin::Libraries& libraries_;
    PictureCache& pictures_;
    const Folders& folders_;

    std::map<std::string, std::vector<miTag>> instances_;  // by name, one a path
    std::vector<std::pair<Light*, miTag>> lights_;         // with their instances
    std::vector<std::pair<Leaf, const Instance*>> objects_;
    std::map<std::string, Leaf> cameras_;  // by instance
    std::map<std::string, miTag> materials_, textures_, strings_, object_items_;
    std::map<std::pair<std::string, miTag>, miTag> named_;  // by name and light instance
    std::set<std::string> resolving_;                       // named shaders being made
    std::size_t depth_ = 0;                                 // shaders being made
    std::map<std::string, ShaderClass*> classes_;
};

}  // namespace orvane::world
