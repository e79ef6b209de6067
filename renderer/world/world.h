// The world of one frame: the scene resolved into items, placements, camera and options, with
// all shader instances and their parameter blocks.
#pragma once

#include <Imath/ImathMatrix.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plugin/library.h"
#include "scene/fence.h"
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

    // A shader has asked for texture coordinates that the mesh does not have. All threads tell it.
    void note_missing_texture() const {
        std::atomic_ref(lacks_texture_).store(true, std::memory_order_relaxed);
    }
    bool lacks_texture() const { return lacks_texture_; }

  private:
    mutable bool lacks_texture_ = false;
};

// Where files are looked for that a scene names, in order, as far as the fence lets it.
struct Folders {
    std::vector<std::filesystem::path> textures;  // after that of the text that names them
    std::vector<std::filesystem::path> includes;  // with the declarations of shaders
    scene::Fence fence;
};

// Pictures that were read, kept from frame to frame.
using PictureCache =
    std::map<std::pair<std::filesystem::path, float>, std::shared_ptr<const image::Image>>;

// Immutable once built, but for the shaders' user pointers.
class World {
  public:
    // Resolves what a render command names. Throws Error at the place of the fault:
    // Exit::Scene for names that lead nowhere and groups that contain themselves, Exit::Shader
    // for shaders, Exit::Input for pictures.
    World(const scene::Scene& scene, const scene::RenderCommand& command,
          const plugin::Libraries& libraries, PictureCache& pictures, const Folders& folders,
          const Overrides& overrides);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const Database& database() const { return database_; }
    const std::vector<Placement>& placements() const { return placements_; }
    const std::deque<Material>& materials() const { return materials_; }
    const scene::Place& place() const { return place_; }  // of the render command
    // A parameter names an instance that is not in the group, which was told.
    bool misses_instances() const { return misses_instances_; }
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

    scene::Place place_;
    bool misses_instances_ = false;
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
