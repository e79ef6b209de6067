// Exported functions that are no shaders, but those that shaders call for all they do.

#include "cases.h"
#include "flare/primitives.h"
#include "flare/star.h"
#include "frame/color.h"
#include "frame/noise.h"
#include "volumetric/intersection.h"
#include "volumetric/map_projection.h"
#include "volumetric/maps.h"

extern "C" {
miScalar zel_toon_noise(miState*, miScalar, miScalar);
}

#define IN_PLUGIN(function) c->plugin.find<decltype(function)>(#function)

namespace {

// A host with lights, for functions that ask for some.
struct Scene : Stage {
    explicit Scene(Case* c) : Stage(c->plugin, c->shader("Orvane_Light"), &c->random) {}
};

void colors(Case* c) {
    const miColor from = c->random.color(-1, 3);
    const orv_hsv hsv = {c->random.scalar(-800, 800), c->random.scalar(), c->random.scalar()};
    c->record.add("orv hsv", IN_PLUGIN(orv_rgb_to_hsv)(from));
    c->record.add("orv rgb", IN_PLUGIN(orv_hsv_to_rgb)(hsv));
    miColor to = {}, back = {};
    IN_PLUGIN(zel_rgb_to_hsv)(from, &to);
    IN_PLUGIN(zel_hsv_to_rgb)(&back, {c->random.scalar(-1, 3), to.g, to.b, 1});
    c->record.add("zel hsv", to);
    c->record.add("zel rgb", back);
}

void curves(Case* c) {
    Random& r = c->random;
    const double t = r.number(0, 1), by = r.number(0, 1), x0 = r.number(-9, 9);
    const double y0 = r.number(-9, 9);
    const int type = r.below(5), n = r.integer(0, 40);
    c->record.add("bias", IN_PLUGIN(qv_Bias)(t, by));
    c->record.add("gain", IN_PLUGIN(qv_Gain)(t, by));
    c->record.add("curve", IN_PLUGIN(qv_Interpolate)(type, x0, x0 + by, x0 + by * t, y0, 3));
    c->record.add("factorial", IN_PLUGIN(qv_Factorial)(n));
    miColor color = r.color(), target = r.color();
    IN_PLUGIN(qv_ColorFade)(&color, &target, t);
    c->record.add("faded", color);
}

void noises(Case* c) {
    Scene scene(c);
    miVector p = c->random.point(), dir = c->random.direction();
    const double amplitude = c->random.number(0, 2), amount = c->random.number(-1e9, 1e9);
    const int octaves = c->random.integer(0, 8);
    c->record.add("3D", IN_PLUGIN(qv_NoiseOctave3D)(&p, octaves, amplitude));
    c->record.add("2D", IN_PLUGIN(qv_NoiseOctave2D)(p.x, p.y, octaves, amplitude));
    c->record.add("fractal", IN_PLUGIN(qv_FractalNoise)(&p, octaves, dir.x));
    IN_PLUGIN(qv_PerturbVector)(&scene.state, &dir, amount);
    c->record.add("perturbed", dir);
    c->record.add("toon", IN_PLUGIN(zel_toon_noise)(&scene.state, p.x, p.y));
}

void intersections(Case* c) {
    Random& r = c->random;
    const miVector org = r.point(), dir = r.direction(), at = r.point(), axis = r.direction();
    double roots[2] = {};
    const double a = r.number(-1, 1), b = r.number(-1, 1), e = r.number(-1, 1);
    c->record.add("root count", IN_PLUGIN(qv_QuadraticRoots)(a, b, e, roots));
    c->record.add("roots", roots);
    miScalar t[4] = {};
    const miScalar radius = r.scalar(0, 9), angle = r.scalar(0, 1.5);
    const int sphere = IN_PLUGIN(qv_SphereIntersection)(&org, &dir, &at, radius, t, t + 1);
    const int cone = IN_PLUGIN(qv_ConeIntersection)(&org, &dir, &at, &axis, angle, t + 2, t + 3);
    c->record.add("hits", 2 * sphere + cone);
    if (sphere) c->record.add("sphere", t, 2);
    if (cone) c->record.add("cone", t + 2, 2);
}

void projections(Case* c) {
    Scene scene(c);
    Random& r = c->random;
    miVector origin = r.point(), direction = r.direction(), point = r.point(), uv = {};
    miMatrix matrix = {};
    IN_PLUGIN(qv_SetupMapProj)(&scene.state, matrix, &origin, &direction, r.number(0, 9));
    IN_PLUGIN(qv_SlideConvertToMapProj)(matrix, &origin, &point, &uv);
    miScalar u = 0, v = 0;
    IN_PLUGIN(qv_ConvertToSphericMapProj)(&direction, &u, &v);
    c->record.add("matrix", matrix);
    c->record.add("slide", uv);
    c->record.add("spheric", miVector{u, v, 0});

    VolumeLight light = {};
    light.direction = direction, light.origin = origin, light.extent = r.scalar(0, 50);
    light.map_resolution = 1 + r.below(64);
    light.half_res = static_cast<miScalar>(light.map_resolution) * 0.5f;
    IN_PLUGIN(qv_SetupPlanarDepthMap)(&light, &scene.state);
    int texel[4] = {r.below(light.map_resolution), r.below(light.map_resolution), 0, 0};
    IN_PLUGIN(qv_ConvertToPlanarMapProj)(&light, &point, texel + 2, texel + 3);
    IN_PLUGIN(qv_ConvertFromSphericMapProj)(&light, texel[0], texel[1], &direction);
    c->record.add("map matrices", light.from_map, 32);
    c->record.add("light in map", light.light_in_map);
    c->record.add("texel", texel);
    c->record.add("direction", direction);
}

// A light that stands on the screen.
struct Flare : Scene {
    explicit Flare(Case* c) : Scene(c), block(fill(c->shader("Orvane_Light"), tags, c->random)) {
        IN_PLUGIN(initRayTable)();
        light.params = reinterpret_cast<Orvane_Light_params*>(block.data());
        light.x = c->random.scalar(-0.6, 0.6), light.y = c->random.scalar(-0.6, 0.6);
        X = c->random.one_in(4) ? light.x : c->random.scalar(-0.5, 0.5);
        Y = c->random.one_in(4) ? light.y : c->random.scalar(-0.5, 0.5);
    }
    std::vector<miUint> block;
    FlareLight light = {};
    miScalar X, Y;
};

void star(Case* c) {
    Flare flare(c);
    IN_PLUGIN(buildStarTables)(&flare.light, c->random.below(9), &flare.state);
    miColor out = {0, 0, 0, 0};
    IN_PLUGIN(drawStar)(&out, &flare.light, flare.X, flare.Y);
    c->record.add("star", out);
    c->record.add("angles", flare.light.streak_angle);
    c->record.add("frequencies", flare.light.streak_frequency);
    c->record.add("widths", flare.light.streak_width);
}

void shapes(Case* c) {
    Flare flare(c);
    Random& r = c->random;
    const miColor col = r.color();
    const miScalar cx = r.scalar(-.1, .1), cy = r.scalar(-.1, .1), R = r.scalar(0, 1);
    const miScalar rot = r.scalar(-4, 4), inner = r.scalar(0, .05), outer = r.scalar(0, .1);
    const miScalar spread = r.scalar(-.1, .1), V = r.scalar(0, 3), aspect = r.scalar(.5, 2);
    const int count = r.integer(0, 40), first = r.integer(0, 160), mode = r.integer(0, 15);
    const int sides = r.integer(1, 9), thread = r.below(96);
    const miScalar X = flare.X, Y = flare.Y;
    miState* state = &flare.state;
    const auto keep = [c](const char* name, miBoolean drawn, const miColor& out) {
        c->record.add(name, drawn);
        if (drawn) c->record.add(name, out);
    };
    miColor out = {};
    keep("circle", IN_PLUGIN(drawCircle)(state, &out, col, X, Y, cx, cy, R, mode, V, aspect), out);
    keep("polygon",
         IN_PLUGIN(drawNgon)(state, &out, col, X, Y, cx, cy, R, rot, sides, mode, V, aspect), out);
    keep("rays",
         IN_PLUGIN(drawRays)(state, &out, col, X, Y, cx, cy, rot, R, inner, outer, count, first,
                             mode, V, aspect, thread),
         out);
    keep("sectors",
         IN_PLUGIN(drawSectors)(state, &out, col, X, Y, cx, cy, rot, R, inner, outer, spread, count,
                                mode, V, aspect, thread),
         out);
    keep("profile", IN_PLUGIN(primitiveProfile)(state, &out, col, X, X, Y, R, mode, V), out);
}

}  // namespace

const std::vector<Function> kFunctions = {
    {"colors", colors},           {"curves", curves},
    {"noises", noises},           {"intersections", intersections},
    {"projections", projections}, {"star", star},
    {"shapes", shapes},
};
