// The layout of parameter blocks, and the names of types.
#include "plugin/block.h"

namespace orvane::plugin {

using scene::Base;

std::string to_string(const scene::Type& type) {
    const auto name = [](Base base) -> std::string {
        switch (base) {
            case Base::Boolean:
                return "boolean";
            case Base::Integer:
                return "integer";
            case Base::Scalar:
                return "scalar";
            case Base::String:
                return "string";
            case Base::Color:
                return "color";
            case Base::Vector:
                return "vector";
            case Base::Transform:
                return "transform";
            case Base::Shader:
                return "shader";
            case Base::ColorTexture:
                return "color texture";
            case Base::ScalarTexture:
                return "scalar texture";
            case Base::VectorTexture:
                return "vector texture";
            case Base::Light:
                return "light";
            case Base::Material:
                return "material";
            case Base::Geometry:
                return "geometry";
            case Base::LightProfile:
                return "lightprofile";
            case Base::Data:
                return "data";
            case Base::Struct:
                return "struct";
            case Base::None:
                break;
        }
        return "nothing";
    };
    return type.array ? "array " + name(type.base) : name(type.base);
}

std::size_t size_of(const scene::Type& type) {
    const std::size_t index_and_count = type.array ? 2 * sizeof(miInteger) : 0;
    switch (type.base) {
        case Base::None:
            return index_and_count;
        case Base::Struct:
            return index_and_count + size_of(type.members);
        case Base::Color:
            return index_and_count + sizeof(miColor);
        case Base::Vector:
            return index_and_count + sizeof(miVector);
        case Base::Transform:
            return index_and_count + sizeof(miMatrix);
        default:
            return index_and_count + 4;
    }
}

std::size_t size_of(const std::vector<scene::Member>& members) {
    std::size_t size = 0;
    for (const scene::Member& member : members) size += size_of(member.type);
    return size;
}

std::vector<std::size_t> field_offsets(const std::vector<scene::Member>& members) {
    std::vector<std::size_t> offsets;
    std::size_t offset = 0;
    for (const scene::Member& member : members) {
        offsets.push_back(offset);
        offset += size_of(member.type);
    }
    return offsets;
}

}  // namespace orvane::plugin
