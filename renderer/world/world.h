// The world of one frame: the scene resolved into items, placements, camera and options, with
// all shader instances and their parameter blocks.
#pragma once

#include <Imath/ImathMatrix.h>

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugin/library.h"
#include "scene/records.h"
#include "world/database.h"

namespace orvane::world {

// What the command line sets over the scene.
struct Overrides {
    std::optional<std::array<int, 2>> resolution;
    std::optional<std::array<int, 2>> samples;
    std::optional<std::array<int, 4>> window;
};

// An object in the world: an instance with the flags and materials that hold for it.
struct Placement {
    const Instance* instance = nullptr;
    std::shared_ptr<const scene::Object> object;
    std::vector<const Material*> materials;  // tagged: by label; else by Object::materials
    const Material* inherited = nullptr;     // for polygons without a material; may be null
    std::vector<miTag> material_tags;
    miTag inherited_tag = 0;
    std::uint32_t label = 0;
    char face = 'a';
    bool visible = false, trace = false, shadow = false;

    // The material of a triangle of the mesh; null when it has none.
    const Material* material(std::size_t triangle, miTag* tag) const;
};

// Pictures that were read, kept from frame to frame.
using PictureCache =
    std::map<std::pair<std::filesystem::path, float>, std::shared_ptr<const image::Image>>;

// Immutable once built, but for the shaders' user pointers.
class World {
  public:
    // Resolves what a render command names. Textures are looked for beside the text that names
    // them, then in the folders of texture_path. Throws Error at the place of the fault:
    // Exit::Scene for names that lead nowhere and groups that contain themselves, Exit::Shader
    // for shaders, Exit::Input for pictures.
    World(const scene::Scene& scene, const scene::RenderCommand& command,
          const plugin::Libraries& libraries, PictureCache& pictures,
          const std::vector<std::filesystem::path>& texture_path, const Overrides& overrides);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const Database& database() const { return database_; }
    const std::vector<Placement>& placements() const { return placements_; }
    const miCamera& camera() const { return camera_; }
    miOptions& options() { return options_; }
    const miOptions& options() const { return options_; }
    const scene::Camera& scene_camera() const { return *scene_camera_; }
    const scene::Options& scene_options() const { return *scene_options_; }
    const Imath::M44f& world_to_camera() const { return world_to_camera_; }
    const Imath::M44f& camera_to_world() const { return camera_to_world_; }
    std::vector<Function*> functions();  // in the order of initialisation
    // The output shaders of scene_camera().outputs, in the same order; null for files.
    const std::vector<const ListEntry*>& output_shaders() const { return output_shaders_; }

  private:
    friend class Builder;

    Database database_;
    std::vector<Placement> placements_;
    miCamera camera_{};
    miOptions options_{};
    std::shared_ptr<const scene::Camera> scene_camera_;
    std::shared_ptr<const scene::Options> scene_options_;
    Imath::M44f world_to_camera_, camera_to_world_;
    std::vector<const ListEntry*> output_shaders_;

    // Stable addresses: items are handed out as pointers.
    std::deque<ShaderClass> shader_classes_;
    std::deque<Function> functions_;
    std::deque<ListEntry> lists_;
    std::deque<Texture> textures_;
    std::deque<Light> lights_;
    std::deque<Material> materials_;
    std::deque<Instance> instances_;
    std::deque<std::string> strings_;
    std::vector<std::shared_ptr<const void>> kept_;  // records of the scene that items point to
};

}  // namespace orvane::world
