// What a scripted renderer answers, and what it has been asked: the plain record behind all
// operations of the contract.
//
// Hooks that are left alone give the answers that their comments name. Tracing, lights, textures,
// memory, locks, database access, connected parameters and the material library are recorded as
// calls; transforms, matrices, noise, random numbers and queries are not.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "frame/host.h"

namespace scripted {

// What mi_fatal throws.
struct Fatal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Call {
    std::string name;
    std::vector<double> arguments;  // tags, components of vectors, sizes: as the operation says
};

struct Message {
    std::string level;  // "info", "progress", "warning", "fatal"
    std::string text;
};

// A texture or frame buffer: width x height pixels, rows from the bottom.
struct Image {
    int width = 0, height = 0;
    std::vector<miColor> pixels;
};

struct Matrix : std::array<miScalar, 16> {};
Matrix identity();
Matrix translation(miScalar x, miScalar y, miScalar z);
Matrix rotation(miScalar x, miScalar y, miScalar z);  // as mi_matrix_rotate
Matrix operator*(const Matrix& a, const Matrix& b);

// A database item: what mi_db_type, mi_db_access and mi_query say about it.
using Answer = std::variant<int, miTag, miScalar, miVector, const void*>;
struct Item {
    int type = miITEM_NONE;
    void* record = nullptr;
    std::map<int, Answer> answers;  // by code of mi_query
};

// A light as a scene has it, for Host::add_light. to_world and params are kept by the test.
struct Light {
    int type = miLIGHT_POINT;
    miVector origin = {0, 0, 0}, direction = {0, 0, 0};
    miScalar spread = 0;
    const Matrix* to_world = nullptr;  // NULL = identity
    const char* shader = "Orvane_Light";
    void* params = nullptr;
};

struct LightSample {
    miColor color;
    miVector dir;
    miScalar dot_nl;
};

// A call of the material library, with the leading block that it was given.
struct MaterialCall {
    std::string name;
    soft_material_params block;
    double ior_in = 0, ior_out = 0;
};

// What the material library answers. Results are set, reflection and refraction added.
struct MaterialLibrary {
    miBoolean casts_shadow = miTRUE;
    miScalar ior_in = 1, ior_out = 1;
    miColor material = {1, 1, 1, 1};      // of soft_material
    miColor illumination = {1, 1, 1, 1};  // of mi_mtl_illumination
    miColor reflection = {0, 0, 0, 0}, refraction = {0, 0, 0, 0};
    miColor shadow = {0, 0, 0, 0};  // multiplies the ray's colour; black ends the ray
    // Change the working block, as the block's maps do; also where a test bends the normal.
    std::function<void(soft_material_params*, miVector* normal, miScalar* dot_nd)> textures;
    std::vector<MaterialCall> calls;

    int count(std::string_view name) const;
};

struct Host {
    using Trace = std::function<miBoolean(miColor*, miState*, const miVector& dir)>;
    using Shadow = std::function<miBoolean(miColor*, miState*)>;

    // Tracing; recorded with dir. Nothing is hit, nothing casts a shadow.
    std::function<miBoolean(miColor*, miState*, const miVector& org, const miVector& dir)>
        trace_eye;
    Trace trace_reflection, trace_refraction, trace_transparent, trace_environment;
    Shadow trace_shadow, trace_shadow_seg;

    // All samples of a light for a state; asked anew by every call of mi_trace_light and
    // mi_sample_light, which are recorded with the light. None.
    std::function<std::vector<LightSample>(miState*, miTag light)> light_samples;

    // Texture look-ups; recorded with the tag and coord. White.
    std::function<miBoolean(miColor*, miState*, miTag, const miVector& coord)> texture;

    // From internal space to the others.
    Matrix world = identity(), camera = identity(), object = identity();

    std::function<miScalar(const miVector&)> noise;     // smooth, within 0..1
    std::function<double()> random;                     // of mi_sample: a fixed sequence
    std::function<bool()> aborted;                      // no
    std::function<miBoolean(miVector*)> texture_coord;  // (0, 0, 0), miFALSE
    std::function<miBoolean(miVector* du, miVector* dv)> texture_basis;  // miFALSE
    std::function<void*(miState*, void* param)> connect;  // value of a connected parameter: param

    // The database, by tag.
    std::map<miTag, Item> items;
    std::map<miTag, int> pinned;
    miTag add(Item item);
    miTag add_image(Image* image);
    miTag add_light(const Light& light);  // its instance, with all that hangs on it

    // Memory: the allocation that fails, counted from 1 over the test; 0 = none. Reallocations
    // count too.
    struct Allocation {
        std::string file;
        int size;
    };
    int failing_allocation = 0, allocation_count = 0;
    int largest_allocation = 1 << 28;                     // bytes; more fails as well
    std::map<void*, Allocation> allocations;              // not released yet
    std::map<miLock, std::unique_ptr<std::mutex>> locks;  // not deleted yet

    MaterialLibrary materials;

    std::vector<Call> calls;
    std::vector<Message> messages;
    int count(std::string_view call) const;
    const Call& last(std::string_view call) const;  // throws when there was none

    void record(std::string name, std::vector<double> arguments = {});
    std::mutex mutex;  // guards the records while several threads call

    ~Host();
};

// The host that the operations work on.
Host& current();
void set_current(Host* host);

}  // namespace scripted
