// The lenses that keep a store a thread: where the toon lens draws lines, how both come and go, and
// what materials record for them. Widths, colours, maps and means are shown by pictures.

#include <bit>
#include <deque>
#include <random>
#include <set>

#include "scripted/host.h"
#include "toon/contour.h"
#include "toon/toon_material.h"

using Init = void(miState*, void*, miBoolean*);
using Shader = miBoolean(miColor*, miState*, void*);
extern "C" {
Init zel_toon_lens_init, zel_sprite_init, zel_toon_mat_init, zel_toon_si_mat_init;
void zel_toon_lens_exit(miState*, void*);
void zel_sprite_exit(miState*, void*);
Shader zel_toon_lens, zel_sprite, zel_toon_mat;
}

namespace {

using scripted::IsColor;

struct Lens {
    miBoolean use_map = miFALSE, map_alpha = miFALSE, blank_unweighted = miFALSE;
    miTag map = 7;
    miScalar width = 3, width_change[3] = {}, color_noise[5] = {};
    miBoolean lines_only = miFALSE;
    miScalar group_depth = 1, color_threshold = 0.25f, normal_threshold = 1;
    miBoolean transparency_lines = miFALSE;
    miScalar fade[4] = {};
};

// What a ray of the grid sees; label 0 is background.
struct Seen {
    miUint label = 1;
    miScalar depth = 5;
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

class GridTest : public scripted::Renderer {
  protected:
    GridTest() {
        function.identity = &function;
        host.trace_eye = [this](miColor* result, miState* from, auto&, auto&) {
            const auto* store = static_cast<const zel_ct_store*>(from->user);
            Seen& seen = grid[static_cast<std::size_t>(store ? store->current : 4)];
            *result = seen.color;
            if (seen.label == 0) return miTRUE;
            miState hit = *from;
            hit.label = seen.label, hit.normal = seen.normal, hit.point = {0, 0, -seen.depth};
            zel_ct_set(&hit, result, &seen.lines);
            return miTRUE;
        };
    }
    void TearDown() override {
        zel_toon_lens_exit(&state, nullptr);
        Renderer::TearDown();
    }

    miColor look(Shader* shader, void* params, miBoolean answer = miTRUE) {
        host.calls.clear();
        state.user = nullptr;
        miColor result = {9, 9, 9, 9};
        EXPECT_EQ(shader(&result, &state, params), answer);
        return result;
    }
    // The kind of line that there is, by its colour.
    std::string line() {
        const miColor c = look(zel_toon_lens, &lens);
        if (c.r == 0.5f) return "none";
        if (c.b != 0) return c.b == 2 ? "zone" : "no number";
        return c.g == 0 ? "outline" : c.r == 0 ? "crease" : "color";
    }
    int rays() const { return host.count("mi_trace_eye"); }

    // Puts a lens shader on the camera, behind those that are there: an instance of the running
    // shader or of another one. The list's last tag is the shader's function.
    void attach(bool same) {
        miFunction& shader = functions.emplace_back();
        shader.identity = same ? &function : nullptr;
        miTag* tags = lists.emplace_back().data();
        auto* list = reinterpret_cast<miShaderList*>(tags);
        list->next = camera.lens, list->count = 2;
        list->tags[0] = host.add({miITEM_FUNCTION, &function, {}});
        list->tags[1] = host.add({miITEM_FUNCTION, &shader, {}});
        camera.lens = host.add({miITEM_SHADER_LIST, list, {}});
    }

    Lens lens;
    Grid grid;
    std::deque<miFunction> functions;
    std::deque<std::array<miTag, 4>> lists;
};

TEST_F(GridTest, DrawsTheFirstLineThatThereIs) {
    miBoolean wanted = miFALSE;
    zel_toon_lens_init(&state, nullptr, &wanted);
    host.texture = [](miColor* texel, auto...) { return *texel = {0, 0, 0, 1}, miTRUE; };
    int cases = 0;
    const auto expect = [&](const std::string& kind, auto change) {
        grid = {}, lens = {};
        change(), ++cases;
        EXPECT_EQ(line(), kind) << "case " << cases;
        EXPECT_EQ(rays(), 9) << "case " << cases;
    };
    Grid& g = grid;
    expect("none", [&] {});
    // Something empty, wherever it is.
    for (const unsigned k : {0u, 1u, 4u, 8u}) expect("outline", [&] { g[k].label = 0; });
    expect("outline", [&] { g[8].label = 0, g[4].group(0), lens.group_depth = 9; });
    expect("none", [&] { g[0].label = 0, g[8].lines.outline_on = 0; });
    // Another object, unless one of the two groups itself with the other and is near.
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
    expect("crease",
           [&] { g[3].lines.transparency = 1, g[1].lines.zone = 2, lens.transparency_lines = 1; });
    expect("zone", [&] { g[3].lines.zone = 3, g[0].color.b = 0; });
    expect("color",
           [&] { g[3].lines.zone = 3, g[0].color.b = 0.8f, g[8].lines.zone_lines_on = 0; });
    expect("color", [&] { g[0].color.r = 0.8f; });
    expect("none", [&] { g[0].color.b = 0.8f, g[8].lines.color_lines_on = 0; });
    expect("none", [&] { g[0].color = {0.75f, 0.25f, 0.75f, 0}; });
    // What an empty sample recorded earlier counts still.
    expect("zone", [&] { g[0].lines.zone = 2, line(), g[0].label = 0, g[8].lines.outline_on = 0; });
    // The nearest surface's colour, of equals the last one's.
    expect("zone", [&] { g[0].label = 0, g[8].lines.outline_color = {0, 0, 2, 0}; });
    expect("zone", [&] {
        g[8].label = 0, g[1].depth = 4, g[1].lines.outline_color = {0, 0, 2, 0};
    });
    // Background costs five rays, what a map leaves out one or none.
    for (Seen& s : grid) s.label = 0;
    EXPECT_TRUE(line() == "none" && rays() == 5);
    for (const miBoolean blank : {miFALSE, miTRUE}) {
        lens.use_map = miTRUE, lens.blank_unweighted = blank;
        EXPECT_EQ(look(zel_toon_lens, &lens, !blank).a, blank ? 0 : 1);
        EXPECT_EQ(rays(), blank ? 0 : 1);
    }
}

TEST_F(GridTest, LinesAreWhereNeighboursDiffer) {
    miBoolean wanted = miFALSE;
    zel_toon_lens_init(&state, nullptr, &wanted);
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

// What is fully transparent has no zone.
TEST_F(GridTest, MaterialsGroupUpTo200Objects) {
    constexpr std::size_t kCount = 49 + 11, kFirst = kCount + 2;  // words; a label is every second
    constexpr std::size_t kSiCount = 49 + 7;
    std::vector<miInteger> block(kFirst + 2 * 250);
    for (int k = 0; k < 250; ++k) block[kFirst + 2 * static_cast<std::size_t>(k)] = 1000 + k;
    zel_ct_store store = {};
    const auto no_lines = [](auto...) -> miBoolean { return miFALSE; };
    ASSERT_TRUE(zel_ct_init(&store, 0, sizeof(zel_toon_record), no_lines, nullptr));
    for (const int n : {-1, 0, 3, 250, 200}) {
        block[kCount] = block[kSiCount] = n, state.user = &store;
        block[18] = std::bit_cast<miInteger>(n == 3 ? 1.0f : 0.5f);  // transparency
        miColor color;
        EXPECT_TRUE(zel_toon_mat(&color, &state, block.data()));
        const auto& record = *reinterpret_cast<const zel_toon_record*>(store.user);
        ASSERT_EQ(record.group_count, std::clamp(n, 0, 200));
        EXPECT_EQ(record.zone, n == 3 ? zel_toon_NOT_SHADED : zel_toon_UNLIT);
        for (int k = 0; k < record.group_count; ++k)
            ASSERT_EQ(record.group_labels[k], static_cast<miUint>(1000 + k));
        zel_toon_mat_init(&state, block.data(), nullptr);
        zel_toon_si_mat_init(&state, block.data(), nullptr);
    }
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[0].text, "toon_mat: only 200 models may be grouped\n");
    zel_ct_exit(&store);
}

// One of them on a camera, or none; a store for each of 96 threads, or no lines and no means.
TEST_F(GridTest, LensesComeAndGo) {
    miInteger sprite[] = {1, miTRUE};
    const struct {
        std::string name;
        Init* init;
        void (*exit)(miState*, void*);
        Shader* shader;
        void* params;
        std::string tag;
    } kLenses[] = {
        {"toon_lens", zel_toon_lens_init, zel_toon_lens_exit, zel_toon_lens, &lens, "toon_lens"},
        {"sprite", zel_sprite_init, zel_sprite_exit, zel_sprite, sprite, "zel_sprite"}};
    for (const auto& l : kLenses) {
        SCOPED_TRACE(l.name);
        miBoolean wanted = miFALSE;
        host.messages.clear(), camera.lens = miNULLTAG, state.thread = 0;
        l.init(&state, nullptr, &wanted);
        for (const int count : {1, 2}) {
            attach(false), attach(true);
            l.init(&state, l.params, nullptr);
            EXPECT_EQ(look(l.shader, l.params).a, count == 1 ? 1 : 9);
            EXPECT_EQ(rays(), count == 1 ? 9 : 0);
            if (count == 1) l.exit(&state, l.params);
        }
        std::multiset<std::string> texts;
        for (const auto& message : host.messages) texts.insert(message.level + ' ' + message.text);
        EXPECT_EQ(wanted && texts.count("info " + l.name + " initializing\n"), 1);
        EXPECT_EQ(
            texts.count("warning " + l.tag + ": only one instance allowed, others disabled\n"), 1);
        EXPECT_GE(texts.count("progress " + l.name + ": initialized 96 thread(s)\n"), 1);
        EXPECT_EQ(host.count("mi_lock"), host.count("mi_unlock"));
        l.exit(&state, l.params);
        EXPECT_EQ(function.user, nullptr);
        grid[4].color.a = 0, sprite[1] = miFALSE;  // a hard edge ends the mean
        EXPECT_EQ(look(l.shader, l.params).a, 0);
        EXPECT_EQ(rays(), l.name == "sprite" ? 1 : 9);
        grid[4].color.a = 1, sprite[1] = miTRUE;
        for (const int thread : {95, 96, -1}) {
            state.thread = static_cast<std::int16_t>(thread);
            EXPECT_EQ(look(l.shader, l.params).a, 1);
            EXPECT_EQ(rays(), thread == 95 ? 9 : 1);
        }
        l.exit(&state, nullptr);

        // Without memory or under scanline rendering the render ends.
        for (const int failing : {1, 2, 700, 96 * 11 + 1, 0}) {
            options.scanline = failing == 0;
            host.failing_allocation = host.allocation_count + failing;
            const auto start = [&] {
                l.init(&state, nullptr, &wanted);
                l.init(&state, l.params, nullptr);
            };
            EXPECT_THROW(start(), scripted::Fatal) << failing;
            const std::string& text = host.messages.back().text;
            EXPECT_TRUE(text.starts_with(l.name + (failing ? ": unable to " : ": shader will not")))
                << text;
            l.exit(&state, l.params);
            l.exit(&state, nullptr);
            EXPECT_TRUE(host.allocations.empty());
        }
        EXPECT_EQ(look(l.shader, l.params, miFALSE).a, 9);
        options.scanline = miFALSE;
    }
}

}  // namespace
