// What a shaded sample costs beside the rays that it needs.
//
// One scene of about 100,000 triangles in view, a material with one light and its shadow ray.
// (a) bare ray structure calls for the same primary and shadow rays, on one thread;
// (b) the same samples through the renderer: state, material, mi_trace_light, Orvane_Light,
//     mi_trace_shadow; on one thread, and the whole frame on one and on two threads.
// The passes alternate; the least time of each is taken.

#include <embree3/rtcore.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "film/film.h"
#include "harness.h"
#include "numeric/noise.h"

using namespace orvane;

namespace {

constexpr int kWidth = 640, kHeight = 480;
constexpr int kGrid = 224;  // 2 * 224^2 = 100,352 triangles
constexpr int kPasses = 15;

// A hilly square that fills the view.
scene::Vec3 hill(int i, int j) {
    const float x = 8.0f * static_cast<float>(i) / kGrid - 4;
    const float y = 8.0f * static_cast<float>(j) / kGrid - 4;
    const float z = 0.6f * numeric::noise_3d(x * 1.3f, y * 1.3f, 0.5f) +
                    0.1f * numeric::noise_3d(x * 9, y * 9, 1.5f);
    return {x, y, z};
}

std::string terrain() {
    std::string vertices, triangles;
    char line[160];
    for (int j = 0; j <= kGrid; ++j)
        for (int i = 0; i <= kGrid; ++i) {
            const scene::Vec3 p = hill(i, j), e = hill(i + 1, j), n = hill(i, j + 1);
            const miVector normal = normalized(
                cross({e.x - p.x, e.y - p.y, e.z - p.z}, {n.x - p.x, n.y - p.y, n.z - p.z}));
            std::snprintf(line, sizeof line, "%g %g %g %g %g %g\n", static_cast<double>(p.x),
                          static_cast<double>(p.y), static_cast<double>(p.z),
                          static_cast<double>(normal.x), static_cast<double>(normal.y),
                          static_cast<double>(normal.z));
            vertices += line;
        }
    for (int j = 0; j < kGrid; ++j)
        for (int i = 0; i < kGrid; ++i) {
            const int a = j * (kGrid + 1) + i, b = a + kGrid + 1;
            std::snprintf(line, sizeof line, "0 %d %d %d 0 %d %d %d\n", a, a + 1, b + 1, a, b + 1,
                          b);
            triangles += line;
        }
    return "object \"hills\" visible on shadow on trace on tagged on\ntrilist vertex " +
           std::to_string((kGrid + 1) * (kGrid + 1)) + " p n triangle " +
           std::to_string(2 * kGrid * kGrid) + "\n" + vertices + triangles +
           "end trilist\nend object\n";
}

std::string scene_text() {
    return R"(link "orvane.so"
$include "orvane.mi"
$include "soft.mi"
options "o" samples 0 0 trace depth 1 1 1 shadow on object space end options
camera "c" focal 1 aperture 1 aspect 1.3333 resolution 640 480 end camera
instance "ci" "c" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 0 -5 1 end instance
light "l" "Orvane_Light" ( "color" 1 1 1 1, "intensity" 1.0, "shadow" on ) origin 0 0 0 end light
instance "li" "l" transform 1 0 0 0  0 1 0 0  0 0 1 0  -3 -2 -3 1 end instance
material "m" opaque "soft_material" ( "diffuse" .7 .7 .7 1, "light" [ "li" ] ) end material
)" + terrain() +
           R"(instance "hi" "hills" material [ "m" ] end instance
instgroup "root" "ci" "li" "hi" end instgroup
render "root" "ci" "o"
)";
}

struct Primary {
    miVector org, dir;
};

RTCRay to_ray(const miVector& org, const miVector& dir, float near, float far) {
    return {org.x, org.y, org.z, near, dir.x, dir.y, dir.z, 0, far, ~0u, 0, 0};
}

// The bare structure: one geometry, robust, as the renderer builds it.
class Bare {
  public:
    Bare() : device_(rtcNewDevice("threads=1")), scene_(rtcNewScene(device_)) {
        rtcSetSceneFlags(scene_, RTC_SCENE_FLAG_ROBUST);
        const RTCGeometry geometry = rtcNewGeometry(device_, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* p = static_cast<float*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 16,
                                    static_cast<std::size_t>((kGrid + 1) * (kGrid + 1))));
        for (int j = 0; j <= kGrid; ++j)
            for (int i = 0; i <= kGrid; ++i, p += 4) {
                const scene::Vec3 v = hill(i, j);
                p[0] = v.x, p[1] = v.y, p[2] = v.z;
            }
        auto* t = static_cast<unsigned*>(
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 12,
                                    static_cast<std::size_t>(2 * kGrid * kGrid)));
        for (unsigned j = 0; j < kGrid; ++j)
            for (unsigned i = 0; i < kGrid; ++i, t += 6) {
                const unsigned a = j * (kGrid + 1) + i, b = a + kGrid + 1;
                t[0] = a, t[1] = a + 1, t[2] = b + 1, t[3] = a, t[4] = b + 1, t[5] = b;
            }
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene_, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene_);
    }
    ~Bare() {
        rtcReleaseScene(scene_);
        rtcReleaseDevice(device_);
    }

    // A primary ray, and from what it meets a shadow ray to the light; 1 when lit.
    int trace(const Primary& primary, const miVector& light) const {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRayHit found{to_ray(primary.org, primary.dir, 0, 1e30f), {}};
        found.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scene_, &context, &found);
        if (found.hit.geomID == RTC_INVALID_GEOMETRY_ID) return 0;
        const miVector p = primary.org + primary.dir * found.ray.tfar;
        const miVector way = light - p;
        const float dist = length(way);
        RTCRay ray = to_ray(p, way * (1 / dist), 1e-4f, dist);
        rtcOccluded1(scene_, &context, &ray);
        return ray.tfar >= 0;
    }

  private:
    RTCDevice device_;
    RTCScene scene_;
};

void measure(trace::Frame& frame) {
    std::vector<Primary> primaries;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            Primary& primary = primaries.emplace_back();
            trace::eye_ray(frame.world, static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f,
                           &primary.org, &primary.dir);
        }
    const Bare bare;
    const miVector light = {3, 2, 3};
    double rays = 1e9, shaded = 1e9, one = 1e9, two = 1e9;
    long lit = 0;
    float sum = 0;
    film::Settings settings;
    settings.width = kWidth, settings.height = kHeight;
    settings.window = {0, 0, kWidth - 1, kHeight - 1};
    settings.samples_min = settings.samples_max = 0;
    const auto whole = [&](int threads) {
        settings.threads = threads;
        return bench::seconds_of([&] {
            film::render_film(
                settings,
                [&frame](const film::SamplePlace& at) {
                    const trace::Seen seen = frame.see(at.x, at.y, at.time, at.key, at.thread);
                    return film::EyeSample{seen.color, seen.depth, seen.normal, seen.motion,
                                           seen.label};
                },
                [](const film::Progress&) {}, [] { return false; });
        });
    };
    for (int pass = 0; pass < kPasses; ++pass) {
        rays = std::min(rays, bench::seconds_of([&] {
                            for (const Primary& primary : primaries)
                                lit += bare.trace(primary, light);
                        }));
        shaded = std::min(shaded, bench::seconds_of([&] {
                              for (int y = 0; y < kHeight; ++y)
                                  for (int x = 0; x < kWidth; ++x)
                                      sum += frame
                                                 .see(static_cast<float>(x) + 0.5f,
                                                      static_cast<float>(y) + 0.5f, 0, 0, 0)
                                                 .color.r;
                          }));
        one = std::min(one, whole(1));
        two = std::min(two, whole(2));
    }
    const double samples = kWidth * kHeight;
    std::printf("rays alone        %7.1f ns a sample (%ld lit)\n", 1e9 * rays / samples,
                lit / kPasses);
    std::printf("shaded sample     %7.1f ns a sample (mean %.4f)   %.2f times the rays\n",
                1e9 * shaded / samples, static_cast<double>(sum) / samples / kPasses,
                shaded / rays);
    std::printf("frame, 1 thread   %7.1f ns a sample\n", 1e9 * one / samples);
    std::printf("frame, 2 threads  %7.1f ns a sample   %.2f times as fast as one\n",
                1e9 * two / samples, one / two);
}

}  // namespace

int main() { bench::with_frame(scene_text(), measure); }
