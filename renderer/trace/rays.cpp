// Ray structures over Embree: one geometry a placement, numbered like the placements.

#include "trace/rays.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

#include "scene/errors.h"
#include "world/render.h"

namespace orvane::trace {
namespace {

constexpr float kFarthest = 1e18f;

Imath::V3f position(const scene::Vec3& p) { return {p.x, p.y, p.z}; }

void set_ray(const Segment& segment, RTCRay* ray) {
    ray->org_x = segment.org.x;
    ray->org_y = segment.org.y;
    ray->org_z = segment.org.z;
    ray->dir_x = segment.dir.x;
    ray->dir_y = segment.dir.y;
    ray->dir_z = segment.dir.z;
    ray->tnear = segment.near;
    ray->tfar = segment.far;
    ray->time = segment.time;
    ray->mask = ~0u;
    ray->id = 0;
    ray->flags = 0;
}

// Whether Embree takes the ray: it wants numbers, and origins within its own limit of 1.8e18. What
// is farther away meets nothing.
bool is_sound(const Segment& segment) {
    const auto within = [](const miVector& v, float most) {
        return std::abs(v.x) < most && std::abs(v.y) < most && std::abs(v.z) < most;
    };
    return within(segment.org, kFarthest) && within(segment.dir, 2) && segment.near >= 0 &&
           segment.near < segment.far;
}

void out_of_memory(void*, RTCError code, const char* text) {
    if (code == RTC_ERROR_OUT_OF_MEMORY) throw std::bad_alloc();
    if (code == RTC_ERROR_CANCELLED) throw Stopped{};
    throw std::runtime_error(std::string("the ray structure cannot be built: ") + text);
}

void nothing(void*, RTCError, const char*) {}

// One for all frames. It is not given back: Embree wants memory for that, and ends the program
// when there is none. Embree builds on the calling thread alone: the shape of its tree, and with
// it which of two triangles on one edge a ray meets, must not depend on the number of processors.
RTCDevice the_device() {
    static const RTCDevice device = rtcNewDevice("threads=1,set_affinity=0");
    if (!device) throw std::bad_alloc();
    return device;
}

// A new scene, whose building ends with Stopped when the render is aborted.
RTCScene new_scene(RTCDevice device) {
    const RTCScene scene = rtcNewScene(device);
    rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
    rtcSetSceneProgressMonitorFunction(
        scene, [](void*, double) { return !world::render_aborted(); }, nullptr);
    return scene;
}

// Whether a face that is hit from this side is there for eye and secondary rays.
bool culled(const Shape& shape, const RTCRayHit& found) {
    if (shape.face == miFACE_BOTH) return false;
    // The normal of an instanced triangle is in object space.
    Imath::V3f dir(found.ray.dir_x, found.ray.dir_y, found.ray.dir_z);
    if (!shape.baked) shape.instance->world_to_local.multDirMatrix(dir, dir);
    float facing = dir.dot(Imath::V3f(found.hit.Ng_x, found.hit.Ng_y, found.hit.Ng_z));
    if (shape.mirrored) facing = -facing;
    return shape.face == miFACE_FRONT ? facing > 0 : facing < 0;
}

}  // namespace

Structure::Structure() : device_(the_device()) {}

Structure::Structure(const world::World& world, bool motion) : Structure() {
    rtcSetDeviceErrorFunction(device_, out_of_memory, nullptr);
    std::map<const scene::Mesh*, int> uses;
    for (const world::Placement& placement : world.placements())
        ++uses[placement.object->mesh.get()];

    shapes_.reserve(world.placements().size());
    for (const world::Placement& placement : world.placements()) {
        if (world::render_aborted()) throw Stopped{};
        const bool moves = motion && placement.instance->moves;
        add_shape(placement, uses[placement.object->mesh.get()] == 1 && !moves, motion);
        if (shapes_.back().face == miFACE_BOTH)
            shapes_.back().face = static_cast<char>(world.options().face);
    }
    commit_sets(world);
}

// Releasing may want memory itself, and must not throw when there is none.
Structure::~Structure() {
    rtcSetDeviceErrorFunction(device_, nothing, nullptr);
    for (RTCGeometry geometry : geometries_)
        if (geometry) rtcReleaseGeometry(geometry);
    for (std::size_t i = 0; i < scenes_.size(); ++i)
        if (scenes_[i]) rtcReleaseScene(scenes_[i]);
    for (auto& [mesh, object] : objects_) rtcReleaseScene(object.scene);
}

void Structure::add_shape(const world::Placement& placement, bool baked, bool motion) {
    Shape& shape = shapes_.emplace_back();
    shape.placement = &placement;
    shape.instance = placement.instance;
    shape.mesh = placement.object->mesh.get();
    shape.face = placement.face;
    shape.baked = baked;
    shape.mirrored = baked && placement.instance->local_to_world.determinant() < 0;
    shape.displaced = placement.instance->moves || !shape.mesh->motion.empty();
    shape.moves = motion && shape.displaced;
    if (shape.mesh->triangle.empty()) {
        geometries_.push_back(nullptr);
        return;
    }
    geometries_.push_back(baked ? triangles(shape, motion) : instance(shape, motion));
}

RTCGeometry Structure::triangles(Shape& shape, bool motion) {
    const scene::Mesh& mesh = *shape.mesh;
    const Imath::M44f matrix = shape.baked ? shape.instance->local_to_world : Imath::M44f();
    const bool moving = motion && !mesh.motion.empty();
    const RTCGeometry geometry = rtcNewGeometry(device_, RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetGeometryTimeStepCount(geometry, moving ? 2 : 1);
    for (unsigned step = 0; step < (moving ? 2u : 1u); ++step) {
        auto* vertices = static_cast<std::array<float, 4>*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, step, RTC_FORMAT_FLOAT3,
                                    sizeof(std::array<float, 4>), mesh.position.size()));
        for (std::size_t i = 0; i < mesh.position.size(); ++i) {
            Imath::V3f p = position(mesh.position[i]);
            if (step == 1) p += position(mesh.motion[i]);
            if (shape.baked) p = p * matrix;
            vertices[i] = {p.x, p.y, p.z, 0};
        }
        if (step == 0) shape.vertices = vertices;
    }
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                               mesh.triangle.data(), 0, sizeof mesh.triangle[0],
                               mesh.triangle.size());
    rtcCommitGeometry(geometry);
    return geometry;
}

RTCScene Structure::object_scene(Shape& shape, bool motion) {
    const auto known = objects_.find(shape.mesh);
    if (known != objects_.end()) {
        shape.vertices = known->second.vertices;
        return known->second.scene;
    }
    ObjectScene& made = objects_[shape.mesh] = {new_scene(device_), nullptr};
    const RTCGeometry geometry = triangles(shape, motion);
    made.vertices = shape.vertices;
    rtcAttachGeometry(made.scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(made.scene);
    return made.scene;
}

RTCGeometry Structure::instance(Shape& shape, bool motion) {
    const RTCGeometry geometry = rtcNewGeometry(device_, RTC_GEOMETRY_TYPE_INSTANCE);
    rtcSetGeometryInstancedScene(geometry, object_scene(shape, motion));
    const bool moves = motion && shape.instance->moves;
    rtcSetGeometryTimeStepCount(geometry, moves ? 2 : 1);
    const auto set = [geometry](unsigned step, const Imath::M44f& m) {
        rtcSetGeometryTransform(geometry, step, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, m.getValue());
    };
    set(0, shape.instance->local_to_world);
    if (moves) set(1, shape.instance->motion_local_to_world);
    rtcCommitGeometry(geometry);
    return geometry;
}

// One scene serves all kinds of rays that see the same objects.
void Structure::commit_sets(const world::World& world) {
    std::array<std::vector<unsigned>, 3> sets;
    for (unsigned i = 0; i < shapes_.size(); ++i) {
        const world::Placement& placement = world.placements()[i];
        if (!geometries_[i]) continue;
        if (placement.visible) sets[0].push_back(i);
        if (placement.trace) sets[1].push_back(i);
        if (!placement.shadow) continue;
        sets[2].push_back(i);
        const auto asks = [](const world::Material* material) {
            return material && !material->blocks();
        };
        asks_shaders_ = asks_shaders_ || asks(placement.inherited) ||
                        std::any_of(placement.materials.begin(), placement.materials.end(), asks);
    }
    for (std::size_t kind = 0; kind < 3; ++kind) {
        const auto same =
            std::find(sets.begin(), sets.begin() + static_cast<long>(kind), sets[kind]) -
            sets.begin();
        if (sets[kind].empty()) continue;
        if (static_cast<std::size_t>(same) < kind) {
            scenes_[kind] = scenes_[static_cast<std::size_t>(same)];
            rtcRetainScene(scenes_[kind]);
            continue;
        }
        const RTCScene scene = scenes_[kind] = new_scene(device_);
        for (const unsigned i : sets[kind]) rtcAttachGeometryByID(scene, geometries_[i], i);
        rtcCommitScene(scene);
        RTCBounds bounds;
        rtcGetSceneBounds(scene, &bounds);
        for (const float extent : {bounds.lower_x, bounds.lower_y, bounds.lower_z, bounds.upper_x,
                                   bounds.upper_y, bounds.upper_z})
            radius_ = std::max(radius_, std::abs(extent) * 1.7320509f);
    }
}

bool Structure::closest(Rays rays, const Segment& segment, Hit* hit) const {
    const RTCScene scene = this->scene(rays);
    if (!scene || !is_sound(segment)) return false;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit found;
    set_ray(segment, &found.ray);
    for (;;) {
        found.hit.geomID = found.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scene, &context, &found);
        if (found.hit.geomID == RTC_INVALID_GEOMETRY_ID) return false;
        const unsigned number =
            found.hit.instID[0] != RTC_INVALID_GEOMETRY_ID ? found.hit.instID[0] : found.hit.geomID;
        const Shape& shape = shapes_[number];
        const bool left = &shape == segment.skip_shape && found.hit.primID == segment.skip_triangle;
        if (!left && (rays == Rays::Shadow || !culled(shape, found))) {
            *hit = {&shape, found.hit.primID, found.ray.tfar + segment.ahead, found.hit.u,
                    found.hit.v};
            return true;
        }
        // Go on behind what is not there for this ray.
        found.ray.tnear = std::nextafter(found.ray.tfar, std::numeric_limits<float>::infinity());
        found.ray.tfar = segment.far;
        if (!(found.ray.tnear < found.ray.tfar)) return false;
    }
}

bool Structure::blocked(const Segment& segment) const {
    const RTCScene scene = this->scene(Rays::Shadow);
    if (!scene || !is_sound(segment)) return false;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRay ray;
    set_ray(segment, &ray);
    rtcOccluded1(scene, &context, &ray);
    return ray.tfar < 0;
}

}  // namespace orvane::trace
