// The contract between a shader library and the renderer: the operations that a shader may ask
// of the renderer, each with what its callers rely on. The renderer supplies all of them when
// it loads the library.
//
// Unless a comment says otherwise: results are written through the pointers given and only on
// success, vectors are in internal space, out may be the same object as in, and every
// operation may be called from any render thread with that thread's state.
#pragma once

#include <cstddef>

#include "frame/queries.h"
#include "frame/soft_material.h"
#include "frame/state.h"
#include "frame/types.h"
#include "frame/vector.h"

extern "C" {

// ---- Tracing ----
//
// The rays traced from a state inherit from it: user data, sample, media and levels. All
// return miTRUE when result was set: something was hit, or the environment answered. A ray
// beyond the depths in the options, or of zero length, is not traced and gives miFALSE.

// A primary ray from org along dir; from a lens shader, the next lens shader takes it. The first
// one traced from a state writes what was hit back to it (dist, point, normal, normal_geom,
// dot_nd, label, instance, material, motion): dist is 0 when nothing was hit.
miBoolean mi_trace_eye(miColor* result, miState* state, miVector* org, miVector* dir);

// A secondary ray from state->point. One reflection level deeper. From the shader of a medium
// the sum of the levels does not limit it: media trace rays of their own through the scene.
miBoolean mi_trace_reflection(miColor* result, miState* state, miVector* dir);

// A secondary ray from state->point into state->refraction_volume, one refraction level deeper.
miBoolean mi_trace_refraction(miColor* result, miState* state, miVector* dir);

// Goes on in state->dir behind the surface, as refraction without bending.
miBoolean mi_trace_transparent(miColor* result, miState* state);

// Asks the environment alone for what is seen along dir; miFALSE when there is none.
miBoolean mi_trace_environment(miColor* result, miState* state, miVector* dir);

// Mirror direction of state->dir about state->normal, unit length.
void mi_reflection_dir(miVector* dir, miState* state);

// Direction of state->dir refracted at state->normal between the two indices of refraction,
// unit length; miFALSE and dir untouched under total internal reflection.
miBoolean mi_refraction_dir(miVector* dir, miState* state, miScalar ior_in, miScalar ior_out);

// What lies between a light and the point it illuminates, called by light shaders with their
// state. result is what passes and is attenuated in place by the shadow shaders of what the
// ray meets. miFALSE when the light is blocked fully.
miBoolean mi_trace_shadow(miColor* result, miState* state);

// Passes a shadow ray on behind the current surface, called by shadow shaders when the shadow
// mode is segments.
miBoolean mi_trace_shadow_seg(miColor* result, miState* state);

// ---- Lights ----

// All light that a light instance sends to state->point, averaged over an area light's samples.
// dir is the unit direction from the point to the light, dot_nl its cosine to state->normal.
// miFALSE when nothing arrives, also from a light behind the surface. dir and dot_nl may be NULL.
miBoolean mi_trace_light(miColor* color, miVector* dir, miScalar* dot_nl, miState* state,
                         miTag light);

// One sample of the light a call, *samples being 0 before the first one and the number of
// samples taken so far afterwards; miFALSE ends the loop. A point light has one sample. dir
// and dot_nl may be NULL.
miBoolean mi_sample_light(miColor* color, miVector* dir, miScalar* dot_nl, miState* state,
                          miTag light, int* samples);

// Highlights of a light in direction dir seen along state->dir: the cosine between the mirror
// direction and dir (Phong), or between the normal and the half-way direction (Blinn), raised
// to the exponent; 0 where the cosine is not positive.
miScalar mi_phong_specular(miScalar exponent, miState* state, miVector* dir);
miScalar mi_blong_specular(miScalar exponent, miState* state, miVector* dir);

// ---- Textures and images ----

// The texture's colour at (u, v), v upwards, repeated outside 0..1; coord->z is for texture
// shaders, which see coord in state->tex. A tag of a shader function is called as a texture.
// Returns what the texture shader returned; miFALSE and black for a tag that is no texture.
miBoolean mi_lookup_color_texture(miColor* color, miState* state, miTag texture, miVector* coord);

// Size in pixels of an image texture; sizes of 0 for any other. paras gets the parameter block
// of a texture shader, or NULL. Each pointer may be NULL. miFALSE for a tag that is no texture.
miBoolean mi_texture_info(miTag texture, int* x_resolution, int* y_resolution, void** paras);

// One pixel of a frame buffer of the options, or of an image texture as mi_db_access gives it
// (get alone); origin at the lower left. Outside the image, get gives black and put does nothing.
void mi_img_get_color(void* image, miColor* color, int x, int y);
void mi_img_put_color(void* image, miColor* color, int x, int y);

// Coordinates of one of the hit's texture spaces; (0, 0, 0) and miFALSE where it has none.
miBoolean mi_tex_coord(miState* state, int space, miVector* coord);

// How the hit point moves with u and with v of a texture space, in internal space; miFALSE
// where the surface has no such coordinates or they do not vary.
miBoolean mi_tex_basis(miState* state, int space, miVector* du, miVector* dv);

// ---- Transforms ----
//
// Points move with the translation, vectors without. Object space is that of state->instance,
// or world space when the state has none. Normals go to and from object space with the
// transpose of the opposite matrix.

void mi_point_to_world(miState* state, miVector* out, miVector* in);
void mi_point_from_world(miState* state, miVector* out, miVector* in);
void mi_point_to_object(miState* state, miVector* out, miVector* in);
void mi_point_from_object(miState* state, miVector* out, miVector* in);
void mi_point_to_camera(miState* state, miVector* out, miVector* in);
void mi_point_from_camera(miState* state, miVector* out, miVector* in);
void mi_vector_to_world(miState* state, miVector* out, miVector* in);
void mi_vector_from_world(miState* state, miVector* out, miVector* in);
void mi_vector_to_object(miState* state, miVector* out, miVector* in);
void mi_vector_from_object(miState* state, miVector* out, miVector* in);
void mi_vector_to_camera(miState* state, miVector* out, miVector* in);
void mi_vector_from_camera(miState* state, miVector* out, miVector* in);
void mi_normal_to_object(miState* state, miVector* out, miVector* in);
void mi_normal_from_object(miState* state, miVector* out, miVector* in);

void mi_point_transform(miVector* out, miVector* in, const miMatrix m);
void mi_vector_transform(miVector* out, miVector* in, const miMatrix m);

// ---- Matrices ----
//
// The result may be the same matrix as an operand.

void mi_matrix_ident(miMatrix m);
void mi_matrix_prod(miMatrix out, const miMatrix a, const miMatrix b);

// miFALSE and out the identity when the matrix has no inverse.
miBoolean mi_matrix_invert(miMatrix out, const miMatrix in);

// Rotation about x, then y, then z by the given radians.
void mi_matrix_rotate(miMatrix m, miScalar x, miScalar y, miScalar z);

// ---- Noise and random numbers ----

// Smooth noise in 0..1 with mean one half, features about one unit wide.
miScalar mi_noise_3d(miVector* p);
miScalar mi_noise_2d(miScalar u, miScalar v);

// Quasi-random numbers in 0..1. With n NULL: one point of the given dimension, different at
// each call. Otherwise called in a loop: *instance is 0 before the first call and counts the
// points, *n is how many are wanted, and miFALSE ends the loop. instance may be NULL when n is.
miBoolean mi_sample(double* samples, int* instance, miState* state, miUint dimension,
                    const miUint* n);

// The next pseudo-random number in 0..1 (1 excluded) of the caller's own sequence.
double mi_erandom(unsigned short seed[3]);

// Value at t in 0..1 of the smooth curve that passes through n control values at equal steps.
miScalar mi_spline(miScalar t, int n, const miScalar* ctl);

// ---- Memory ----
//
// Zero-filled (also what a reallocation adds), tagged with the caller's source name and line.
// NULL for a size of 0 and when there is no memory, which ends the render once the shader has
// returned; a size below 0 stands for one that no int holds. Releasing NULL does nothing.

// The bytes of count elements, as the allocators take them.
static inline int mi_mem_size(long long count, std::size_t size) {
    const long long bytes = count * static_cast<long long>(size);
    return bytes <= 0x7fffffff ? static_cast<int>(bytes) : -1;
}

void* mi_mem_int_allocate(const char* file, int line, int size);
void* mi_mem_int_reallocate(const char* file, int line, void* p, int size);
void mi_mem_int_release(const char* file, int line, void* p);

// ---- Locks ----

void mi_init_lock(miLock* lock);
void mi_delete_lock(miLock* lock);
void mi_lock(miLock lock);
void mi_unlock(miLock lock);

// ---- Messages ----
//
// printf-style. A final newline may be there or not.

#define MI_PRINTF __attribute__((format(printf, 1, 2)))
void mi_info(const char* format, ...) MI_PRINTF;
void mi_progress(const char* format, ...) MI_PRINTF;
void mi_warning(const char* format, ...) MI_PRINTF;
[[noreturn]] void mi_fatal(const char* format, ...) MI_PRINTF;  // ends the render
#undef MI_PRINTF

// ---- Control ----

// miTRUE once the render has been aborted: long loops stop early.
miBoolean mi_par_aborted();

// ---- Queries and database ----

// Answers a code of miQuery about an item, or about state when the code says so. miFALSE and
// result untouched when the item is of the wrong type.
miBoolean mi_query(int code, miState* state, miTag tag, void* result);

// Address of the running shader instance's user pointer; NULL when no shader runs.
void** mi_shader_info(miState* state);

// Value of a parameter of the running shader. param points into its parameter block; when the
// parameter is connected to a shader, that shader is evaluated and the value lies at the
// address returned, until the next 32 evaluations of the same thread. Otherwise param itself.
void* mi_phen_eval(miState* state, void* param);

// Type of an item, a miItem code.
int mi_db_type(miTag tag);

// The item's record: miFunction, miShaderList, or for an image texture the image for
// mi_img_get_color. NULL for a texture shader and for a tag that is no item.
void* mi_db_access(miTag tag);
void mi_db_unpin(miTag tag);

// ---- Material library ----
//
// The pieces of soft_material, for materials built on it. work is a copy of the block params
// that the pieces before have already changed.

miBoolean soft_material(miColor* result, miState* state, void* params);

// Indices of refraction of the medium that the ray comes through and of the one behind the
// surface. Rays that are refracted from here on, or go straight on, run in the latter.
void mi_mtl_refraction_index(miState* state, void* params, miScalar* ior_in, miScalar* ior_out);

miBoolean mi_mtl_is_casting_shadow(miState* state, void* params);

// Applies the block's maps to work, and its bump map to the state's normal and dot_nd, which
// normal and dot_nd usually point to.
void mi_mtl_textures(miState* state, void* work, void* params, miVector* normal, miScalar* dot_nd);

// Softens the highlight: exponent x (1 - static_blur)^2, at least 1. It never rises.
void mi_mtl_static_blur(miState* state, void* work);

// Ambient, diffuse and specular light; sets result, alpha included (1 - transparency).
miBoolean mi_mtl_illumination(miColor* result, miState* state, void* work, void* params,
                              double ior_in, double ior_out);

// Blends result with the reflected colour by reflectivity.
miBoolean mi_mtl_reflection(miColor* result, miState* state, void* work);

// Blends result with what lies behind the surface by transparency.
miBoolean mi_mtl_refraction(miColor* result, miState* state, void* work, double ior_in,
                            double ior_out);

// Attenuates a shadow ray's colour; miFALSE when nothing passes.
miBoolean mi_mtl_compute_shadow(miColor* result, void* work);
}
