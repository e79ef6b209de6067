// A scripted renderer with a random scene, and a render state in it.
#pragma once

#include <dlfcn.h>

#include <deque>
#include <string>

#include "blocks.h"
#include "record.h"
#include "scripted/script.h"
#include "toon/contour.h"

// A plug-in, and its functions by name.
class Plugin {
  public:
    explicit Plugin(const std::string& path);
    template <typename Function>
    Function* find(const std::string& name) const {
        return reinterpret_cast<Function*>(dlsym(library_, name.c_str()));
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
    void* library_;
};

class Stage {
  public:
    // light is the declaration of the lights' shader.
    Stage(const Plugin& plugin, const Shader& light, Random* random);
    ~Stage() { scripted::set_current(nullptr); }
    Stage(const Stage&) = delete;

    // Another ray.
    void begin_ray();

    // The picture, the state but for its addresses, and what the renderer was asked.
    void record(Record* to) const;

    scripted::Host host;
    miCamera camera = {};
    miOptions options = {};
    miFunction function = {};
    miState state;
    Tags tags;
    std::function<void(miState*)> depth_ray;  // called for reflections in place of a hit

  private:
    void set_hooks();
    void add_lights(const Shader& light);
    void add_preset();

    miBoolean see(miColor* color);
    miBoolean hit(miColor* color, miState* from);

    const Plugin& plugin_;
    Random& random_;
    std::mutex lock_;
    std::deque<std::vector<miUint>> light_blocks_;
    scripted::Image picture_, preset_;
    miShaderList lenses_ = {};
    miState parents_[2];
    miColor connected_ = {};
    int checks_ = 0;
};
