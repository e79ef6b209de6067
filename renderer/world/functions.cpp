// Shader instances: from a call in the scene to a function with its parameter block.

#include <algorithm>
#include <iterator>
#include <string_view>

#include "scene/limits.h"
#include "scene/messages.h"
#include "scene/parser.h"
#include "world/builder.h"

namespace orvane::world {
namespace {

// Where a shader may be used: the words of which its declaration must have one. A material answers
// shadow rays, too. A declaration that says nothing may be used anywhere.
struct Place {
    Use use;
    Stage stage;
    const char* name;
    std::vector<std::string_view> words;
};

const Place& place_of(Use use) {
    static const Place kPlaces[] = {
        {Use::Parameter, Stage::Texture, "as the value of a parameter", {}},
        {Use::Texture, Stage::Texture, "as a texture", {"texture", "environment"}},
        {Use::Light, Stage::Light, "as a light", {"light"}},
        {Use::Surface, Stage::Material, "as the surface of a material", {"material", "texture"}},
        {Use::Shadow, Stage::Material, "for shadows", {"shadow", "material", "texture"}},
        {Use::Environment, Stage::Medium, "as an environment", {"environment", "texture"}},
        {Use::Volume, Stage::Medium, "as a volume", {"volume"}},
        {Use::Lens, Stage::Lens, "as a lens", {"lens"}},
        {Use::Output, Stage::Output, "as an output shader", {"output"}},
    };
    return *std::find_if(std::begin(kPlaces), std::end(kPlaces),
                         [use](const Place& place) { return place.use == use; });
}

bool belongs(const std::vector<std::string>& apply, const Place& place) {
    const auto fits = [&place](const std::string& word) {
        if (place.words.empty()) return word != "lens" && word != "output";
        return std::find(place.words.begin(), place.words.end(), word) != place.words.end();
    };
    return apply.empty() || std::any_of(apply.begin(), apply.end(), fits);
}

// A lens that traces eye rays as an environment would call itself without end.
void check_use(const scene::Declaration& declaration, Use use, const scene::Place& at) {
    const Place& place = place_of(use);
    if (belongs(declaration.apply, place)) return;
    std::string apply;
    for (const std::string& word : declaration.apply) apply += (apply.empty() ? "" : ", ") + word;
    throw error_at(at, Exit::Shader,
                   "shader \"" + declaration.name + "\" cannot be used " + place.name,
                   "its declaration says: apply " + apply);
}

}  // namespace

Stage stage_of(Use use) { return place_of(use).stage; }

// A file of the include path may know the shader.
void Builder::fail_undeclared(const std::string& name, const scene::Place& place) const {
    std::string hint = did_you_mean(name, names_in(scene_.declarations));
    for (const std::filesystem::path& folder : folders_.includes) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error))
            if (entry.path().extension() == ".mi" && scene::declares(entry.path(), name))
                hint = "$include \"" + entry.path().filename().string() + "\" declares it";
    }
    throw error_at(place, Exit::Shader, "shader \"" + name + "\" is not declared", hint);
}

// They are made, and called, by recursion.
void Builder::fail_too_deep(const scene::Place& place) {
    throw error_at(
        place, Exit::Shader,
        "shaders are connected, or named in materials, textures and parameters, more than " +
            std::to_string(scene::kDeepest) + " deep");
}

ShaderClass& Builder::shader_class(const std::string& name, const scene::Place& place) {
    if (const auto known = classes_.find(name); known != classes_.end()) return *known->second;
    const auto found = scene_.declarations.find(name);
    if (found == scene_.declarations.end()) fail_undeclared(name, place);
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

miTag Builder::function(const scene::ShaderCall& call, Use use, miTag light_instance,
                        const Function* shared) {
    if (call.by_name) return named(call.shader, call.place, use, light_instance);
    check_use(*shader_class(call.shader, call.place).declaration, use, call.place);
    return make_function(call, use, light_instance, shared);
}

miTag Builder::make_function(const scene::ShaderCall& call, Use use, miTag light_instance,
                             const Function* shared) {
    ShaderClass& shader = shader_class(call.shader, call.place);
    if (depth_ >= scene::kDeepest) fail_too_deep(call.place);

    // The block is made first: it may make functions that must be initialised before this one.
    const bool share = shared && call.no_list && shared->shader->declaration == shader.declaration;
    ++depth_;
    plugin::Block block = share ? shared->block : make_block(*shader.declaration, call, *this);
    --depth_;

    Function& made = world_.functions_.emplace_back();
    made.shader = &shader;
    made.place = call.place;
    made.block = std::move(block);
    made.stage = stage_of(use);
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
    made.has_image = has_image(made);
    return made.tag;
}

bool Builder::has_image(const Function& function) const {
    const std::vector<scene::Member>& members = function.shader->declaration->parameters;
    const std::vector<std::size_t> offsets = plugin::field_offsets(members);
    for (std::size_t i = 0; i < members.size(); ++i) {
        const scene::Type& type = members[i].type;
        const bool texture = !type.array && (type.base == scene::Base::ColorTexture ||
                                             type.base == scene::Base::ScalarTexture ||
                                             type.base == scene::Base::VectorTexture);
        if (texture &&
            world_.database_.type(function.block.words[offsets[i] / 4]) == miITEM_TEXTURE)
            return true;
    }
    return false;
}

// A named shader is one instance, but for the shaders of lights: each light instance has its
// own, because a light shader keeps what it knows of its light in its instance.
miTag Builder::named(const std::string& name, const scene::Place& place, Use use,
                     miTag light_instance) {
    miTag& tag = named_[{name, light_instance}];
    if (tag == 0) tag = make_named(name, place, use, light_instance);
    const auto* function = world_.database_.get<Function>(tag, miITEM_FUNCTION);
    check_use(*function->shader->declaration, use, place);
    return tag;
}

miTag Builder::make_named(const std::string& name, const scene::Place& place, Use use,
                          miTag light_instance) {
    const auto found = scene_.shaders.find(name);
    if (found == scene_.shaders.end() || found->second->empty())
        throw error_at(place, Exit::Shader, "there is no shader named \"" + name + "\"",
                       did_you_mean(name, names_in(scene_.shaders)));
    if (resolving_.size() >= scene::kDeepest) fail_too_deep(place);
    if (!resolving_.insert(name).second)
        throw error_at(place, Exit::Shader, "shader \"" + name + "\" is connected to itself");
    const scene::ShaderCall& call = found->second->back();
    const miTag tag = call.by_name ? named(call.shader, call.place, use, light_instance)
                                   : make_function(call, use, light_instance);
    resolving_.erase(name);
    return tag;
}

const ListEntry* Builder::list(const scene::ShaderList& calls, Use use, miTag light_instance,
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
        functions.push_back(function(call, use, light_instance, shared));
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

// A light that is named but not placed anywhere gives no light. One that is hidden is meant so.
void Builder::warn_outside(const std::string& name, const scene::Place& place) {
    const auto found = scene_.instances.find(name);
    if (found == scene_.instances.end() || found->second->hide) return;
    world_.misses_instances_ = true;
    message(Level::Warning, to_string(place) + ": warning: instance \"" + name +
                                "\" is in no group that is rendered: it has no effect");
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
        if (tags.empty()) warn_outside(name, place);
        if (!tags.empty() || scene_.instances.contains(name)) return tags;
        throw error_at(place, Exit::Shader, "there is no instance \"" + name + "\"",
                       did_you_mean(name, names_in(scene_.instances)));
    }
    if (type == Base::Material) return {material(name, place)};
    if (type == Base::ColorTexture || type == Base::ScalarTexture || type == Base::VectorTexture)
        if (!scene_.shaders.contains(name)) return {texture(name, place)};
    if (type == Base::Data || type == Base::LightProfile) return {};
    return {named(name, place, Use::Parameter)};
}

miTag Builder::string(const std::string& text) {
    miTag& tag = strings_[text];
    if (tag == 0)
        tag = world_.database_.add(miITEM_STRING, world_.strings_.emplace_back(text).data());
    return tag;
}

std::pair<miTag, const scene::Declaration*> Builder::shader(const std::string& name,
                                                            const scene::Place& place) {
    const miTag tag = named(name, place, Use::Parameter);
    return {tag, world_.database_.get<Function>(tag, miITEM_FUNCTION)->shader->declaration.get()};
}

}  // namespace orvane::world
