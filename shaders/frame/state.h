// The records that the renderer hands to a shader: the render state of the current sample and
// what is reached from it (camera, options, the running shader's function record).
//
// Spaces: "internal space" is the renderer's own; only the mi_*_to_* and mi_*_from_*
// operations may be used to leave it. Points, directions and normals of the state are in
// internal space.
#pragma once

#include "frame/types.h"

enum miRayType : miInteger {
    miRAY_EYE = 0,
    miRAY_TRANSPARENT = 1,
    miRAY_REFLECT = 2,
    miRAY_REFRACT = 3,
    miRAY_LIGHT = 4,   // from a light to the illuminated point; light shaders see it
    miRAY_SHADOW = 5,  // the same segment, looking for what is in between
    miRAY_ENVIRONMENT = 6,
};

enum miShadowMode : miInteger {
    miSHADOW_OFF = 0,
    miSHADOW_ON = 1,
    miSHADOW_SORT = 'l',      // occluders visited in order, from the light
    miSHADOW_SEGMENTS = 's',  // each shadow shader passes the ray on with mi_trace_shadow_seg
};

enum miLightType : miInteger {
    miLIGHT_POINT = 0,
    miLIGHT_DIRECTIONAL = 1,
    miLIGHT_SPOT = 2,
};

enum miFrameBuffer : miUint {
    miFB_COLOR = 0,   // premultiplied r, g, b, a as rendered
    miFB_DEPTH = 1,   // r = distance along the viewing axis, 0 where nothing was hit
    miFB_NORMAL = 2,  // r, g, b = normal in camera space
    miFB_MOTION = 3,  // r, g = motion over the shutter interval in pixels
    miFB_LABEL = 4,   // r = label of the object hit, 0 where nothing was hit
    miFB_COUNT = 5,
};

enum miFace : miInteger {
    miFACE_FRONT = 'f',
    miFACE_BACK = 'b',
    miFACE_BOTH = 'a',
};

struct miCamera {
    miScalar focal;          // distance to the view plane; unused when orthographic
    miScalar aperture;       // width of the view plane; orthographic: width of the view
    miScalar aspect;         // width / height of the image
    miInteger x_resolution;  // pixels
    miInteger y_resolution;
    miScalar x_offset;  // shift of the view plane in pixels
    miScalar y_offset;
    miInteger window[4];  // rendered pixels xl yl xh yh, inclusive, origin at the lower left
    miScalar clip_near, clip_far;
    miBoolean orthographic;
    miInteger frame;      // number of the frame
    miScalar frame_time;  // time of the frame, the clock of animated shaders
    miTag lens;           // first miShaderList of the lens shaders
    miTag volume;         // first miShaderList
    miTag environment;    // first miShaderList
    miTag output;         // first miShaderList of the output shaders
    miTag instance;       // the camera's instance
};

struct miOptions {
    miBoolean trace;     // ray tracing is on
    miBoolean scanline;  // eye rays may be replaced by scanline rendering
    miInteger shadow;    // miShadowMode
    miInteger face;      // miFace
    miInteger reflection_depth, refraction_depth, trace_depth;
    miInteger samples_min, samples_max;  // powers of four
    miColor contrast;
    miScalar shutter;  // length of the shutter interval in frames; 0 = no motion blur
    miScalar gamma;
    miBoolean no_secondary;           // not 0: materials trace neither reflections nor refractions
    void* frame_buffers[miFB_COUNT];  // for mi_img_get_color and mi_img_put_color; NULL = absent
};

// One entry of a list of shaders that are called one after the other. The list's entries are
// database items: read with mi_db_access, release with mi_db_unpin.
struct miShaderList {
    miTag next;       // the next entry, or 0
    miInteger count;  // number of tags; the last of them is the shader's function
    miTag tags[1];
};

// One instance of a shader: a use of a declared shader with its own parameters.
struct miFunction {
    miTag declaration;
    const void* identity;      // equal for all instances of the same shader, different otherwise
    void* parameters;          // the parameter block
    miInteger parameter_size;  // bytes, storage of arrays behind the block included
    // For each 32-bit word of the block: 1 when a parameter that starts there is connected to a
    // shader (see mi_phen_eval), else 0. NULL when none is.
    const unsigned char* connected;
    void* user;  // the instance's user pointer: mi_shader_info, query miQ_FUNC_USERPTR
};

// One state per ray, on the stack of the thread that traces it, linked to its parent. A shader
// may copy it, change the copy and trace from it: all that the renderer needs travels inside.
struct miState {
    // The frame.
    const miCamera* camera;
    const miOptions* options;
    miLock global_lock;   // one for the whole render
    const void* host;     // the renderer's own
    miFunction* shader;   // the running shader
    std::int16_t thread;  // number of the render thread, from 0

    // The eye sample that the ray belongs to.
    miScalar raster_x, raster_y;  // pixels, origin at the lower left, pixel centres at .5
    miScalar time;                // 0..1 within the shutter interval
    std::uint64_t sample_key;     // identifies the sample for mi_sample
    miUint sample_dimension;      // advanced by mi_sample
    miUint ray_number;            // rays traced from this state so far
    miInteger depth;              // rays from the eye to this one, lights and shadows included
    miInteger reflections;        // of them, whatever shaders make of the levels
    miInteger refractions;        // likewise; those that go straight on included
    miBoolean in_medium;          // the running shader is that of a medium, see mi_trace_reflection
    miTag lens;                   // miShaderList of the lens shader that takes the next eye ray

    // The ray.
    miState* parent;      // the state whose shader traced this ray; NULL for eye rays
    miInteger type;       // miRayType
    const void* pri;      // geometry that the ray leaves, so as not to hit it again; NULL = none
    miScalar pri_offset;  // how far off the surface of pri a ray begins
    miUint pri_index;     // the triangle of pri that the ray leaves; cleared along with pri
    miInteger reflection_level, refraction_level;
    miVector org, dir;        // dir has unit length
    double dist;              // length of the segment; 0 = nothing was hit
    miScalar ior;             // index of refraction that rays inherit; at first that of ior_in
    miScalar refraction_ior;  // the one that rays into the surface inherit; 0 = ior
    miScalar ior_in;          // index of refraction of the medium that the ray came through
    miTag volume;             // first miShaderList of the medium that the ray came through
    miTag refraction_volume;  // the same on the other side of the surface
    miTag environment;        // first miShaderList for rays that leave the scene

    // The hit.
    miTag instance;
    miTag material;
    miUint label;
    miBoolean inside;  // the surface was hit from its back: the ray leaves the object
    miVector point;
    miVector normal;       // shading normal, turned towards the ray's origin
    miVector normal_geom;  // normal of the plane of the triangle, turned likewise
    miScalar dot_nd;       // normal . dir: -1 where the ray meets the surface head-on
    miVector motion;       // displacement of the point over the shutter interval
    miVector tex;          // texture coordinates: of space 0 at a hit; as asked for in look-ups
    miScalar bary[2];      // weights of the triangle's second and third corner

    // The light, in light and shadow rays.
    miTag light_instance;
    void* shadow_link;  // the renderer's own: where a shadow ray of segments goes on

    // Handed down to the states of the rays that are traced from this one.
    void* user;
    miInteger user_size;
};
