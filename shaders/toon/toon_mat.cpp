// zel_toon_mat: flat bands of colour instead of shading, and lines by the toon lens.
//
//     band = ambient + sum over lights (diffuse - ambient) * light
//                    + sum over highlights (specular - diffuse) * light * edge
//
// without any cosine: a light makes a point lit or not, and a highlight where 1 minus its cosine
// is at most highlight_size. Textures, shadows, reflection and refraction are those of the
// outside material. On rays of the toon lens it records which lines may be drawn over it.
//
// Channels of the result that would not be finite are 0.

#include "frame/color.h"
#include "materials/finite.h"
#include "toon/contour.h"
#include "toon/toon_material.h"

extern "C" {

struct zel_toon_mat_params {
    soft_material_params material;
    miScalar line_width;          // factor on the lens's line width
    miScalar normal_scale;        // multiplies the normal that creases are found by
    miInteger line_from_ambient;  // 1: ambient is the colour of lines, diffuse that of all bands
    miInteger unused;             // declared, never read
    miColor line_color;
    miScalar outline_saturation;  // multiplies the saturation of the outline's colour
    miScalar outline_value;       // multiplies its value
    miInteger i_group;            // objects that no outline is drawn against
    miInteger n_group;
    zel_toon_grouped group[1];
    miScalar light_tint;              // > 0 adds the light of highlights to lines, < 0 multiplies
    miBoolean color_lines;            // lines where the colour changes
    miScalar highlight_size;          // 0..1: largest 1 - cosine that is in the highlight
    miInteger soft_highlight;         // 1: its edge is soft
    miScalar highlight_edge;          // 0..1: width of the soft edge, as a part of the size
    miBoolean smooth_edge;            // the edge falls with a square law
    miBoolean halftone_edge;          // otherwise: it is a band of half strength
    miInteger use_ambience;           // 1: ambience multiplies the bands
    miBoolean ambience_ambient_only;  // only the unlit one
    miBoolean zone_lines;             // lines between the bands
};
static_assert(sizeof(zel_toon_mat_params) == (49 + 24) * 4);

void zel_toon_soft_edge(miColor* h, miScalar t, const zel_toon_mat_params* params);
void zel_toon_shade(miColor* result, miState* state, soft_material_params* work,
                    const zel_toon_mat_params* params, miColor* light_sum, miInteger* zone);

int zel_toon_mat_version() { return 4; }

void zel_toon_mat_init(miState*, zel_toon_mat_params* params, miBoolean* inst_req) {
    if (!params) {
        mi_info("%s initializing\n", "toon_mat");
        *inst_req = miTRUE;
    } else if (params->n_group > kMostGrouped) {
        mi_warning("toon_mat: only %d models may be grouped\n", kMostGrouped);
    }
}

void zel_toon_tint_line(miColor* line, const miColor* light_sum, miScalar k) {
    miColor m;
    if (k > 0) {
        m = {light_sum->r + line->r, light_sum->g + line->g, light_sum->b + line->b, 0};
    } else {
        k = -k;
        m = {light_sum->r * line->r, light_sum->g * line->g, light_sum->b * line->b, 0};
    }
    line->r = (1 - k) * line->r + k * m.r;
    line->g = (1 - k) * line->g + k * m.g;
    line->b = (1 - k) * line->b + k * m.b;
}

// Weakens a highlight near its edge; t is 1 minus the cosine.
void zel_toon_soft_edge(miColor* h, miScalar t, const zel_toon_mat_params* params) {
    const miScalar size = params->highlight_size;
    const miScalar e = size - size * params->highlight_edge;
    if (t <= e) return;
    if (params->smooth_edge) {
        const miScalar f = (size - t) / (size - e);
        scale_rgb(h, f * f);
    } else if (params->halftone_edge) {
        scale_rgb(h, 0.5f);
    }
}

// (to - from) * light, added to result.
static void add_band(miColor* result, const miColor& to, const miColor& from,
                     const miColor& light) {
    result->r += (to.r - from.r) * light.r;
    result->g += (to.g - from.g) * light.g;
    result->b += (to.b - from.b) * light.b;
}

static void apply_ambience(soft_material_params* work, const zel_toon_mat_params* params) {
    const miScalar* by = params->material.ambience;
    filter_rgb(&work->ambient, by[0], by[1], by[2]);
    if (!params->ambience_ambient_only) filter_rgb(&work->diffuse, by[0], by[1], by[2]);
}

// The bands. light_sum becomes the light of all highlights at the point.
void zel_toon_shade(miColor* result, miState* state, soft_material_params* work,
                    const zel_toon_mat_params* params, miColor* light_sum, miInteger* zone) {
    *light_sum = {0, 0, 0, 0};
    *zone = zel_toon_NOT_SHADED;
    if (work->transparency >= 1) {
        *result = {0, 0, 0, 0};
        return;
    }
    if (params->use_ambience == 1) apply_ambience(work, params);
    *result = work->ambient;
    *zone = zel_toon_UNLIT;
    const auto shade = [&](const miColor& color, miVector, miScalar dot_nl, miTag) {
        add_band(result, work->diffuse, work->ambient, color);
        *zone = std::max<miInteger>(*zone, zel_toon_LIT);
        const miScalar t = 1 - dot_nl;
        if (work->model <= 1 || !(t <= params->highlight_size)) return;
        *zone = zel_toon_HIGHLIGHT;
        miColor h = {0, 0, 0, 0};
        add_band(&h, work->specular, work->diffuse, color);
        if (params->soft_highlight == 1) zel_toon_soft_edge(&h, t, params);
        *result = {result->r + h.r, result->g + h.g, result->b + h.b, result->a};
        *light_sum = {light_sum->r + color.r, light_sum->g + color.g, light_sum->b + color.b, 0};
    };
    const soft_material_params& block = params->material;
    for_each_light(state, block.light, block.i_light, block.n_light, shade);
    result->a = 1;
}
}

namespace {

// The line's colour, brighter or paler for the outline.
miColor outline_color(miColor line, const zel_toon_mat_params* params) {
    if (params->outline_saturation == 1 && params->outline_value == 1) return line;
    miColor hsv;
    zel_rgb_to_hsv(line, &hsv);
    hsv.g *= params->outline_saturation;
    hsv.b *= params->outline_value;
    zel_hsv_to_rgb(&line, hsv);
    return line;
}

void record(miColor* result, miState* state, const zel_toon_mat_params* params, miColor line,
            const miColor& light_sum, miInteger zone, miScalar transparency) {
    if (params->light_tint != 0) zel_toon_tint_line(&line, &light_sum, params->light_tint);
    zel_toon_record lines;
    begin_record(&lines, params->line_width, line, transparency);
    lines.color_line_color = lines.zone_line_color = line;
    lines.outline_color = outline_color(line, params);
    // A smooth highlight changes everywhere within its edge.
    const bool smooth = params->soft_highlight == 1 && params->smooth_edge == 1;
    lines.color_lines_on = smooth ? 0 : params->color_lines;
    lines.zone_lines_on = params->zone_lines;
    lines.zone = zone;
    copy_group(&lines, params->group, params->i_group, params->n_group);
    if (params->normal_scale != 1) state->normal = state->normal * params->normal_scale;
    zel_ct_set(state, result, &lines);
}

}  // namespace

extern "C" {

miBoolean zel_toon_mat(miColor* result, miState* state, zel_toon_mat_params* params) {
    soft_material_params work = params->material;
    miColor line = params->line_color;
    if (params->line_from_ambient == 1) {
        line = work.ambient;
        work.ambient = work.diffuse;
    }
    // Ambience is applied here, or not at all.
    std::fill_n(work.ambience, 3, 1.0f);

    miBegun begun;
    if (!begin_material(result, state, &work, &params->material, miSHARP, &begun))
        return begun.answer;
    miColor light_sum;
    miInteger zone;
    zel_toon_shade(result, state, &work, params, &light_sum, &zone);
    mi_mtl_reflection(result, state, &work);
    mi_mtl_refraction(result, state, &work, begun.ior_in, begun.ior_out);
    keep_finite(result);

    // What is seen through a transparent surface would be recorded in its place.
    const bool seen =
        work.transparency == 0 || (params->material.transparency != 0 && state->type == miRAY_EYE);
    if (seen && zel_ct_ray(state))
        record(result, state, params, line, light_sum, zone, work.transparency);
    return miTRUE;
}
}
