// The scripted material library: soft_material and its pieces, answered from
// scripted::MaterialLibrary.

#include "scripted/script.h"

using scripted::current;

static scripted::MaterialLibrary& record(const char* name, const void* block, double ior_in = 0,
                                         double ior_out = 0) {
    const std::lock_guard guard(current().mutex);
    current().materials.calls.push_back(
        {name, *static_cast<const soft_material_params*>(block), ior_in, ior_out});
    return current().materials;
}

static void add(miColor* sum, const miColor& c) {
    *sum = {sum->r + c.r, sum->g + c.g, sum->b + c.b, sum->a + c.a};
}

extern "C" {

miBoolean soft_material(miColor* result, miState*, void* params) {
    *result = record("soft_material", params).material;
    return miTRUE;
}

void mi_mtl_refraction_index(miState* state, void* params, miScalar* ior_in, miScalar* ior_out) {
    const auto& library = record("mi_mtl_refraction_index", params);
    *ior_in = state->ior_in = library.ior_in;
    *ior_out = state->ior = library.ior_out;
}

miBoolean mi_mtl_is_casting_shadow(miState*, void* params) {
    return record("mi_mtl_is_casting_shadow", params).casts_shadow;
}

void mi_mtl_textures(miState*, void* work, void* params, miVector* normal, miScalar* dot_nd) {
    const auto& library = record("mi_mtl_textures", params);
    if (library.textures)
        library.textures(static_cast<soft_material_params*>(work), normal, dot_nd);
}

void mi_mtl_static_blur(miState*, void* work) { record("mi_mtl_static_blur", work); }

miBoolean mi_mtl_illumination(miColor* result, miState*, void* work, void*, double ior_in,
                              double ior_out) {
    *result = record("mi_mtl_illumination", work, ior_in, ior_out).illumination;
    return miTRUE;
}

miBoolean mi_mtl_reflection(miColor* result, miState*, void* work) {
    add(result, record("mi_mtl_reflection", work).reflection);
    return miTRUE;
}

miBoolean mi_mtl_refraction(miColor* result, miState*, void* work, double ior_in, double ior_out) {
    add(result, record("mi_mtl_refraction", work, ior_in, ior_out).refraction);
    return miTRUE;
}

miBoolean mi_mtl_compute_shadow(miColor* result, void* work) {
    const miColor& passing = record("mi_mtl_compute_shadow", work).shadow;
    filter_rgb(result, passing.r, passing.g, passing.b);
    return passing.r > 0 || passing.g > 0 || passing.b > 0;
}
}
