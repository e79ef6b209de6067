// What a .mi file says: plain records, as written, with the place of each in the text.
//
// Nothing here is resolved or checked against declarations: names stay names, and the values of
// shader parameters stay a tree of tokens until a declaration tells their types.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvane::scene {

// A position in a scene text; line and column count from 1.
struct Place {
    std::shared_ptr<const std::string> file;  // as the user would name it; never null
    int line = 0;
    int column = 0;
};

struct Vec3 {
    float x = 0, y = 0, z = 0;
};

struct Rgba {
    float r = 0, g = 0, b = 0, a = 0;
};

// Row by row, translation in the last row; row vectors are multiplied from the left.
using Matrix = std::array<float, 16>;
inline constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// ---- Shader declarations ----

enum class Base {
    Boolean,
    Integer,
    Scalar,
    String,
    Color,
    Vector,
    Transform,
    Shader,
    ColorTexture,
    ScalarTexture,
    VectorTexture,
    Light,
    Material,
    Geometry,
    LightProfile,
    Data,
    Struct,
    None,
};

struct Value;
struct Member;

struct Type {
    Base base = Base::None;
    bool array = false;
    std::vector<Member> members;  // of a struct, in order
};

struct Member {
    Type type;
    std::string name;
    std::vector<Value> defaults;  // numbers and booleans; empty = none given
    std::string comment;  // the comment on its line and on comment-only lines that follow it
    Place place;
};

struct Declaration {
    std::string name;
    Type result;
    std::vector<Member> parameters;
    int version = 0;
    std::vector<std::string> apply;
    std::string comment;  // the comment lines right before the declaration
    Place place;
};

// ---- Shader calls ----

// A connection: what the named shader (or a member of its result) evaluates to.
struct Connection {
    std::string shader;
    std::string member;  // empty = the whole result
};

struct Argument;

struct Value {
    enum class Kind { Number, Boolean, String, Null, Array, Struct, Connected };
    Kind kind = Kind::Null;
    double number = 0;                         // of Number; 0 or 1 of Boolean
    bool is_integer = false;                   // Number: written without point and exponent
    std::string text;                          // of String
    Connection connection;                     // of Connected
    std::vector<std::vector<Value>> elements;  // of Array: each element's run of values
    std::vector<Argument> members;             // of Struct
    Place place;
};

// "name" value value ...
struct Argument {
    std::string name;
    std::vector<Value> values;
    Place place;
};

struct ShaderCall {
    std::string shader;    // the declared shader; or with by_name the named one
    bool by_name = false;  // = "named_shader"
    bool no_list = false;  // the parameter list is empty: "name" ( )
    std::vector<Argument> arguments;
    Place place;
};

using ShaderList = std::vector<ShaderCall>;

// ---- Elements ----

enum class Shadow { Off, On, Sort, Segments };
enum class Filter { Box, Triangle, Gauss, Mitchell, Lanczos };

struct Options {
    bool trace = true;
    bool scanline = true;
    std::array<int, 3> trace_depth = {1, 1, 1};  // reflection, refraction, sum
    Shadow shadow = Shadow::On;
    int samples_min = 0, samples_max = 2;  // powers of four
    Rgba contrast = {0.1f, 0.1f, 0.1f, 0.1f};
    Filter filter = Filter::Box;
    std::optional<float> filter_width, filter_height;  // in pixels; not given: the natural width
    bool filter_clip = false;  // clip mitchell, clip lanczos: keep within the samples' range
    float jitter = 0;
    bool samplelock = true;
    int task_size = 0;  // 0 = automatic
    char face = 'a';    // 'f' front, 'b' back, 'a' both
    float gamma = 1;
    enum class ColorClip { Rgb, Alpha, Raw } colorclip = ColorClip::Raw;
    bool desaturate = false;
    bool premultiply = true;
    bool dither = true;
    float shutter = 0, shutter_delay = 0;
    bool motion = true;
    // Whole shader classes, switched off by "lens off" and so on.
    bool lens = true, volume = true, output = true, shadow_maps = true;
    std::map<int, std::string> frame_buffers;
    Place place;
};

// A file to write, or an output shader to call: exactly one of the two is set.
struct Output {
    std::string
        type;  // "rgba", "rgb", "a", "z", "n", "m", "tag", with optional + or -; may be empty
    std::string format;  // "png", "exr", ...; empty = by the file's extension
    std::string file;
    int quality = -1;
    std::string compression;
    ShaderList shader;
    Place place;
};

struct Camera {
    std::vector<Output> outputs;
    ShaderList lens, volume, environment;
    float focal = 1;
    bool orthographic = false;
    float aperture = 1;
    float aspect = 1.33333f;  // of the image
    int x_resolution = 768, y_resolution = 576;
    float x_offset = 0, y_offset = 0;
    std::optional<std::array<int, 4>> window;  // xl yl xh yh
    float clip_near = 0.0001f, clip_far = 1000000;
    int frame = 0;
    float frame_time = 0;
    Place place;
};

struct Light {
    ShaderList shader;
    std::optional<Vec3> origin, direction;  // origin alone = point, direction alone =
                                            // directional, both = spot; neither = point at 0
    float spread = 0;                       // cosine of half the spot's outer angle
    enum class Area { None, Rectangle, Disc, Sphere, Cylinder } area = Area::None;
    Vec3 area_u, area_v;  // rectangle: the edges; disc: u is the normal; cylinder: u is the axis
    float area_radius = 0;
    std::array<int, 2> samples = {3, 3}, low_samples = {2, 2};
    int low_level = 0;  // from this ray depth on low_samples are taken; 0 = never
    bool visible = false;
    std::uint32_t tag = 0;
    Place place;
};

struct Texture {
    enum class Kind { Color, Scalar, Vector } kind = Kind::Color;
    std::string file;           // an image file; or
    int width = 0, height = 0;  // bytes, bottom row first; or
    int depth = 1;              // bytes per component of bytes: 1, 2 or 4 (float, big-endian)
    std::vector<std::uint8_t> bytes;
    ShaderList shader;  // a texture shader
    Place place;
};

struct Material {
    bool opaque = false;
    ShaderList shader, shadow, volume, environment, displace, contour;
    Place place;
};

// Triangles of one object in object space. The arrays that are optional are empty or as long
// as position.
struct Mesh {
    std::vector<Vec3> position;
    std::vector<Vec3> normal;                // optional; (0, 0, 0) = use the triangle's own
    std::vector<std::vector<Vec3>> texture;  // one optional array a texture space
    std::vector<Vec3> motion;                // optional: displacement over the shutter interval
    std::vector<std::array<std::uint32_t, 3>> triangle;  // counter-clockwise from the front
    std::vector<std::int32_t> material;  // a triangle: tagged: its label; else an index into
                                         // Object::materials, or -1 = the instance's material
};

struct Object {
    bool visible = false, shadow = false, trace = false;
    bool tagged = false;
    char face = 'a';
    std::uint32_t tag = 0;  // the label
    std::vector<std::string> materials;
    std::vector<Place> material_places;
    std::shared_ptr<const Mesh> mesh;  // never null
    Place place;
};

struct Instance {
    std::string element;
    Matrix transform = kIdentity;  // from the parent space to the element's local space
    std::optional<Matrix> motion_transform;
    bool hide = false;
    std::optional<bool> visible, shadow, trace;
    bool override_flags = false;  // wins over flags and material of instances below
    std::vector<std::string> materials;
    std::optional<std::uint32_t> tag;
    Place place;
};

struct Group {
    std::vector<std::string> members;
    std::vector<Place> member_places;
    Place place;
};

template <typename T>
using Table = std::map<std::string, std::shared_ptr<const T>>;

// All that a scene text has defined so far. Elements share one name space: a name stands in
// one table at the most. Copies are cheap and share the elements.
struct Scene {
    std::vector<std::pair<std::string, Place>> libraries;  // of link, in order
    Table<Declaration> declarations;
    Table<Options> options;
    Table<Camera> cameras;
    Table<Light> lights;
    Table<Texture> textures;
    Table<Material> materials;
    Table<ShaderList> shaders;  // named shaders
    Table<Object> objects;
    Table<Instance> instances;
    Table<Group> groups;
};

// render "root" "camera_instance" "options"
struct RenderCommand {
    std::string root, camera, options;
    Place place;
};

}  // namespace orvane::scene
