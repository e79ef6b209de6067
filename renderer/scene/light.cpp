// The element light.
#include <utility>

#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

using Area = Light::Area;

struct LightBlock {
    Light light;
    bool has_shader = false;  // this block has begun the list
};

bool read_shaders(Reader& in, LightBlock& block) {
    if (!at_call(in)) return false;
    if (!std::exchange(block.has_shader, true)) block.light.shader.clear();
    for (ShaderCall& call : read_calls(in)) block.light.shader.push_back(std::move(call));
    return true;
}

// n or u v, then the ray depth from which on other numbers of samples hold, and those.
void read_samples(Reader& in, Light& light) {
    constexpr int kMost = 1024;
    light.samples = Light{}.samples;
    light.low_samples = Light{}.low_samples;
    light.low_level = 0;
    if (!in.at_integer()) return;
    light.samples[0] = in.integer("area samples", 1, kMost);
    light.samples[1] = in.at_integer() ? in.integer("area samples", 1, kMost) : light.samples[0];
    if (!in.at_integer()) return;
    light.low_level = in.integer("the level of area samples", 0, kMost);
    if (!in.at_integer()) return;
    light.low_samples[0] = in.integer("area samples", 1, kMost);
    light.low_samples[1] =
        in.at_integer() ? in.integer("area samples", 1, kMost) : light.low_samples[0];
}

// A primitive; without numbers the light has no area any more.
void read_area(Reader& in, LightBlock& block, Area area) {
    Light& light = block.light;
    light.area = in.at_number() ? area : Area::None;
    if (light.area == Area::None) return;
    light.area_u = area == Area::Sphere ? Vec3{} : in.vector("the area");
    light.area_v = area == Area::Rectangle ? in.vector("the area") : Vec3{};
    light.area_radius = area == Area::Rectangle ? 0 : in.positive("the radius");
    read_samples(in, light);
}

void read_unknown_area(Reader& in, LightBlock& block) {
    in.warn_once("light area", in.last().place(), "this kind of area light is taken without area");
    block.light.area = Area::None;
    if (in.at_string()) in.take();
    in.skip_numbers();
}

void read_spread(Reader& in, LightBlock& block) {
    const Token token = in.peek();
    const float spread = in.number("spread");
    block.light.spread = std::clamp(spread, -1.0f, 1.0f);
    if (spread != block.light.spread) {
        in.warn(token.place(), "spread is a cosine, -1 to 1: the nearer one is taken");
    }
}

const Grammar<LightBlock>& grammar() {
    static const Grammar<LightBlock> kGrammar = {
        .statements =
            {
                {"emitter", [](Reader& in, LightBlock&) { ignore_calls(in, "emitter"); }},
                {"origin", [](Reader& in, LightBlock& b) { b.light.origin = in.vector("origin"); }},
                {"direction",
                 [](Reader& in, LightBlock& b) { b.light.direction = in.vector("direction"); }},
                {"spread", read_spread},
                {"area", [](Reader&, LightBlock&) {}},
                {"rectangle", [](Reader& in, LightBlock& b) { read_area(in, b, Area::Rectangle); }},
                {"disc", [](Reader& in, LightBlock& b) { read_area(in, b, Area::Disc); }},
                {"sphere", [](Reader& in, LightBlock& b) { read_area(in, b, Area::Sphere); }},
                {"cylinder", [](Reader& in, LightBlock& b) { read_area(in, b, Area::Cylinder); }},
                {"object", read_unknown_area},
                {"user", read_unknown_area},
                {"visible",
                 [](Reader& in, LightBlock& b) { b.light.visible = in.flag("visible"); }},
                {"tag", [](Reader& in, LightBlock& b) { b.light.tag = in.label("tag"); }},
            },
        .ignored =
            {
                {"shadowmap", {}},
                {"energy", {}},
                {"exponent", {}},
                {"caustic", {}},
                {"globillum", {}},
                {"photons", {}},
                {"lightprofile", {}},
                {"hardware", {}},
                {"attribute", {}},
                {"data", {}},
            },
        .other = read_shaders,
        .calls = true,
    };
    return kGrammar;
}

}  // namespace

void read_light(Reader& in) {
    const Heading heading = in.heading();
    LightBlock block = {in.begin(&Scene::lights, heading), false};
    block.light.place = heading.place;
    read_statements(in, grammar(), heading, block);
    in.define(&Scene::lights, heading.name, std::move(block.light));
}

}  // namespace orvane::scene
