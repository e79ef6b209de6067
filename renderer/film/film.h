// From samples to pixels: where samples are taken, how many, and how they are filtered.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "frame/state.h"
#include "image/image.h"
#include "scene/records.h"

namespace orvane::film {

// Where and when a sample is taken; x, y in pixels, origin at the lower left.
struct SamplePlace {
    float x, y;
    float time;         // 0..1 within the shutter interval
    std::uint64_t key;  // of the sample: depends on pixel and sample number alone
    int thread;         // 0 .. threads - 1
};

// What an eye sample saw; members beyond color are of what was hit first, or 0.
struct EyeSample {
    miColor color{};
    float depth = 0;    // along the viewing axis
    miVector normal{};  // in camera space
    miVector motion{};  // in pixels
    std::uint32_t label = 0;
};

struct Settings {
    int width = 0, height = 0;
    std::array<int, 4> window{};  // pixels xl yl xh yh, inclusive; what lies outside stays 0
    int samples_min = 0, samples_max = 2;  // powers of four: 4^n samples a pixel
    miColor contrast{0.1f, 0.1f, 0.1f, 0.1f};
    scene::Filter filter = scene::Filter::Box;
    std::optional<float> filter_width, filter_height;  // pixels; not given: natural width
    bool filter_clip = false;
    float jitter = 0;
    bool motion = false;  // samples are spread over the shutter interval, else all at time 0
    int tile_size = 0;    // 0 = chosen here
    std::array<bool, miFB_COUNT> wanted{};  // the buffers to make beside color
    int threads = 1;
};

// The frame buffers of a frame, indexed by miFrameBuffer. Only color is filtered; the others
// hold the first sample of each pixel, and are null when they are not wanted.
using FrameBuffers = std::array<std::unique_ptr<image::Image>, miFB_COUNT>;

// Work done so far and in all, in tiles of the current pass and over all passes so far known.
struct Progress {
    double fraction;  // 0..1
    std::uint64_t samples;
};

// Takes samples for the whole window on a pool of threads and filters them. sample is called
// from all threads at once; an exception that it throws ends the frame and is thrown on. report
// is called now and then from one of the threads. When stop becomes true no more samples are
// taken, and what has been sampled is returned.
//
// The picture depends neither on threads nor on tile_size, bit for bit: each pass over the
// frame (one a power of four) decides from the results of the pass before it alone.
FrameBuffers render_film(const Settings& settings,
                         const std::function<EyeSample(const SamplePlace&)>& sample,
                         const std::function<void(const Progress&)>& report,
                         const std::function<bool()>& stop);

}  // namespace orvane::film
