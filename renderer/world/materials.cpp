// Materials and textures, made when first named.

#include <algorithm>

#include "scene/messages.h"
#include "world/builder.h"

namespace orvane::world {

miTag Builder::material(const std::string& name, const scene::Place& place) {
    if (const auto known = materials_.find(name); known != materials_.end()) return known->second;
    const auto found = scene_.materials.find(name);
    if (found == scene_.materials.end()) {
        throw error_at(place, Exit::Scene, "there is no material \"" + name + "\"",
                       did_you_mean(name, names_in(scene_.materials)));
    }
    const scene::Material& source = *found->second;
    Material& made = world_.materials_.emplace_back();
    const miTag tag = materials_[name] = world_.database_.add(miITEM_MATERIAL, &made);
    made.name = name;
    made.place = source.place;
    made.opaque = source.opaque;
    made.surface = list(source.shader, Use::Surface);
    // shadow "x" ( ) shares the parameters of the material's first shader.
    const Function* first = made.surface ? made.surface->function : nullptr;
    made.shadow_list = list(source.shadow, Use::Shadow, 0, first);
    made.shader = tag_of(made.surface);
    made.shadow = tag_of(made.shadow_list);
    if (world_.scene_options_->volume)
        made.volume = tag_of(list(source.volume, Use::Volume, 0, first));
    made.environment = tag_of(list(source.environment, Use::Environment, 0, first));
    if (!source.displace.empty())
        message(Level::Warning,
                to_string(source.place) + ": warning: displacement is not supported");
    return tag;
}

miTag Builder::texture(const std::string& name, const scene::Place& place) {
    if (const auto known = textures_.find(name); known != textures_.end()) return known->second;
    const auto found = scene_.textures.find(name);
    if (found == scene_.textures.end()) {
        throw error_at(place, Exit::Shader, "there is no texture \"" + name + "\"",
                       did_you_mean(name, names_in(scene_.textures)));
    }
    Texture made;
    const scene::Texture& source = *found->second;
    if (!source.shader.empty()) {
        if (!resolving_.insert(name).second)
            throw error_at(place, Exit::Shader, "texture \"" + name + "\" looks itself up");
        made.shader = list(source.shader, Use::Texture);
        resolving_.erase(name);
    }
    if (!made.shader) made.image = picture(source);
    Texture& stored = world_.textures_.emplace_back(std::move(made));
    return textures_[name] = world_.database_.add(miITEM_TEXTURE, &stored);
}

// A file is looked for in the folder of the text that names it, then along the texture path.
std::filesystem::path Builder::find_picture(const scene::Texture& source) const {
    const std::filesystem::path file = source.file;
    std::vector<std::filesystem::path> folders = {
        std::filesystem::path(*source.place.file).parent_path()};
    folders.insert(folders.end(), folders_.textures.begin(), folders_.textures.end());
    std::string searched;
    for (auto folder = folders.begin(); folder != folders.end(); ++folder) {
        std::error_code ignored;
        if (folders_.fence.may_read(*folder / file) &&
            std::filesystem::exists(*folder / file, ignored))
            return *folder / file;
        if (std::find(folders.begin(), folder, *folder) == folder)
            searched += ' ' + (folder->empty() ? "." : folder->string());
    }
    if (!folders_.fence.may_read(folders.front() / file)) throw outside(source.place, source.file);
    throw error_at(source.place, Exit::Input, "cannot find the picture \"" + source.file + '"',
                   file.is_absolute() ? "" : "looked in:" + searched);
}

std::shared_ptr<const image::Image> Builder::picture(const scene::Texture& source) {
    const float gamma = world_.options_.gamma;
    if (source.file.empty()) {
        try {
            return std::make_shared<image::Image>(image::image_from_bytes(
                source.width, source.height, source.depth, source.bytes, gamma));
        } catch (const std::invalid_argument& fault) {
            throw error_at(source.place, Exit::Scene, fault.what());
        }
    }
    const std::filesystem::path file = find_picture(source);
    auto& cached = pictures_[{file, gamma}];
    if (cached) return cached;
    try {
        cached = std::make_shared<image::Image>(image::read_texture(file, gamma));
    } catch (const Error& fault) {
        std::string reason = fault.what();
        if (reason.starts_with("error: ")) reason.erase(0, 7);
        throw error_at(source.place, Exit::Input, reason);
    }
    return cached;
}

}  // namespace orvane::world
