// What a shader may ask about the scene's items.

#include <cstring>

#include "frame/host.h"
#include "world/render.h"

using namespace orvane::world;

namespace {

template <typename T>
miBoolean answer(void* result, const T& value) {
    std::memcpy(result, &value, sizeof value);
    return miTRUE;
}

miBoolean about_instance(int code, const Instance& instance, void* result) {
    switch (code) {
        case miQ_INST_LOCAL_TO_GLOBAL:
            return answer<const miScalar*>(result, instance.local_to_world.getValue());
        case miQ_INST_ITEM:
            return answer(result, instance.item);
    }
    return miFALSE;
}

miBoolean about_light(int code, const Light& light, void* result) {
    switch (code) {
        case miQ_LIGHT_TYPE:
            return answer<int>(result, light.type);
        case miQ_LIGHT_SHADER:
            return answer<miTag>(result, light.shader ? light.shader->function->tag : 0);
        case miQ_LIGHT_ORIGIN:
            return answer(result, light.origin);
        case miQ_LIGHT_DIRECTION:
            return answer(result, light.direction);
        case miQ_LIGHT_SPREAD:
            return answer(result, light.spread);
    }
    return miFALSE;
}

miBoolean about_function(int code, const Function& function, void* result) {
    switch (code) {
        case miQ_FUNC_DECL:
            return answer(result, function.shader->tag);
        case miQ_FUNC_PARAM:
            return answer(result, function.record.parameters);
    }
    return miFALSE;
}

}  // namespace

extern "C" {

miBoolean mi_query(int code, miState* state, miTag tag, void* result) {
    if (code == miQ_FUNC_USERPTR)
        return state && state->shader ? answer(result, &state->shader->user) : miFALSE;
    const Database& items = current_render()->world.database();
    switch (items.type(tag)) {
        case miITEM_INSTANCE:
            return about_instance(code, *static_cast<Instance*>(items.record(tag)), result);
        case miITEM_LIGHT:
            return about_light(code, *static_cast<Light*>(items.record(tag)), result);
        case miITEM_FUNCTION:
            return about_function(code, *static_cast<Function*>(items.record(tag)), result);
        case miITEM_DECLARATION:
            if (code != miQ_DECL_NAME) return miFALSE;
            return answer(result,
                          static_cast<ShaderClass*>(items.record(tag))->declaration->name.c_str());
    }
    return miFALSE;
}

void** mi_shader_info(miState* state) { return state->shader ? &state->shader->user : nullptr; }

void* mi_phen_eval(miState* state, void* param) { return evaluate_parameter(state, param); }

int mi_db_type(miTag tag) { return current_render()->world.database().type(tag); }

// Function and ListEntry begin with the contract's records, so an item's address is theirs.
void* mi_db_access(miTag tag) {
    const Database& items = current_render()->world.database();
    if (const auto* texture = items.get<Texture>(tag, miITEM_TEXTURE))
        return const_cast<orvane::image::Image*>(texture->image.get());
    return items.record(tag);
}

void mi_db_unpin(miTag) {}
}
