// Whole frames of scenes that are functions of the position.
#include "film/film.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <map>
#include <mutex>

#include "film/filter.h"

namespace orvane::film {
namespace {

using scene::Filter;
using testing::FieldsAre;
using Scene = std::function<EyeSample(const SamplePlace&)>;
constexpr Filter kFilters[] = {Filter::Box, Filter::Triangle, Filter::Gauss, Filter::Mitchell,
                               Filter::Lanczos};

Settings frame(int width, int height, int samples_min, int samples_max) {
    Settings settings;
    settings.wanted.fill(true);
    settings.width = width;
    settings.height = height;
    settings.window = {0, 0, width - 1, height - 1};
    settings.samples_min = samples_min;
    settings.samples_max = samples_max;
    return settings;
}

EyeSample grey(float value) {
    EyeSample seen;
    seen.color = {value, value, value, 1};
    return seen;
}

FrameBuffers render(const Settings& settings, const Scene& scene) {
    return render_film(
        settings, scene, [](const Progress&) {}, [] { return false; });
}

const image::Image& color(const FrameBuffers& buffers) { return *buffers[miFB_COLOR]; }

// Dark below the line x + slope y = at, bright above.
Scene edge(float at, float slope) {
    return [=](const SamplePlace& p) { return grey(p.x + slope * p.y < at ? 0.0f : 1.0f); };
}

// A scene with edges, gradients, highlights and something that depends on key and time.
EyeSample busy(const SamplePlace& p) {
    EyeSample seen = grey(std::hypot(p.x - 20, p.y - 14) < 9 ? 3.0f : p.x / 60);
    seen.color.g += static_cast<float>(p.key % 64) / 512 + p.time / 4;
    seen.depth = p.x;
    seen.label = static_cast<std::uint32_t>(p.y);
    return seen;
}

// The number of samples of each pixel, and of all.
struct Counts {
    Counts(const Settings& settings, const Scene& scene) {
        std::mutex mutex;
        render(settings, [&](const SamplePlace& p) {
            const std::lock_guard lock(mutex);
            ++pixels[{static_cast<int>(p.x), static_cast<int>(p.y)}];
            ++total;
            return scene(p);
        });
    }
    int at(int x, int y) const { return pixels.contains({x, y}) ? pixels.at({x, y}) : 0; }

    std::map<std::pair<int, int>, int> pixels;
    int total = 0;
};

// Where two sets of buffers differ in a bit within a window, in words; "" when nowhere.
std::string difference(const FrameBuffers& a, const FrameBuffers& b, std::array<int, 4> window) {
    for (std::size_t i = 0; i < a.size(); ++i)
        for (int y = 0; y < a[i]->height(); ++y)
            for (int x = 0; x < a[i]->width(); ++x) {
                const bool inside =
                    x >= window[0] && x <= window[2] && y >= window[1] && y <= window[3];
                const miColor wanted = inside ? a[i]->at(x, y) : miColor{};
                if (std::memcmp(&wanted, &b[i]->at(x, y), sizeof wanted) == 0) continue;
                return std::to_string(i) + " at " + std::to_string(x) + ' ' + std::to_string(y);
            }
    return "";
}

TEST(Film, RefinesEdgesAndNothingElse) {
    // The edge runs exactly between two columns of pixels, then through one.
    for (const float at : {8.0f, 8.3f}) {
        const Counts counts(frame(16, 8, 0, 2), edge(at, 0));
        for (int y = 0; y < 8; ++y) {
            EXPECT_EQ(counts.at(8, y), at == 8 ? 4 : 16) << at;
            EXPECT_EQ(counts.at(2, y) + counts.at(13, y), 2);
        }
    }
    // Differences beyond white and differences below the contrast do not count.
    const auto bright = [](const SamplePlace& p) { return grey(1 + p.x); };
    const auto faint = [](const SamplePlace& p) { return grey(p.x < 8 ? 0.0f : 0.09f); };
    EXPECT_EQ(Counts(frame(16, 8, 0, 2), bright).total, 16 * 8);
    EXPECT_EQ(Counts(frame(16, 8, 0, 2), faint).total, 16 * 8);

    // From a coarse lattice, columns 0, 4, 8, 10 and rows 0, 4, 6, edges are followed down.
    EXPECT_EQ(Counts(frame(11, 7, -2, 0), faint).total, 12);
    EXPECT_EQ(Counts(frame(1, 1, -2, -1), faint).total, 1);
    const Counts fine(frame(33, 33, -2, 1), edge(14.4f, 0));
    for (int y = 0; y < 33; ++y) EXPECT_EQ(fine.at(14, y), 4) << y;
    EXPECT_EQ(fine.at(22, 5), 0);
}

// Windows within the frame, at its edges, of one pixel and of one row have the pixels of the
// whole; the number of threads and the size of tiles change nothing.
TEST(Film, ThePictureDependsOnNeitherThreadsNorTilesNorTheWindow) {
    constexpr std::array<int, 4> kAll = {0, 0, 42, 30};
    constexpr std::array<int, 4> kWindows[] = {
        {11, 7, 30, 20}, {0, 0, 16, 16}, {16, 8, 42, 99}, {20, 5, 20, 5}, {3, 16, 40, 16}};
    const std::pair<int, int> kThreadsAndTiles[] = {{2, 8}, {3, 64}, {8, 5}, {8, 0}};
    for (const Filter filter : kFilters)
        for (const auto& [low, high] : {std::pair(-3, 1), {-2, -1}, {0, 0}, {0, 2}, {1, 2}}) {
            Settings settings = frame(43, 31, low, high);
            settings.filter = filter;
            settings.jitter = 0.7f;
            settings.motion = true;
            const FrameBuffers whole = render(settings, busy);
            for (const auto& [threads, tile] : kThreadsAndTiles) {
                settings.threads = threads;
                settings.tile_size = tile;
                ASSERT_EQ(difference(whole, render(settings, busy), kAll), "") << threads;
            }
            for (const std::array<int, 4>& window : kWindows) {
                settings.window = window;
                ASSERT_EQ(difference(whole, render(settings, busy), window), "") << low;
            }
        }
    Settings settings = frame(20, 10, 0, 0);
    settings.window = {3, 3, 1, 1};
    EXPECT_EQ(Counts(settings, busy).total, 0);
}

TEST(Film, ACoarseLatticeInterpolatesWhatIsSmooth) {
    const auto slope = [](const SamplePlace& p) { return grey(p.x * 0.01f); };
    const FrameBuffers buffers = render(frame(11, 7, -2, 0), slope);
    for (int x = 0; x < 11; ++x) EXPECT_NEAR(color(buffers).at(x, 5).r, (x + 0.5) * 0.01, 1e-6);
}

TEST(Film, NothingIsStoredThatIsNotFinite) {
    for (const float wild : {NAN, INFINITY}) {
        const FrameBuffers buffers = render(frame(1, 1, 1, 1), [&](const SamplePlace&) {
            EyeSample seen = grey(0.5f);
            seen.color.g = seen.normal.y = wild;
            return seen;
        });
        EXPECT_THAT(color(buffers).at(0, 0), FieldsAre(0.5f, 0, 0.5f, 1));
        EXPECT_EQ(buffers[miFB_NORMAL]->at(0, 0).g, 0);
    }
}

TEST(Film, StoppingKeepsWhatIsDone) {
    for (const int low : {-1, 0}) {
        Settings settings = frame(32, 32, low, 2);
        settings.filter = Filter::Mitchell;
        settings.tile_size = 8;
        int taken = 0;
        double told = 0;
        const FrameBuffers buffers = render_film(
            settings, [&](const SamplePlace&) { return ++taken, grey(0.5f); },
            [&](const Progress& progress) { told = progress.fraction; },
            [&] { return taken >= 100; });
        EXPECT_TRUE(taken == 100 && told == 1);
        EXPECT_EQ(color(buffers).at(0, 0).r - color(buffers).at(31, 31).r, 0.5f);
    }
}

// The weights of pixels at unit distances sum up to nearly the same wherever they lie.
TEST(Filter, KernelsKeepTheMeanAndEndAtZero) {
    for (const Filter filter : kFilters) {
        const auto sum = [&](float shift) {
            float weights = 0;
            for (float x = -4; x <= 4; ++x)
                weights += weight(filter, (x + shift) / (natural_width(filter) / 2));
            return weights;
        };
        const bool box = filter == Filter::Box;
        for (const float shift : {0.1f, 0.25f, 0.4f, 0.5f})
            EXPECT_NEAR(sum(shift) / sum(0), 1, box ? 0 : 0.04) << static_cast<int>(filter);
        EXPECT_EQ(weight(filter, 1), 0);
        EXPECT_NEAR(weight(filter, 0.9999f), box ? 1 : 0, 1e-3);
    }
}

TEST(Filter, TooNarrowForAnySampleFallsBackToThePixel) {
    Settings settings = frame(9, 3, 1, 1);
    settings.filter_width = settings.filter_height = 1e-3f;
    EXPECT_EQ(color(render(settings, edge(4, 0))).at(4, 1).r, 1);
}

}  // namespace
}  // namespace orvane::film
