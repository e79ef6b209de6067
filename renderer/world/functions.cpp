// Shader instances: from a call in the scene to a function with its parameter block.

#include "world/builder.h"

namespace orvane::world {

ShaderClass& Builder::shader_class(const std::string& name, const scene::Place& place) {
    if (const auto known = classes_.find(name); known != classes_.end()) return *known->second;
    const auto found = scene_.declarations.find(name);
    if (found == scene_.declarations.end())
        throw error_at(place, Exit::Shader, "shader \"" + name + "\" is not declared",
                       did_you_mean(name, names_in(scene_.declarations)));
    ShaderClass made{found->second, libraries_.find(name)};
    if (!made.entry.shade)
        throw error_at(place, Exit::Shader,
                       "shader \"" + name + "\" is declared, but no linked library has it");
    if (made.entry.version != made.declaration->version)
        throw error_at(place, Exit::Shader,
                       "shader \"" + name + "\" is declared with version " +
                           std::to_string(made.declaration->version) +
                           ", its library has version " + std::to_string(made.entry.version));
    ShaderClass& stored = world_.shader_classes_.emplace_back(std::move(made));
    stored.tag = world_.database_.add(miITEM_DECLARATION, &stored);
    world_.kept_.push_back(stored.declaration);
    return *(classes_[name] = &stored);
}

miTag Builder::function(const scene::ShaderCall& call, Stage stage, miTag light_instance,
                        const Function* shared) {
    if (call.by_name) return named(call.shader, call.place, stage, light_instance);
    ShaderClass& shader = shader_class(call.shader, call.place);

    // The block is made first: it may make functions that must be initialised before this one.
    const bool share = shared && call.no_list && shared->shader->declaration == shader.declaration;
    plugin::Block block = share ? shared->block : make_block(*shader.declaration, call, *this);

    Function& made = world_.functions_.emplace_back();
    made.shader = &shader;
    made.block = std::move(block);
    made.stage = stage;
    made.light_instance = light_instance;
    made.tag = world_.database_.add(miITEM_FUNCTION, &made);
    made.record.declaration = shader.tag;
    made.record.identity = reinterpret_cast<const void*>(shader.entry.shade);
    made.record.parameters = made.block.words.data();
    made.record.parameter_size = static_cast<miInteger>(made.block.words.size() * 4);
    if (!made.block.connected.empty()) {
        made.connected.resize(made.block.words.size());
        made.record.connected = made.connected.data();
    }
    for (const plugin::ConnectedField& field : made.block.connected) {
        made.connected[field.offset / 4] = 1;
        made.sources.push_back(world_.database_.get<Function>(field.shader, miITEM_FUNCTION));
    }
    return made.tag;
}

// A named shader is one instance, but for the shaders of lights: each light instance has its
// own, because a light shader keeps what it knows of its light in its instance.
miTag Builder::named(const std::string& name, const scene::Place& place, Stage stage,
                     miTag light_instance) {
    const std::pair key(name, light_instance);
    if (const auto known = named_.find(key); known != named_.end()) return known->second;
    const auto found = scene_.shaders.find(name);
    if (found == scene_.shaders.end() || found->second->empty())
        throw error_at(place, Exit::Shader, "there is no shader named \"" + name + "\"",
                       did_you_mean(name, names_in(scene_.shaders)));
    if (!resolving_.insert(name).second)
        throw error_at(place, Exit::Shader, "shader \"" + name + "\" is connected to itself");
    const miTag tag = function(found->second->back(), stage, light_instance);
    resolving_.erase(name);
    return named_[key] = tag;
}

const ListEntry* Builder::list(const scene::ShaderList& calls, Stage stage, miTag light_instance,
                               const Function* shared) {
    const ListEntry* next = nullptr;
    // A reference to a named list stands for all its shaders.
    scene::ShaderList flat;
    for (const scene::ShaderCall& call : calls) {
        const auto found = call.by_name ? scene_.shaders.find(call.shader) : scene_.shaders.end();
        if (found != scene_.shaders.end() && found->second->size() > 1)
            flat.insert(flat.end(), found->second->begin(), found->second->end());
        else
            flat.push_back(call);
    }
    std::vector<miTag> functions;
    for (const scene::ShaderCall& call : flat)
        functions.push_back(function(call, stage, light_instance, shared));
    for (auto tag = functions.rbegin(); tag != functions.rend(); ++tag) {
        ListEntry& entry = world_.lists_.emplace_back();
        entry.function = world_.database_.get<Function>(*tag, miITEM_FUNCTION);
        entry.next = next;
        entry.record = {tag_of(next), 1, {*tag}};
        entry.tag = world_.database_.add(miITEM_SHADER_LIST, &entry);
        next = &entry;
    }
    return next;
}

std::vector<miTag> Builder::items(scene::Base type, const std::string& name,
                                  const scene::Place& place) {
    using scene::Base;
    if (type == Base::Light || type == Base::Geometry) {
        if (const auto found = instances_.find(name); found != instances_.end())
            return found->second;
        // A light's own name stands for all its instances.
        std::vector<miTag> tags;
        for (const auto& [instance_name, instance_tags] : instances_) {
            const auto source = scene_.instances.find(instance_name);
            if (source != scene_.instances.end() && source->second->element == name)
                tags.insert(tags.end(), instance_tags.begin(), instance_tags.end());
        }
        if (!tags.empty() || scene_.instances.contains(name)) return tags;
        throw error_at(place, Exit::Shader, "there is no instance \"" + name + "\"",
                       did_you_mean(name, names_in(scene_.instances)));
    }
    if (type == Base::Material) return {material(name, place)};
    if (type == Base::ColorTexture || type == Base::ScalarTexture || type == Base::VectorTexture)
        if (!scene_.shaders.contains(name)) return {texture(name, place)};
    if (type == Base::Data || type == Base::LightProfile) return {};
    return {named(name, place, Stage::Texture)};
}

miTag Builder::string(const std::string& text) {
    miTag& tag = strings_[text];
    if (tag == 0)
        tag = world_.database_.add(miITEM_STRING, world_.strings_.emplace_back(text).data());
    return tag;
}

std::pair<miTag, const scene::Declaration*> Builder::shader(const std::string& name,
                                                            const scene::Place& place) {
    const miTag tag = named(name, place, Stage::Texture);
    return {tag, world_.database_.get<Function>(tag, miITEM_FUNCTION)->shader->declaration.get()};
}

}  // namespace orvane::world
