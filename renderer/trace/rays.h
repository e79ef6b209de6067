// The ray structures of a frame: which triangle a ray meets.
#pragma once

#include <embree3/rtcore.h>

#include <array>
#include <map>
#include <memory>
#include <vector>

#include "frame/host.h"
#include "world/world.h"

namespace orvane::trace {

// Who sees an object: each of the three has its own set of objects.
enum class Rays { Eye, Secondary, Shadow };

// What a ray met.
struct Hit {
    const struct Shape* shape = nullptr;
    unsigned triangle = 0;
    float t = 0;         // distance from the ray's origin
    float u = 0, v = 0;  // weights of the triangle's second and third corner
};

// A placement with its triangles as the ray structure holds them.
struct Shape {
    const world::Placement* placement = nullptr;
    const world::Instance* instance = nullptr;
    const scene::Mesh* mesh = nullptr;
    const std::array<float, 4>* vertices =
        nullptr;             // in world space if baked, else in object space
    bool baked = false;      // the only placement of its mesh, and it does not move
    bool mirrored = false;   // baked with a transform that turns the triangles around
    bool displaced = false;  // its points have a motion vector
    bool moves = false;      // and are where the ray's time puts them
    char face = 'a';
};

struct Segment {
    miVector org, dir;
    float near, far;
    float time;
    float ahead;             // of the ray's own origin along dir: hits are measured from there
    const void* skip_shape;  // with skip_triangle: the triangle that the ray leaves, or null
    unsigned skip_triangle;
};

class Structure {
  public:
    // Builds over all placements of the world. The time interval is that of the shutter when
    // motion is set. Throws std::bad_alloc when there is no memory, Stopped when the render is
    // aborted.
    Structure(const world::World& world, bool motion);
    ~Structure();
    Structure(const Structure&) = delete;
    Structure& operator=(const Structure&) = delete;

    // The nearest hit within the segment, faces that cannot be seen left out.
    bool closest(Rays rays, const Segment& segment, Hit* hit) const;

    // Whether anything that casts shadows lies within the segment.
    bool blocked(const Segment& segment) const;

    // Whether some caster must be asked by its shadow shader what passes.
    bool asks_shaders() const { return asks_shaders_; }
    // Whether there is anything that casts shadows.
    bool casts() const { return scene(Rays::Shadow) != nullptr; }
    // Radius about the origin that holds all objects.
    float radius() const { return radius_; }

  private:
    Structure();  // without anything in it; its destructor takes back what the other one has made
    RTCScene scene(Rays rays) const { return scenes_[static_cast<std::size_t>(rays)]; }
    void add_shape(const world::Placement& placement, bool baked, bool motion);
    RTCGeometry triangles(Shape& shape, bool motion);
    RTCGeometry instance(Shape& shape, bool motion);
    RTCScene object_scene(Shape& shape, bool motion);
    void commit_sets(const world::World& world);

    RTCDevice device_ = nullptr;
    std::array<RTCScene, 3> scenes_{};
    std::vector<Shape> shapes_;
    std::vector<RTCGeometry> geometries_;  // one a shape
    struct ObjectScene {
        RTCScene scene;
        const std::array<float, 4>* vertices;
    };
    std::map<const scene::Mesh*, ObjectScene> objects_;
    bool asks_shaders_ = false;
    float radius_ = 0;
};

}  // namespace orvane::trace
