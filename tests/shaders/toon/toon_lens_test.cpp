// The toon lens: where lines are, how wide they are and in which colour.

#include <random>

#include "lens_fixture.h"
#include "toon/toon_material.h"

extern "C" {
void zel_toon_lens_init(miState*, void*, miBoolean*);
void zel_toon_lens_exit(miState*, void*);
miBoolean zel_toon_lens(miColor*, miState*, void*);
}

namespace {

using scripted::IsColor;

struct Lens {
    miBoolean use_map = miFALSE, map_alpha = miFALSE, blank_unweighted = miFALSE;
    miTag map = 7;
    miScalar width = 3, width_facing = 0, width_noise = 0, width_noise_freq = 10;
    miScalar hue_noise = 0, sat_noise = 0, value_noise = 0, color_noise_freq = 20, noise_speed = 2;
    miBoolean lines_only = miFALSE;
    miScalar group_depth = 1, color_threshold = 0.25f, normal_threshold = 1;
    miBoolean transparency_lines = miFALSE;
    miScalar fade_near = 0, fade_far = 0, fade_color = 0, fade_width = 0;
};

// What a ray of the grid sees; label 0 is background.
struct Seen {
    miUint label = 1;
    miScalar depth = 5, dot_nd = -1;
    miVector normal = {0, 0, 1};
    miColor color = {0.5f, 0.5f, 0.5f, 1};
    zel_toon_record lines = {};

    Seen() {
        lines.width = 1, lines.zone = 1;
        lines.outline_on = lines.crease_on = lines.zone_lines_on = lines.color_lines_on = 1;
        lines.outline_color.r = lines.crease_color.g = lines.zone_line_color.b = 2;
        lines.color_line_color = {2, 2, NAN, 0};  // drawn as 0
    }
    void group(miUint other) { lines.group_labels[lines.group_count++] = other; }
};
using Grid = std::array<Seen, 9>;

class ToonLensTest : public LensFixture {
  protected:
    ToonLensTest() {
        host.trace_eye = [this](miColor* result, miState* from, auto&, const miVector& dir) {
            const auto* store = static_cast<const zel_ct_store*>(from->user);
            const auto k = static_cast<std::size_t>(store ? store->current : 4);
            Seen& seen = grid[k];
            places[k] = place(dir);
            *result = seen.color;
            if (seen.label == 0) return miTRUE;
            miState hit = *from;
            hit.label = seen.label, hit.normal = seen.normal, hit.dot_nd = seen.dot_nd;
            hit.point = {0, 0, -seen.depth};
            zel_ct_set(&hit, result, &seen.lines);
            return miTRUE;
        };
        miBoolean wanted = miFALSE;
        zel_toon_lens_init(&state, nullptr, &wanted);
        EXPECT_TRUE(wanted);
    }
    void TearDown() override {
        zel_toon_lens_exit(&state, nullptr);
        Renderer::TearDown();
    }

    miColor look(miBoolean answer = miTRUE) {
        host.calls.clear();
        state.user = nullptr;
        miColor result = {9, 9, 9, 9};
        EXPECT_EQ(zel_toon_lens(&result, &state, &lens), answer);
        return result;
    }
    // The kind of line that there is, by its colour.
    std::string line() {
        const miColor c = look();
        if (c.r == 0.5f) return "none";
        if (c.b != 0) return c.b == 2 ? "zone" : "no number";
        return c.g == 0 ? "outline" : c.r == 0 ? "crease" : "color";
    }
    int rays() const { return host.count("mi_trace_eye"); }

    Lens lens;
    Grid grid;
    std::array<miVector, 9> places;
    int cases = 0;
};

TEST_F(ToonLensTest, DrawsTheFirstLineThatThereIs) {
    const auto expect = [&](const std::string& kind, auto change) {
        grid = {}, lens = {};
        change(), ++cases;
        EXPECT_EQ(line(), kind) << "case " << cases;
        EXPECT_EQ(rays(), 9) << "case " << cases;
    };
    Grid& g = grid;
    expect("none", [&] {});
    // Something empty, wherever it is.
    expect("outline", [&] { g[0].label = 0; });
    expect("outline", [&] { g[1].label = 0; });
    expect("outline", [&] { g[4].label = 0; });
    expect("outline", [&] { g[8].label = 0, g[4].group(0), lens.group_depth = 9; });
    expect("none", [&] { g[0].label = 0, g[8].lines.outline_on = 0; });
    // Another object, unless one of the two groups itself with the other and is near.
    expect("outline", [&] { g[8].label = 2; });
    expect("outline", [&] { g[8].label = 2, g[8].group(3), g[8].group(2); });
    expect("none", [&] { g[8].label = 2, g[8].group(9), g[8].group(1); });
    expect("none", [&] { g[8].label = 2, g[0].group(2), g[8].depth = 5.5f; });
    expect("outline", [&] { g[8].label = 2, g[8].group(1), g[8].depth = 6; });
    expect("none", [&] { g[5].label = 2, g[4].group(2), g[5].normal = {9, 0, 0}; });
    expect("zone", [&] { g[8].label = 2, g[8].lines.outline_on = 0, g[0].lines.zone = 2; });
    // Bent normals: 36 * 0.75 / 27 reach the threshold of 1, 13 / 27 do not; components add up.
    expect("crease", [&] { g[5].normal = {0.75f, 0, 1}; });
    expect("none", [&] { g[2].normal = {1, 0, 1}; });
    expect("crease", [&] { g[2].normal = {1, -1, 2}, lens.normal_threshold = 1.444f; });
    expect("none", [&] { g[3].normal = g[5].normal = {1, 0, 1}, g[4].normal = {0.4f, 0, 1}; });
    expect("crease", [&] { g[5].normal = {1, 0, 1}, g[1].lines.zone = 2; });
    expect("zone", [&] { g[5].normal = {1, 0, 1}, g[1].lines.zone = 2, g[8].lines.crease_on = 0; });
    // Transparency, then zone, then colour by more than the threshold; alpha does not count.
    expect("none", [&] { g[3].lines.transparency = 0.5f; });
    expect("crease", [&] { g[3].lines.transparency = 0.5f, lens.transparency_lines = 1; });
    expect("crease", [&] {
        g[3].lines = g[5].lines, g[3].lines.transparency = 1, g[1].lines.zone = 2,
        lens.transparency_lines = 1;
    });
    expect("zone", [&] { g[3].lines.zone = 3, g[0].color.b = 0; });
    expect("color",
           [&] { g[3].lines.zone = 3, g[0].color.b = 0.8f, g[8].lines.zone_lines_on = 0; });
    expect("color", [&] { g[0].color.r = 0.8f; });
    expect("none", [&] { g[0].color.b = 0.8f, g[8].lines.color_lines_on = 0; });
    expect("none", [&] { g[0].color = {0.5f, 0.25f, 0.75f, 0}; });
    // What an empty sample recorded earlier counts still.
    expect("zone", [&] { g[0].lines.zone = 2, look(), g[0].label = 0, g[8].lines.outline_on = 0; });
    // The nearest surface's colour, of equals the last one's.
    expect("zone", [&] { g[0].label = 0, g[8].lines.outline_color = {0, 0, 2, 0}; });
    expect("zone", [&] {
        g[8].label = 0, g[1].depth = 4, g[1].lines.outline_color = {0, 0, 2, 0};
    });
}

TEST_F(ToonLensTest, LinesAreWhereNeighboursDiffer) {
    std::mt19937 random(3);
    const auto number = [&] { return static_cast<miScalar>(random() % 256) / 256; };
    lens.normal_threshold = lens.color_threshold = 1e-4f;
    lens.transparency_lines = miTRUE;
    for (int n = 0; n < 300; ++n) {
        // One surface has no line, however it looks.
        Seen surface;
        surface.normal = {number(), number(), number()};
        surface.color = {0.5f, number(), number(), number()};
        surface.lines.transparency = number();
        grid.fill(surface);
        for (auto& s : grid) s.depth += number();
        ASSERT_EQ(line(), "none");
        // It does not matter which of two objects is which.
        for (auto& s : grid) s.label = static_cast<miUint>(random() % 3);
        const std::string before = line();
        for (auto& s : grid) s.label = s.label == 0 ? 0 : s.label == 1 ? 2 : 1;
        ASSERT_EQ(line(), before);
    }
}

TEST_F(ToonLensTest, BackgroundCostsFiveRays) {
    for (Seen& s : grid) s.label = 0;
    EXPECT_THAT(look(), IsColor(0.5f, 0.5f, 0.5f, 1));
    EXPECT_EQ(rays(), 5);
    lens.lines_only = miTRUE;
    EXPECT_THAT(look(), IsColor(0, 0, 0, 0));
    grid = {};
    EXPECT_THAT(look(), IsColor(0, 0, 0, 0));
    EXPECT_EQ(rays(), 9);
}

TEST_F(ToonLensTest, WidthFollowsItsRules) {
    const struct {
        miScalar facing, dot_nd, noise, record, near, far, fade, depth, spacing;
    } kCases[] = {
        {0, -1, 0, 1, 0, 0, 0, 5, 1},         {0.5f, -1, 0, 1, 0, 0, 0, 5, 1.5f},
        {0.5f, 0, 0, 1, 0, 0, 0, 5, 0.5f},    {0.5f, -0.5f, 0, 1, 0, 0, 0, 5, 1},
        {0, -1, 0.5f, 1, 0, 0, 0, 5, 1.25f},  {0.5f, -1, -0.5f, 1, 0, 0, 0, 5, 1.25f},
        {0, -1, 0, 0.5f, 0, 0, 0, 5, 0.5f},   {0.5f, -1, 0, 2, 4, 8, 1, 5, 2.25f},
        {0, -1, 0, 1, 4, 8, 0.5f, 5, 0.875f}, {0, -1, 0, 1, 4, 8, 1, 9, 0},
        {0, -1, 0, 1, 4, 8, 8, 5, 0},         {0, -1, 0, 1, 4, 8, -1, 7, 1},
        {0, -1, 0, 1, 8, 4, 1, 5, 1},         {0, -1, 0, 1, 4, 4, 1, 5, 1},
        {0, -1, 0, 1, 6, 8, 1, 5, 1},
    };
    camera.frame_time = 3;
    host.noise = [](const miVector& p) {
        EXPECT_NEAR(p.x, 10 * 0.505f, 1e-5);
        EXPECT_NEAR(p.y, 10 * 0.605f, 1e-5);
        EXPECT_EQ(p.z, 6);
        return 0.75f;  // 0.5 as signed noise
    };
    for (const auto& c : kCases) {
        lens.width_facing = c.facing, lens.width_noise = c.noise, lens.fade_width = c.fade;
        lens.fade_near = c.near, lens.fade_far = c.far;
        grid[4].dot_nd = c.dot_nd, grid[4].lines.width = c.record, grid[4].depth = c.depth;
        for (const bool hit : {true, false}) {
            grid[4].label = hit;  // without a hit, noise alone changes the width
            look();
            const miScalar s = hit ? c.spacing : 1 + 0.5f * c.noise;
            for (std::size_t k = 0; k < 9; ++k) {
                EXPECT_NEAR(places[k].x, 50.5f + s * static_cast<miScalar>(k % 3) - s, 1e-4);
                EXPECT_NEAR(places[k].y, 60.5f + s * static_cast<miScalar>(k / 3) - s, 1e-4);
            }
        }
    }
}

TEST_F(ToonLensTest, MapWeighsLines) {
    const struct {
        miBoolean use_map, map_alpha, blank;
        miTag map;
        miColor texel;
        int rays;
    } kCases[] = {
        {1, 0, 0, 7, {0, 0, 0, 1}, 1},     {1, 0, 1, 7, {0, 0, 0, 1}, 0},
        {1, 0, 0, 7, {0, 0.01f, 0, 0}, 9}, {1, 1, 0, 7, {0, 0, 0, 0.01f}, 9},
        {1, 1, 1, 7, {1, 1, 1, 0}, 0},     {1, 0, 0, 7, {-1, 0.5f, 0.5f, 1}, 1},
        {0, 0, 1, 7, {0, 0, 0, 0}, 9},     {1, 0, 1, 0, {0, 0, 0, 0}, 9},
    };
    for (const auto& c : kCases) {
        lens.use_map = c.use_map, lens.map_alpha = c.map_alpha, lens.blank_unweighted = c.blank;
        lens.map = c.map;
        host.texture = [&](miColor* texel, auto, auto, const miVector& coord) {
            EXPECT_LT(length(coord - miVector{0.505f, 0.605f, 0}), 1e-6);
            *texel = c.texel;
            return miTRUE;
        };
        const miScalar seen = c.rays > 0 ? 1 : 0;
        EXPECT_THAT(look(c.rays > 0), IsColor(0.5f * seen, 0.5f * seen, 0.5f * seen, seen));
        EXPECT_EQ(rays(), c.rays);
    }
}

TEST_F(ToonLensTest, ColoursJitter) {
    const miColor red = {1, 0, 0, 0}, grey = {0.5f, 0.5f, 0.5f, 0};
    const struct {
        miColor line;
        miScalar noise, hue, sat, value;
        miColor color;
    } kCases[] = {
        {red, 1, 0.25f, 0, 0, {0.5f, 1, 0, 0}},
        {red, 1, 0, -0.5f, 0, {1, 0.5f, 0.5f, 0}},
        {red, 0, 0, 0, -1, {2, 0, 0, 0}},
        {red, 0.75f, 0, 0, -1, {0.5f, 0, 0, 0}},
        {red, 0, 0.25f, 0, 0, {1, 0, 0, 0}},
        {grey, 1, 0.25f, 0.5f, 0.25f, {0.75f, 0.75f, 0.75f, 0}},
    };
    grid[0].label = 0, grid[8].color.a = 0.25f;
    for (const auto& c : kCases) {
        host.noise = [&](const miVector& p) {
            EXPECT_NEAR(p.x, 20 * 0.505f, 1e-5);
            return c.noise;
        };
        lens.hue_noise = c.hue, lens.sat_noise = c.sat, lens.value_noise = c.value;
        grid[8].lines.outline_color = c.line;
        EXPECT_THAT(look(), IsColor(c.color.r, c.color.g, c.color.b, 0.25f, 1e-5f));
    }
}

TEST_F(ToonLensTest, CreasesFadeWithDepth) {
    lens.fade_near = 4, lens.fade_far = 8, lens.fade_color = 1;
    grid[5].normal = {1, 0, 1}, grid[8].color.a = 0.25f;
    EXPECT_THAT(look(), IsColor(0.125f, 1.625f, 0.125f, 0.25f));
    lens.lines_only = miTRUE;
    EXPECT_THAT(look(), IsColor(0, 1.5f, 0, 0.25f));
    grid[0].label = 0;
    EXPECT_THAT(look(), IsColor(2, 0, 0, 0.25f)) << "outlines do not";
}

TEST_F(ToonLensTest, TwoOnOneCameraDisableEachOther) {
    grid[0].label = 0;
    for (const int count : {1, 2}) {
        attach(false), attach(true);
        zel_toon_lens_init(&state, &lens, nullptr);
        EXPECT_EQ(host.count("mi_lock"), host.count("mi_unlock"));
        EXPECT_THAT(look(), count == 1 ? IsColor(2, 0, 0, 1) : IsColor(9, 9, 9, 9));
        EXPECT_EQ(rays(), count == 1 ? 9 : 0);
        zel_toon_lens_exit(&state, &lens);
    }
    ASSERT_EQ(host.messages.size(), 3u);
    EXPECT_EQ(host.messages[2].text, "toon_lens: only one instance allowed, others disabled\n");
    EXPECT_EQ(function.user, nullptr);
}

TEST_F(ToonLensTest, HasAStoreForEachThread) {
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[0].text, "toon_lens initializing\n");
    EXPECT_EQ(host.messages[1].text, "toon_lens: initialized 96 thread(s)\n");
    for (const int thread : {0, 95, 96, -1}) {
        state.thread = static_cast<std::int16_t>(thread);
        EXPECT_EQ(look().r, 0.5f);
        EXPECT_EQ(rays(), thread == 0 || thread == 95 ? 9 : 1);
    }
    // Without memory or under scanline rendering the render ends.
    zel_toon_lens_exit(&state, nullptr);
    EXPECT_TRUE(host.allocations.empty());
    miBoolean wanted;
    for (const int failing : {1, 2, 700, 96 * 12 + 1}) {
        host.failing_allocation = host.allocation_count + failing;
        EXPECT_THROW(zel_toon_lens_init(&state, nullptr, &wanted), scripted::Fatal);
        EXPECT_EQ(host.messages.back().text, failing == 1
                                                 ? "toon_lens: unable to allocate shader memory\n"
                                                 : "toon_lens: unable to initialize\n");
        EXPECT_TRUE(host.allocations.empty());
    }
    options.scanline = miTRUE;
    EXPECT_THROW(zel_toon_lens_init(&state, nullptr, &wanted), scripted::Fatal);
    EXPECT_EQ(host.messages.back().text, "toon_lens: shader will not run in scanline mode\n");
    EXPECT_THAT(look(miFALSE), IsColor(9, 9, 9, 9));
}

}  // namespace
