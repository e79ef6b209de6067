// The element options.
#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

// The keyword among the choices; choices are pairs of word and value.
template <typename T>
T read_choice(Reader& in, std::string_view what, const std::map<std::string_view, T>& choices) {
    const auto found = choices.find(in.peek().text);
    if (in.peek().kind != Token::Kind::Word || found == choices.end()) {
        std::string expected;
        for (const auto& [word, value] : choices) {
            expected += (expected.empty() ? "" : ", ") + std::string(word);
        }
        in.fail_expected("one of " + expected + " for " + std::string(what));
    }
    in.take();
    return found->second;
}

void read_trace(Reader& in, Options& options) {
    if (!in.accept("depth")) {
        options.trace = in.boolean("trace");
        return;
    }
    constexpr int kDeepest = 1000;
    auto& [reflection, refraction, sum] = options.trace_depth;
    reflection = in.integer("trace depth", 0, kDeepest);
    refraction = in.at_integer() ? in.integer("trace depth", 0, kDeepest) : reflection;
    sum = in.at_integer() ? in.integer("trace depth", 0, 2 * kDeepest) : reflection + refraction;
}

void read_scanline(Reader& in, Options& options) {
    options.scanline =
        in.accept("opengl") || in.accept("rapid") || in.accept("rast") || in.boolean("scanline");
}

void read_shadow(Reader& in, Options& options) {
    options.shadow = read_choice<Shadow>(in, "shadow",
                                         {{"off", Shadow::Off},
                                          {"on", Shadow::On},
                                          {"sort", Shadow::Sort},
                                          {"segments", Shadow::Segments}});
}

void read_shadow_map(Reader& in, Options& options) {
    if (in.accept("motion") || in.accept("rebuild") || in.accept("bias")) {
        in.warn_once("shadowmap", in.last().place(), "details of \"shadowmap\" are ignored");
        if (in.at_number() || in.at_boolean()) in.take();
    } else {
        options.shadow_maps = read_choice<bool>(
            in, "shadowmap",
            {{"off", false}, {"on", true}, {"opengl", true}, {"detail", true}, {"only", true}});
    }
}

void read_samples(Reader& in, Options& options) {
    constexpr int kLeast = -4, kMost = 6;
    if (in.accept("collect") || in.accept("motion")) return in.skip_numbers();
    const Token first = in.peek();
    options.samples_max = in.integer("samples", kLeast, kMost);
    options.samples_min = std::min(options.samples_min, options.samples_max);
    if (!in.at_integer()) return;
    options.samples_min = options.samples_max;
    options.samples_max = in.integer("samples", kLeast, kMost);
    if (options.samples_min > options.samples_max) {
        in.fail(first, "the minimum of samples is above the maximum");
    }
    in.skip_numbers();
}

void read_contrast(Reader& in, Options& options) {
    const Vec3 rgb = in.vector("contrast");
    const float a = in.at_number() ? in.number("contrast") : options.contrast.a;
    options.contrast = {rgb.x, rgb.y, rgb.z, a};
}

void read_time(Reader& in, Options&) {
    in.expect("contrast", "after \"time\"");
    in.warn_once("time contrast", in.last().place(), "\"time contrast\" is ignored");
    in.skip_numbers();
}

void read_filter(Reader& in, Options& options) {
    options.filter_clip = in.accept("clip");
    options.filter = read_choice<Filter>(in, "filter",
                                         {{"box", Filter::Box},
                                          {"triangle", Filter::Triangle},
                                          {"gauss", Filter::Gauss},
                                          {"mitchell", Filter::Mitchell},
                                          {"lanczos", Filter::Lanczos}});
    options.filter_width.reset();
    options.filter_height.reset();
    if (in.at_number()) options.filter_width = in.positive("the filter's width");
    if (in.at_number()) options.filter_height = in.positive("the filter's height");
}

void read_jitter(Reader& in, Options& options) {
    const Token token = in.peek();
    options.jitter = in.number("jitter");
    if (options.jitter >= 0 && options.jitter <= 1) return;
    in.warn(token.place(), "jitter must be 0 to 1");
    options.jitter = std::clamp(options.jitter, 0.0f, 1.0f);
}

void read_task(Reader& in, Options& options) {
    in.expect("size", "after \"task\"");
    options.task_size = in.integer("task size", 0, 65536);
}

void read_face(Reader& in, Options& options) {
    options.face = read_choice<char>(in, "face", {{"front", 'f'}, {"back", 'b'}, {"both", 'a'}});
}

void read_color_clip(Reader& in, Options& options) {
    using Clip = Options::ColorClip;
    options.colorclip = read_choice<Clip>(
        in, "colorclip", {{"rgb", Clip::Rgb}, {"alpha", Clip::Alpha}, {"raw", Clip::Raw}});
}

void read_shutter(Reader& in, Options& options) {
    if (in.accept("delay")) {
        options.shutter_delay = in.number("shutter delay");
    } else {
        options.shutter = in.number("shutter");
    }
}

void read_motion(Reader& in, Options& options) {
    if (in.accept("steps")) {
        in.warn_once("motion steps", in.last().place(), "\"motion steps\" is ignored");
        return in.skip_numbers();
    }
    options.motion = in.boolean("motion");
}

void read_frame_buffer(Reader& in, Options& options) {
    in.expect("buffer", "after \"frame\"");
    const int number = in.integer("frame buffer", 0, 255);
    options.frame_buffers[number] = in.at_string() ? in.string("a type") : "";
}

// object space and its relatives, of which only the first is known.
void read_space(Reader& in, Options&) { in.expect("space", "after the kind of modelling space"); }

void read_other_space(Reader& in, Options&) {
    in.warn_once("space", in.last().place(), "only \"object space\" is known: used instead");
    in.expect("space", "after the kind of modelling space");
}

void read_contour(Reader& in, Options&) {
    if (!in.accept("store")) in.expect("contrast", "or \"store\" after \"contour\"");
    ignore_calls(in, "contour");
}

// "any name" value: options of later versions.
bool read_string_option(Reader& in, Options&) {
    if (!in.at_string()) return false;
    const Token token = in.take();
    const std::string what = describe(token) + " in options";
    in.warn_once(what, token.place(), what + " is ignored");
    if (in.at_boolean() || in.at_string()) {
        in.take();
    } else if (in.peek().is('[')) {
        in.skip_brackets();
    } else {
        in.skip_numbers();
    }
    return true;
}

const Grammar<Options>& grammar() {
    static const Grammar<Options> kGrammar = {
        .statements =
            {
                {"trace", read_trace},
                {"scanline", read_scanline},
                {"shadow", read_shadow},
                {"shadowmap", read_shadow_map},
                {"samples", read_samples},
                {"contrast", read_contrast},
                {"time", read_time},
                {"filter", read_filter},
                {"jitter", read_jitter},
                {"samplelock",
                 [](Reader& in, Options& o) { o.samplelock = in.boolean("samplelock"); }},
                {"task", read_task},
                {"face", read_face},
                {"gamma", [](Reader& in, Options& o) { o.gamma = in.positive("gamma"); }},
                {"colorclip", read_color_clip},
                {"desaturate",
                 [](Reader& in, Options& o) { o.desaturate = in.boolean("desaturate"); }},
                {"premultiply",
                 [](Reader& in, Options& o) { o.premultiply = in.boolean("premultiply"); }},
                {"dither", [](Reader& in, Options& o) { o.dither = in.boolean("dither"); }},
                {"shutter", read_shutter},
                {"motion", read_motion},
                {"lens", [](Reader& in, Options& o) { o.lens = in.boolean("lens"); }},
                {"volume", [](Reader& in, Options& o) { o.volume = in.boolean("volume"); }},
                {"output", [](Reader& in, Options& o) { o.output = in.boolean("output"); }},
                {"frame", read_frame_buffer},
                {"object", read_space},
                {"camera", read_other_space},
                {"mixed", read_other_space},
                {"world", read_other_space},
                {"contour", read_contour},
                {"state", [](Reader& in, Options&) { ignore_calls(in, "state"); }},
            },
        .ignored =
            {
                {"geometry", {}},
                {"displace", {"presample"}},
                {"merge", {}},
                {"autovolume", {}},
                {"pass", {}},
                {"hair", {}},
                {"inheritance", {}},
                {"traversal", {}},
                {"data", {}},
                {"acceleration", {"bsp", "grid", "raycl"}},
                {"bsp", {"size", "depth", "memory", "shadow"}},
                {"grid", {"size", "resolution", "depth"}},
                {"raycl", {}},
                {"hardware", {}},
                {"caustic", {"accuracy", "filter", "scale", "photons"}},
                {"globillum", {"accuracy", "filter", "scale", "photons"}},
                {"finalgather",
                 {"accuracy", "falloff", "file", "filter", "presample", "rebuild", "scale",
                  "trace"}},
                {"photonvol", {"accuracy", "scale"}},
                {"photonmap", {"file", "rebuild", "only"}},
                {"photon", {"trace", "autovolume"}},
                {"lightmap", {}},
                {"max", {"displace"}},
                {"approximate", {}},
                {"diagnostic", {"samples", "photon", "grid", "hardware", "finalgather", "bsp"}},
                {"luminance", {"weight"}},
                {"shading", {"samples"}},
                {"field", {}},
                {"colorprofile", {}},
                {"rast", {"motion"}},
            },
        .other = read_string_option,
    };
    return kGrammar;
}

}  // namespace

void read_options(Reader& in) {
    const Heading heading = in.heading();
    Options options = in.begin(&Scene::options, heading);
    options.place = heading.place;
    read_statements(in, grammar(), heading, options);
    in.define(&Scene::options, heading.name, std::move(options));
}

}  // namespace orvane::scene
