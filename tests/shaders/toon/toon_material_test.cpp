// The toon materials: their colours, and what they record for the lens.

#include "toon/toon_material.h"

#include "scripted/host.h"
#include "toon/contour.h"

extern "C" {
void zel_toon_mat_init(miState*, void*, miBoolean*);
void zel_toon_si_mat_init(miState*, void*, miBoolean*);
miBoolean zel_toon_mat(miColor*, miState*, void*);
miBoolean zel_toon_si_mat(miColor*, miState*, void*);
miBoolean zel_toon_wire_mat(miColor*, miState*, void*);
miBoolean zel_toon_lens_contour(miColor*, miState*, void*, zel_ct_store*);
}

namespace {

using Shader = miBoolean (*)(miColor*, miState*, void*);
using Group = miInteger[2];  // unused, label

auto Is(const miColor& c) { return scripted::IsColor(c.r, c.g, c.b, c.a); }

struct ToonBlock {
    soft_material_params material = {};
    miScalar line_width = 1.5f, normal_scale = 1;
    miInteger line_from_ambient = 0, unused = 0;
    miColor line_color = {0.8f, 0.4f, 0.4f, 0.5f};
    miScalar outline_saturation = 1, outline_value = 1;
    miInteger i_group = 8, n_group = 0;  // from group to grouped, in entries
    Group group[1] = {};
    miScalar light_tint = 0;
    miBoolean color_lines = miTRUE;
    miScalar highlight_size = 0.25f;
    miInteger soft_highlight = 0;
    miScalar highlight_edge = 0.5f;
    miBoolean smooth_edge = miFALSE, halftone_edge = miFALSE;
    miInteger use_ambience = 0;
    miBoolean ambience_ambient_only = miFALSE, zone_lines = miTRUE;
    miTag lights[4] = {1, 2, 3, 0};
    Group grouped[250] = {};
};

struct SiBlock {
    soft_material_params material = {};
    miScalar line_width = 1.5f, normal_scale = 1;
    miColor line_color = {0.8f, 0.4f, 0.4f, 0.5f};
    miInteger i_group = 0, n_group = 1;
    Group group[1] = {{0, 77}};
    miScalar light_tint = 0;
    miTag lights[1] = {1};
};

struct WireBlock {
    soft_material_params material = {};
    miScalar line_width = 1.5f, normal_scale = 2;
    miColor line_color = {0.8f, 0.4f, 0.4f, 0.5f};
    miInteger faceted = 0, record_geometric = 0;
};

// A hit on an eye ray of a grid. Light 1 of colour (0.5, 1, 2) comes from light_dir, light 2 is
// blocked and light 3 grazes the surface.
class ToonMaterialTest : public scripted::Renderer {
  protected:
    ToonMaterialTest() {
        for (soft_material_params* m : {&toon.material, &si.material, &wire.material}) {
            m->model = 2, m->exponent = 2, m->n_light = 1;
            m->ambient = {0.1f, 0.2f, 0.3f, 0.4f}, m->diffuse = {0.5f, 0.5f, 0.5f, 1};
            m->specular = {1, 1, 1, 1};
            m->ambience[0] = 2, m->ambience[1] = 1, m->ambience[2] = 0.5f;
        }
        toon.material.i_light =
            (offsetof(ToonBlock, lights) - offsetof(soft_material_params, light)) / 4;
        si.material.i_light =
            (offsetof(SiBlock, lights) - offsetof(soft_material_params, light)) / 4;
        si.material.i_diffuse_light = si.material.i_light - 3;
        host.light_samples = [this](miState*, miTag light) {
            std::vector<scripted::LightSample> samples;
            if (light == 1 && dot_nl > 0) samples.push_back({{0.5f, 1, 2, 0}, light_dir, dot_nl});
            if (light == 3) samples.push_back({{1, 0, 0, 0}, light_dir, 0});
            return samples;
        };
        host.materials.textures = [this](soft_material_params* work, miVector* n, miScalar*) {
            shaded_normal = *n;
            if (textured >= 0) work->transparency = textured;
            if (!is_zero(bump)) *n = bump;
        };
        zel_ct_init(&store, 1, sizeof(zel_toon_record), zel_toon_lens_contour, nullptr);
        state.user = &store, state.label = 5, state.normal_geom = {1, 0, 0}, store.current = 3;
    }
    void TearDown() override {
        zel_ct_exit(&store);
        Renderer::TearDown();
    }

    // The colour of a hit, from a fresh grid.
    miColor shade(Shader shader, void* block, miBoolean answer = miTRUE) {
        store.label[3] = 0, store.normal[3] = {0, 0, 0}, state.normal = {0, 0, 1};
        host.materials.calls.clear();
        miColor result = {9, 9, 9, 9};
        EXPECT_EQ(shader(&result, &state, block), answer);
        return result;
    }
    bool recorded() const { return store.label[3] == 5; }
    const zel_toon_record& lines() const {
        return reinterpret_cast<const zel_toon_record*>(store.user)[3];
    }
    // The calls of the material library, in order.
    std::string library_calls() const {
        std::string names;
        for (const auto& call : host.materials.calls) names += call.name.substr(7) + ' ';
        return names;
    }

    ToonBlock toon;
    SiBlock si;
    WireBlock wire;
    zel_ct_store store = {};
    miVector light_dir = {0, 0, 1}, bump = {0, 0, 0}, shaded_normal = {};
    miScalar dot_nl = 0.5f, textured = -1;  // transparency; below 0: as it is
};

TEST_F(ToonMaterialTest, RecordHasItsLayout) {
    const zel_toon_record r = {};
    const auto at = [&](const auto& field) {
        return (reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&r)) / 4;
    };
    EXPECT_THAT((std::vector{at(r.width), at(r.crease_on), at(r.crease_color), at(r.outline_on),
                             at(r.outline_color), at(r.color_lines_on), at(r.color_line_color),
                             at(r.zone_lines_on), at(r.zone_line_color), at(r.zone),
                             at(r.group_count), at(r.group_labels), at(r.transparency)}),
                testing::ElementsAre(0, 1, 2, 6, 7, 11, 12, 16, 17, 21, 22, 23, 223));
}

TEST_F(ToonMaterialTest, BandsAreFlat) {
    const miColor unlit = {0.1f, 0.2f, 0.3f, 1}, lit = {0.3f, 0.5f, 0.7f, 1};
    const miColor highlight = {0.55f, 1, 1.7f, 1}, more = {0.95f, 1, 1.7f, 1};
    const miColor scaled = {0.6f, 0.5f, 0.35f, 1}, unlit_scaled = {0.35f, 0.5f, 0.85f, 1};
    const struct {
        int model, lights;
        miScalar cosine, transparency;
        int ambience, ambient_only, from_ambient;
        miColor color;
        int zone;
    } kCases[] = {{2, 1, 0.5f, 0, 0, 0, 0, lit, 2},
                  {2, 1, 0.1f, 0, 0, 0, 0, lit, 2},
                  {2, 1, -1, 0, 0, 0, 0, unlit, 1},
                  {2, -2, 1, 0, 0, 0, 0, unlit, 1},
                  {2, 1, 0.75f, 0, 0, 0, 0, highlight, 3},
                  {2, 1, 0.749f, 0, 0, 0, 0, lit, 2},
                  {1, 1, 1, 0, 0, 0, 0, lit, 2},
                  {0, 1, 1, 0, 0, 0, 0, lit, 2},
                  {2, 2, 1, 0, 0, 0, 0, highlight, 3},
                  {2, 3, 1, 0, 0, 0, 0, more, 3},
                  {2, 1, 1, 1, 0, 0, 0, {}, 0},
                  {2, 1, 0.5f, 0.5f, 0, 0, 0, lit, 2},
                  {2, 1, 0.5f, 0, 1, 0, 0, scaled, 2},
                  {2, 1, 0.5f, 0, 1, 1, 0, unlit_scaled, 2},
                  {2, 1, 0.5f, 0, 2, 0, 0, lit, 2},
                  {2, 1, 0.5f, 0, 0, 0, 1, {0.5f, 0.5f, 0.5f, 1}, 2}};
    for (const auto& c : kCases) {
        toon.material.model = c.model, toon.material.n_light = c.lights, dot_nl = c.cosine;
        toon.material.transparency = c.transparency, toon.use_ambience = c.ambience;
        toon.ambience_ambient_only = c.ambient_only, toon.line_from_ambient = c.from_ambient;
        EXPECT_THAT(shade(zel_toon_mat, &toon), Is(c.color)) << "case " << &c - kCases;
        EXPECT_EQ(lines().zone, c.zone) << "case " << &c - kCases;
    }
    EXPECT_THAT(lines().crease_color, Is({0.1f, 0.2f, 0.3f, 0.4f}));
}

TEST_F(ToonMaterialTest, HighlightsHaveEdges) {
    const struct {
        miScalar t, edge;  // 1 - cosine
        int soft, smooth, halftone;
        miScalar strength;
    } kCases[] = {
        {0.125f, 0.5f, 1, 1, 0, 1},  {0.1875f, 0.5f, 1, 1, 1, 0.25f},
        {0.25f, 0.5f, 1, 1, 1, 0},   {0.1875f, 0.5f, 1, 0, 1, 0.5f},
        {0.1875f, 0.5f, 1, 0, 0, 1}, {0.1875f, 0.5f, 0, 1, 1, 1},
        {0.1875f, 0.5f, 2, 1, 1, 1}, {0.25f, 0, 1, 1, 0, 1},
        {0.125f, 1, 1, 1, 0, 0.25f},
    };
    for (const auto& c : kCases) {
        dot_nl = 1 - c.t, toon.highlight_edge = c.edge, toon.soft_highlight = c.soft;
        toon.smooth_edge = c.smooth, toon.halftone_edge = c.halftone;
        EXPECT_NEAR((shade(zel_toon_mat, &toon).r - 0.3f) / 0.25f, c.strength, 1e-5) << c.t;
        EXPECT_EQ(lines().zone, 3);
        EXPECT_EQ(lines().color_lines_on, !(c.soft == 1 && c.smooth == 1));
    }
}

TEST_F(ToonMaterialTest, LinesHaveTheirColours) {
    const struct {
        miScalar tint, cosine, saturation, value;
        miColor line, outline;
    } kCases[] = {
        {0, 1, 0.5f, 1, {0.8f, 0.4f, 0.4f, 0.5f}, {0.8f, 0.6f, 0.6f, 0.5f}},
        {0, 1, 0.5f, 0.5f, {0.8f, 0.4f, 0.4f, 0.5f}, {0.4f, 0.3f, 0.3f, 0.5f}},
        {0.5f, 1, 1, 1, {1.05f, 0.9f, 1.4f, 0.5f}, {1.05f, 0.9f, 1.4f, 0.5f}},
        {-0.5f, 1, 1, 0.5f, {0.6f, 0.4f, 0.6f, 0.5f}, {0.3f, 0.2f, 0.3f, 0.5f}},
        {0.5f, 0.5f, 1, 1, {0.8f, 0.4f, 0.4f, 0.5f}, {0.8f, 0.4f, 0.4f, 0.5f}},  // no highlight
        {-1, 0.5f, 1, 1, {0, 0, 0, 0.5f}, {0, 0, 0, 0.5f}},
    };
    for (const auto& c : kCases) {
        toon.light_tint = c.tint, dot_nl = c.cosine;
        toon.outline_saturation = c.saturation, toon.outline_value = c.value;
        shade(zel_toon_mat, &toon);
        for (const auto& line :
             {lines().crease_color, lines().color_line_color, lines().zone_line_color})
            EXPECT_THAT(line, Is(c.line)) << c.tint;
        EXPECT_THAT(lines().outline_color, Is(c.outline));
    }
    EXPECT_TRUE(lines().width == 1.5f && lines().crease_on && lines().outline_on &&
                lines().color_lines_on && lines().zone_lines_on);
    toon.color_lines = toon.zone_lines = miFALSE;
    shade(zel_toon_mat, &toon);
    EXPECT_FALSE(lines().color_lines_on || lines().zone_lines_on);
}

TEST_F(ToonMaterialTest, GroupsUpTo200Objects) {
    for (int k = 0; k < 250; ++k) toon.grouped[k][0] = -1, toon.grouped[k][1] = 1000 + k;
    for (const int n : {-1, 0, 3, 250, 200}) {
        toon.n_group = si.n_group = n;
        shade(zel_toon_mat, &toon);
        ASSERT_EQ(lines().group_count, std::clamp(n, 0, 200));
        for (int k = 0; k < lines().group_count; ++k)
            ASSERT_EQ(lines().group_labels[k], static_cast<miUint>(1000 + k));
        zel_toon_mat_init(&state, &toon, nullptr);
        zel_toon_si_mat_init(&state, &si, nullptr);
    }
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[0].text, "toon_mat: only 200 models may be grouped\n");
    EXPECT_EQ(host.messages[1].text, "toon_si_mat: only 200 models may be grouped\n");
}

TEST_F(ToonMaterialTest, RecordsWhatIsNotSeenThrough) {
    const struct {
        miScalar transparency, textured;
        int ray;
        bool toon, si;
    } kCases[] = {
        {0, 0, miRAY_EYE, true, true},         {0, 0, miRAY_REFLECT, true, false},
        {0.5f, 0.25f, miRAY_EYE, true, true},  {0.5f, 0.25f, miRAY_TRANSPARENT, false, false},
        {0.5f, 0, miRAY_REFRACT, true, false}, {0, 0.5f, miRAY_EYE, false, true},
    };
    toon.normal_scale = si.normal_scale = 2;
    const auto expect = [&](Shader shader, void* block, bool expected) {
        shade(shader, block);
        EXPECT_EQ(recorded(), expected) << state.type;
        EXPECT_EQ(state.normal.z, expected ? 2 : 1);
        EXPECT_EQ(store.normal[3].z, expected ? 2 : 0);
        EXPECT_TRUE(!expected || lines().transparency == textured);
    };
    for (const auto& c : kCases) {
        state.type = c.ray, textured = c.textured;
        toon.material.transparency = si.material.transparency = c.transparency;
        expect(zel_toon_mat, &toon, c.toon);
        expect(zel_toon_si_mat, &si, c.si);
    }
    state.user = nullptr;
    expect(zel_toon_mat, &toon, false);
}

TEST_F(ToonMaterialTest, StandsOnTheOutsideMaterial) {
    auto& library = host.materials;
    library.reflection = {0.25f, 0, NAN, 0}, library.refraction = {0, 0.125f, 0, 0};
    library.illumination = {0, 0, 0, 0}, library.ior_in = 1.25f, library.ior_out = 1.5f;
    toon.material.transparency = si.material.transparency = 1;
    const struct {
        Shader shader;
        void* block;
        std::string illumination;
        miScalar ambience;
    } kCases[] = {{zel_toon_mat, &toon, "", 1},
                  {zel_toon_si_mat, &si, "", 2},
                  {zel_toon_wire_mat, &wire, "illumination ", 2}};
    for (const auto& c : kCases) {
        // Reflection and refraction are traced before the hit is recorded.
        state.type = miRAY_EYE;
        EXPECT_THAT(shade(c.shader, c.block), Is({0.25f, 0.125f, 0, 0}));
        EXPECT_THAT(store.color[3], Is({0.25f, 0.125f, 0, 0}));
        EXPECT_EQ(library_calls(),
                  "refraction_index textures " + c.illumination + "reflection refraction ");
        const auto& last = library.calls.back();
        EXPECT_TRUE(last.ior_in == 1.25 && last.ior_out == 1.5);
        EXPECT_EQ(last.block.ambience[0], c.ambience);

        // Shadow rays are attenuated, and nothing else.
        state.type = miRAY_SHADOW, library.casts_shadow = miFALSE;
        EXPECT_THAT(shade(c.shader, c.block), Is({9, 9, 9, 9}));
        EXPECT_EQ(library_calls(), "is_casting_shadow ");
        library.casts_shadow = miTRUE, library.shadow = {0.5f, 0, 0, 0};
        EXPECT_THAT(shade(c.shader, c.block), Is({4.5f, 0, 0, 9}));
        EXPECT_EQ(library_calls(), "is_casting_shadow textures compute_shadow ");
        library.shadow = {0, 0, 0, 0};
        shade(c.shader, c.block, miFALSE);
        EXPECT_FALSE(recorded());
    }
    EXPECT_EQ(host.count("mi_trace_light"), 0);
}

TEST_F(ToonMaterialTest, SiVariantShadesByItsModel) {
    light_dir = {0.8660254f, 0, 0.5f};  // 60 degrees off: Phong 1/4, Blinn 3/4
    const miColor lambert = {0.225f, 0.45f, 0.8f, 1};
    const struct {
        int model, first_list;
        miColor color;
    } kCases[] = {
        {2, 1, {0.35f, 0.7f, 1.3f, 1}},
        {3, 1, {0.6f, 1.2f, 2.3f, 1}},
        {1, 1, lambert},
        {9, 1, lambert},
        {-1, 1, lambert},
        {2, 0, lambert},
        {3, 0, lambert},
        {0, 1, {0.5f, 0.5f, 0.5f, 1}},
    };
    si.light_tint = 1;
    for (const auto& c : kCases) {
        si.material.model = c.model;
        si.material.n_light = c.first_list, si.material.n_diffuse_light = !c.first_list;
        EXPECT_THAT(shade(zel_toon_si_mat, &si), Is(c.color)) << c.model;
        const miScalar light = c.model != 0 ? 1 : 0;  // of a tint of 1: line + light
        const miColor line = {0.8f + 0.5f * light, 0.4f + light, 0.4f + 2 * light, 0.5f};
        EXPECT_THAT(lines().crease_color, Is(line));
        EXPECT_THAT(lines().outline_color, Is(line));
    }
    EXPECT_TRUE(lines().width == 1.5f && lines().crease_on && lines().outline_on);
    EXPECT_FALSE(lines().color_lines_on || lines().zone_lines_on || lines().zone);
    EXPECT_TRUE(lines().group_count == 1 && lines().group_labels[0] == 77);
    si.light_tint = -1;
    shade(zel_toon_si_mat, &si);
    EXPECT_THAT(lines().outline_color, Is({0, 0, 0, 0.5f})) << "lights are ignored by model 0";
}

TEST_F(ToonMaterialTest, WireVariantChoosesItsNormals) {
    const miVector smooth = {0, 0, 1}, flat = {1, 0, 0}, scaled = {2, 0, 0}, none = {0, 0, 0};
    const struct {
        int faceted, record_geometric, ray;
        miVector shaded, recorded, left;
    } kCases[] = {
        {0, 1, miRAY_EYE, smooth, scaled, scaled}, {1, 2, miRAY_EYE, flat, smooth, smooth},
        {1, 1, miRAY_EYE, flat, scaled, scaled},   {0, 0, miRAY_EYE, smooth, smooth, smooth},
        {1, 1, miRAY_REFLECT, flat, none, flat},   {0, 1, miRAY_REFLECT, smooth, none, smooth},
    };
    wire.material.transparency = 0.25f;
    for (const auto& c : kCases) {
        wire.faceted = c.faceted, wire.record_geometric = c.record_geometric, state.type = c.ray;
        bump = c.ray == miRAY_EYE ? miVector{0, 1, 0} : none;
        shade(zel_toon_wire_mat, &wire);
        EXPECT_EQ(recorded(), c.ray == miRAY_EYE);
        EXPECT_TRUE(is_zero(shaded_normal - c.shaded));
        EXPECT_TRUE(is_zero(store.normal[3] - c.recorded));
        EXPECT_TRUE(is_zero(state.normal - c.left)) << c.faceted << c.record_geometric << c.ray;
    }
    EXPECT_TRUE(lines().width == 1.5f && lines().transparency == 0.25f && lines().crease_on &&
                lines().outline_on);
    EXPECT_FALSE(lines().color_lines_on || lines().zone_lines_on || lines().group_count);
    EXPECT_THAT(lines().outline_color, Is(wire.line_color));
}

}  // namespace
