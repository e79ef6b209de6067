// The passes over a frame: samples where they are wanted, then pixels.
#include "film/film.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>

#include "film/filter.h"
#include "film/lattice.h"
#include "film/pattern.h"
#include "film/samples.h"
#include "film/tiles.h"

namespace orvane::film {

namespace {

// 4^8 samples a pixel, or one for 256 x 256 pixels, are more than anyone has a use for.
constexpr int kMostLevel = 8;
constexpr float kMostFilterWidth = 64;
constexpr std::chrono::milliseconds kReportInterval{100};

Rect frame_of(const Settings& settings) { return {0, 0, settings.width, settings.height}; }

Rect window_of(const Settings& settings) {
    return {std::max(settings.window[0], 0), std::max(settings.window[1], 0),
            std::min(settings.window[2], settings.width - 1) + 1,
            std::min(settings.window[3], settings.height - 1) + 1};
}

Kernel kernel_of(const Settings& settings) {
    const auto width = [&](const std::optional<float>& given) {
        const bool usable = given && *given > 0;
        return usable ? std::min(*given, kMostFilterWidth) : natural_width(settings.filter);
    };
    return {settings.filter, width(settings.filter_width), width(settings.filter_height),
            settings.filter_clip};
}

// The settings with all that is out of range brought into it.
Settings usable(Settings settings) {
    settings.samples_min = std::clamp(settings.samples_min, -kMostLevel, kMostLevel);
    settings.samples_max = std::clamp(settings.samples_max, settings.samples_min, kMostLevel);
    settings.jitter = settings.jitter > 0 ? std::min(settings.jitter, 1.0f) : 0;
    settings.threads = std::max(settings.threads, 1);
    return settings;
}

// A box of one pixel takes the mean of each pixel's own samples.
bool is_plain_mean(const Kernel& kernel) {
    return kernel.shape == scene::Filter::Box && kernel.width == 1 && kernel.height == 1;
}

float finite(float x) { return std::isfinite(x) ? x : 0; }
miVector finite(const miVector& v) { return {finite(v.x), finite(v.y), finite(v.z)}; }
miColor finite(const miColor& c) { return {finite(c.r), finite(c.g), finite(c.b), finite(c.a)}; }

// A position in the frame that stays within its pixel when it is rounded.
float in_frame(int pixel, float offset) {
    const float first = static_cast<float>(pixel);
    return std::min(first + offset, std::nextafter(first + 1, first));
}

FrameBuffers make_buffers(const Settings& settings) {
    FrameBuffers buffers;
    for (std::size_t i = 0; i < buffers.size(); ++i)
        if (i == miFB_COLOR || settings.wanted[i])
            buffers[i] = std::make_unique<image::Image>(settings.width, settings.height);
    return buffers;
}

using SampleFunction = std::function<EyeSample(const SamplePlace&)>;
using ReportFunction = std::function<void(const Progress&)>;
using StopFunction = std::function<bool()>;
using Wanted = std::vector<std::uint8_t>;  // for each pixel of the window: not 0 = sample it

// Tells of the progress from time to time. Each pass is taken to be as long as any other.
class Reporter {
  public:
    Reporter(const ReportFunction& report, int passes) : report_(report), passes_(passes) {}

    void begin_pass(std::size_t tiles) {
        ++pass_;
        tiles_ = tiles;
        tiles_done_ = 0;
    }
    void add_samples(std::uint64_t samples) { samples_ += samples; }
    void end_tile() { ++tiles_done_; }

    // Called by all threads; reports when none did for a while.
    void tell() {
        const std::unique_lock lock(mutex_, std::try_to_lock);
        if (!lock || Clock::now() - last_ < kReportInterval) return;
        const double done = static_cast<double>(tiles_done_) / static_cast<double>(tiles_);
        report_({(pass_ - 1 + done) / passes_, samples_});
        last_ = Clock::now();
    }
    void tell_end() { report_({1, samples_}); }

  private:
    using Clock = std::chrono::steady_clock;
    const ReportFunction& report_;
    int passes_, pass_ = 0;
    std::size_t tiles_ = 1;
    std::atomic<std::size_t> tiles_done_ = 0;
    std::atomic<std::uint64_t> samples_ = 0;
    std::mutex mutex_;
    Clock::time_point last_ = Clock::now();
};

// One frame while it is sampled.
class Film {
  public:
    Film(const Settings& settings, const SampleFunction& sample, const ReportFunction& report,
         const StopFunction& stop)
        : settings_(settings),
          sample_(sample),
          stop_(stop),
          base_level_(std::max(settings.samples_min, 0)),
          top_level_(std::max(settings.samples_max, 0)),
          kernel_(kernel_of(settings)),
          pattern_(top_level_, settings.jitter),
          finished_(pixels_in_reach()),
          samples_(sampled_pixels(), base_level_, !is_plain_mean(kernel_)),
          tiles_(cut_into_tiles(samples_.window(), settings.tile_size, settings.threads)),
          reporter_(report, 1 + settings.samples_max - settings.samples_min),
          buffers_(make_buffers(settings)) {}

    FrameBuffers render() {
        if (is_lattice()) {
            sample_lattice();
        } else {
            sample_pass(Wanted(pixels(), 1), base_level_);
            refine();
        }
        filter();
        clear_margin();
        reporter_.tell_end();
        return std::move(buffers_);
    }

  private:
    std::size_t pixels() const {
        return samples_.index(samples_.window().x0, samples_.window().y1);
    }

    bool is_lattice() const { return settings_.samples_min < 0; }
    int spacing() const { return 1 << -settings_.samples_min; }

    // The window has the pixels of the whole frame: samples are taken around it, too, where they
    // matter. All that the filter reaches to and that is interpolated between must be as in the
    // whole.
    Rect pixels_in_reach() const {
        const Rect frame = frame_of(settings_);
        const bool plain = is_plain_mean(kernel_);
        const Rect reached = grown(window_of(settings_), plain ? 0 : reach(kernel_.width),
                                   plain ? 0 : reach(kernel_.height), frame);
        return is_lattice() ? Lattice::blocks_at(reached, spacing(), frame) : reached;
    }

    // The pixels that must have got what a level asks for: each level decides by the neighbours
    // that the one before has left.
    Rect pixels_at(int level) const {
        const int levels = top_level_ - level;
        return grown(finished_, levels, levels, frame_of(settings_));
    }

    Rect sampled_pixels() const {
        const Rect first = pixels_at(base_level_);
        return is_lattice() ? Lattice::blocks_at(first, spacing(), frame_of(settings_)) : first;
    }

    void sample_lattice() {
        Lattice lattice(samples_.window(), spacing());
        const int finest = std::min(settings_.samples_max, 0);
        for (int level = settings_.samples_min; level <= finest && !halted_; ++level) {
            if (level > settings_.samples_min) lattice.split(samples_, settings_.contrast);
            Wanted wanted(pixels(), 0);
            if (lattice.mark_corners(samples_, wanted)) sample_pass(wanted, 0);
        }
        refine();

        lattice.fill(samples_, [&](int x, int y, int from_x, int from_y) {
            for (std::size_t i = miFB_DEPTH; i < buffers_.size(); ++i)
                if (buffers_[i]) buffers_[i]->at(x, y) = buffers_[i]->at(from_x, from_y);
        });
    }

    void refine() {
        for (int level = base_level_; level < settings_.samples_max && !halted_; ++level) {
            const Wanted wanted = pixels_to_refine(level);
            if (std::find(wanted.begin(), wanted.end(), 1) == wanted.end()) return;
            sample_pass(wanted, level + 1);
        }
    }

    // The pixels of a level that are to be raised to the next one.
    Wanted pixels_to_refine(int level) const {
        Wanted wanted(pixels(), 0);
        const Rect needed = pixels_at(level + 1);
        for_each_tile(tiles_, settings_.threads, [&](const Rect& tile, int) {
            for (int y = tile.y0; y < tile.y1; ++y)
                for (int x = tile.x0; x < tile.x1; ++x)
                    wanted[samples_.index(x, y)] = needed.contains(x, y) && is_rough(x, y, level);
        });
        return wanted;
    }

    // Whether a pixel's samples differ by more than the contrast, or an edge may have passed
    // between them. At the base level that is so when those of a neighbour differ from them. Later
    // only when the edge was found in the neighbour, and would show: what lies beyond all samples
    // of a pixel is about one sample's share of it.
    bool is_rough(int x, int y, int level) const {
        const std::size_t pixel = samples_.index(x, y);
        if (samples_.level(pixel) != level) return false;
        const Range& own = samples_.range(pixel);
        if (own.exceeds(settings_.contrast)) return true;

        const float shares = static_cast<float>(samples_of(level - base_level_));
        const auto differs_from = [&](int nx, int ny) {
            const std::size_t neighbour = samples_.index(nx, ny);
            if (!samples_.has_samples(neighbour)) return false;
            Range range = samples_.range(neighbour);
            if (level > base_level_ && !range.exceeds(settings_.contrast)) return false;
            range.include(own);
            return range.exceeds(settings_.contrast, shares);
        };
        // Four are enough for straight edges: one that parts a pixel's corner from its middle has
        // the middle of one of them on its other side.
        const Rect& window = samples_.window();
        return (x > window.x0 && differs_from(x - 1, y)) ||
               (x + 1 < window.x1 && differs_from(x + 1, y)) ||
               (y > window.y0 && differs_from(x, y - 1)) ||
               (y + 1 < window.y1 && differs_from(x, y + 1));
    }

    // Raises all wanted pixels to a level.
    void sample_pass(const Wanted& wanted, int level) {
        samples_.reserve(wanted, level);
        reporter_.begin_pass(tiles_.size());
        for_each_tile(tiles_, settings_.threads, [&](const Rect& tile, int thread) {
            try {
                sample_tile(tile, wanted, level, thread);
            } catch (...) {
                halted_ = true;
                throw;
            }
        });
    }

    void sample_tile(const Rect& tile, const Wanted& wanted, int level, int thread) {
        for (int y = tile.y0; y < tile.y1; ++y) {
            std::uint64_t taken = 0;
            for (int x = tile.x0; x < tile.x1; ++x) {
                const std::size_t pixel = samples_.index(x, y);
                if (!wanted[pixel]) continue;
                if (stop_()) halted_ = true;
                if (halted_) {
                    reporter_.add_samples(taken);
                    return;
                }
                taken += sample_pixel(x, y, level, thread);
            }
            reporter_.add_samples(taken);
            reporter_.tell();
        }
        reporter_.end_tile();
    }

    // A pixel whose samples are cut short keeps those of its last level: the rays of a stopped
    // render come back without an answer.
    std::uint32_t sample_pixel(int x, int y, int level, int thread) {
        const std::size_t pixel = samples_.index(x, y);
        const std::uint64_t key = pixel_key(x, y);
        const std::uint32_t first =
            samples_.has_samples(pixel) ? samples_of(samples_.level(pixel)) : 0;
        for (std::uint32_t number = first; number < samples_of(level); ++number) {
            const std::uint64_t sample = sample_key(key, number);
            const Offset offset = pattern_.position(sample, number);
            const float time = settings_.motion ? sample_time(key, number) : 0;
            const EyeSample seen =
                sample_({in_frame(x, offset.x), in_frame(y, offset.y), time, sample, thread});
            if (stop_()) halted_ = true;
            if (halted_) return 0;
            samples_.add(pixel, number, finite(seen.color));
            if (number == 0) write_buffers(x, y, seen);
        }
        samples_.set_level(pixel, level);
        return samples_of(level) - first;
    }

    void write_buffers(int x, int y, const EyeSample& seen) {
        const miVector normal = finite(seen.normal), motion = finite(seen.motion);
        const auto write = [&](miFrameBuffer buffer, const miColor& value) {
            if (buffers_[buffer]) buffers_[buffer]->at(x, y) = value;
        };
        write(miFB_DEPTH, {finite(seen.depth), 0, 0, 0});
        write(miFB_NORMAL, {normal.x, normal.y, normal.z, 0});
        write(miFB_MOTION, {motion.x, motion.y, motion.z, 0});
        write(miFB_LABEL, {static_cast<float>(seen.label), 0, 0, 0});
    }

    void filter() {
        image::Image& image = *buffers_[miFB_COLOR];
        const std::vector<Rect> tiles =
            cut_into_tiles(window_of(settings_), settings_.tile_size, settings_.threads);
        for_each_tile(tiles, settings_.threads, [&](const Rect& tile, int) {
            if (!is_plain_mean(kernel_)) {
                filter_tile(samples_, pattern_, kernel_, tile, image);
                return;
            }
            for (int y = tile.y0; y < tile.y1; ++y)
                for (int x = tile.x0; x < tile.x1; ++x)
                    image.at(x, y) = samples_.mean(samples_.index(x, y));
        });
    }

    // What was sampled around the window only.
    void clear_margin() {
        const Rect window = window_of(settings_), &sampled = samples_.window();
        for (const auto& buffer : buffers_)
            for (int y = sampled.y0; buffer && y < sampled.y1; ++y)
                for (int x = sampled.x0; x < sampled.x1; ++x)
                    if (!window.contains(x, y)) buffer->at(x, y) = {};
    }

    const Settings& settings_;
    const SampleFunction& sample_;
    const StopFunction& stop_;
    int base_level_, top_level_;  // of samples in a pixel
    Kernel kernel_;
    Pattern pattern_;
    Rect finished_;  // where pixels are as in the whole frame
    Samples samples_;
    std::vector<Rect> tiles_;
    Reporter reporter_;
    FrameBuffers buffers_;
    std::atomic<bool> halted_ = false;
};

}  // namespace

FrameBuffers render_film(const Settings& settings, const SampleFunction& sample,
                         const ReportFunction& report, const StopFunction& stop) {
    if (window_of(settings).empty()) return make_buffers(settings);
    const Settings checked = usable(settings);
    return Film(checked, sample, report, stop).render();
}

}  // namespace orvane::film
