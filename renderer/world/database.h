// The database: every item that a shader can hold a tag of.
#pragma once

#include <Imath/ImathMatrix.h>

#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/host.h"
#include "image/image.h"
#include "plugin/block.h"
#include "plugin/library.h"
#include "scene/records.h"

namespace orvane::world {

// A declared shader with its entry points, shared by all its instances.
struct ShaderClass {
    std::shared_ptr<const scene::Declaration> declaration;
    plugin::EntryPoints entry;
    miTag tag = 0;
    bool initialised = false;
    bool wants_instances = false;  // asked for instance-level init and exit
};

// What a shader is used as.
enum class Use { Parameter, Texture, Light, Surface, Shadow, Environment, Volume, Lens, Output };

// When an instance of a shader is initialised: each stage finds what it asks for initialised.
enum class Stage { Texture, Light, Material, Medium, Lens, Output };

Stage stage_of(Use use);

// One instance of a shader.
struct Function {
    miFunction record{};
    ShaderClass* shader = nullptr;
    plugin::Block block;
    std::vector<unsigned char> connected;
    std::vector<const Function*> sources;  // of block.connected, in the same order
    miTag tag = 0;
    miTag light_instance = 0;  // of a light's shader
    Stage stage = Stage::Texture;
    bool has_image = false;  // a parameter of it is a picture
    scene::Place place;      // of the call in the scene
};

// An entry of a shader list; the contract's record comes first, so that the item is the record.
struct ListEntry {
    miShaderList record{};
    miTag tag = 0;
    const Function* function = nullptr;
    const ListEntry* next = nullptr;
};

struct Texture {
    std::shared_ptr<const image::Image> image;  // or
    const ListEntry* shader = nullptr;
};

struct Light {
    miLightType type = miLIGHT_POINT;
    miVector origin{}, direction{};  // in the light's own space
    miScalar spread = 0;
    const scene::Light* source = nullptr;
    const ListEntry* shader = nullptr;
};

struct Material {
    std::string name;
    scene::Place place;
    bool opaque = false;
    miTag shader = 0, shadow = 0, volume = 0, environment = 0;
    const ListEntry* surface = nullptr;
    const ListEntry* shadow_list = nullptr;

    // Blocks shadow rays fully, without asking a shader.
    bool blocks() const { return opaque || shadow_list == nullptr; }

    // What a ray has seen of it; all threads tell it.
    void note(const miColor& seen) const {
        if (is_lit_.load(std::memory_order_relaxed)) return;
        if (seen.r != 0 || seen.g != 0 || seen.b != 0)
            is_lit_.store(true, std::memory_order_relaxed);
        else if (met_.load(std::memory_order_relaxed) < kEnough)
            met_.fetch_add(1, std::memory_order_relaxed);
    }
    // Black wherever so many rays have met it that it is so by nature.
    bool was_black() const { return !is_lit_ && met_ >= kEnough; }

  private:
    static constexpr int kEnough = 64;
    mutable std::atomic<int> met_ = 0;
    mutable std::atomic<bool> is_lit_ = false;
};

struct Instance {
    miTag item = 0;
    miTag tag = 0;
    Imath::M44f local_to_world, world_to_local;
    Imath::M44f motion_local_to_world;  // at the end of the shutter interval
    bool moves = false;
};

// Items by tag. Tags are dense from 1, in the order of making.
class Database {
  public:
    template <typename T>
    miTag add(miItem type, T* record) {
        items_.push_back({type, record});
        return static_cast<miTag>(items_.size());
    }

    int type(miTag tag) const { return known(tag) ? items_[tag - 1].type : miITEM_NONE; }
    void* record(miTag tag) const { return known(tag) ? items_[tag - 1].record : nullptr; }

    // The item's record when it is of this type, else null.
    template <typename T>
    T* get(miTag tag, miItem type) const {
        return known(tag) && items_[tag - 1].type == type ? static_cast<T*>(items_[tag - 1].record)
                                                          : nullptr;
    }

  private:
    struct Item {
        miItem type;
        void* record;
    };
    bool known(miTag tag) const { return tag != 0 && tag <= items_.size(); }

    std::vector<Item> items_;
};

}  // namespace orvane::world
