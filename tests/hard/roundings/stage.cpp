#include "stage.h"

#include <algorithm>
#include <stdexcept>

#include "toon/toon_material.h"

Plugin::Plugin(const std::string& path)
    : path_(path), library_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!library_) throw std::runtime_error(dlerror());
}

Stage::Stage(const Plugin& plugin, const Shader& light, Random* random)
    : plugin_(plugin), random_(*random) {
    scripted::set_current(&host);
    camera.focal = random->scalar(0.1, 4), camera.aperture = random->scalar(0.1, 4);
    camera.aspect = random->scalar(0.2, 4);
    camera.x_resolution = 1 + random->below(5), camera.y_resolution = 1 + random->below(5);
    camera.frame_time = random->scalar(0, 10);
    options.trace = !random->one_in(20), options.scanline = random->one_in(20);
    options.shadow = random->one_in(3) ? miSHADOW_SEGMENTS : miSHADOW_ON;
    options.reflection_depth = random->below(4), options.refraction_depth = random->below(4);
    options.trace_depth = random->below(6), options.no_secondary = random->one_in(10);
    for (auto* matrix : {&host.world, &host.camera, &host.object})
        if (!random->one_in(3))
            *matrix = scripted::rotation(random->scalar(-3, 3), random->scalar(-3, 3), 1) *
                      scripted::translation(random->scalar(-5, 5), 1, random->scalar(-5, 5));

    // One lens of the running kind, sometimes two.
    function.identity = this;
    const miTag of_lens = host.add({miITEM_FUNCTION, &function, {}});
    lenses_.count = 1, lenses_.tags[0] = of_lens;
    camera.lens = host.add({miITEM_SHADER_LIST, &lenses_, {}});
    if (random->one_in(8)) camera.lens = 0;

    add_preset();
    add_lights(light);
    picture_ = {camera.x_resolution, camera.y_resolution, {}};
    for (int i = 0; i < picture_.width * picture_.height; ++i)
        picture_.pixels.push_back(random->color(0, 1));
    options.frame_buffers[miFB_COLOR] = &picture_;
    set_hooks();
    begin_ray();
}

// Words and numbers of presets, more or less in order, and now and then any byte.
void Stage::add_preset() {
    constexpr const char* kWords[] = {"CIRCLE", "CIRCLE_D", "NGON",      "NGON_D",
                                      "SECTOR", "RAYS",     "FLARE_END", "CIRCLE"};
    std::string text = "FLARE_START 1\n";
    for (int i = random_.below(6); i > 0; --i) {
        text += kWords[random_.below(8)];
        for (int k = random_.below(16); k > 0; --k)
            text += ' ' + std::to_string(random_.one_in(3) ? random_.below(16) : random_.unit());
        text += '\n';
    }
    preset_ = {static_cast<int>(text.size()), 1, {}};
    for (const char c : text) {
        const int byte = random_.one_in(99) ? random_.below(256) : c;
        preset_.pixels.push_back({0, 0, 0, static_cast<miScalar>(byte) / 255.0f});
    }
    tags.texture = host.add_image(&preset_);
}

void Stage::add_lights(const Shader& light) {
    tags.lights = {0};
    for (int i = 0; i < 3; ++i) {
        auto& block = light_blocks_.emplace_back(fill(light, tags, random_));
        scripted::Light item = {};
        item.type = random_.below(3), item.origin = random_.point();
        item.direction = random_.direction(), item.spread = random_.scalar(-1, 1);
        item.shader = random_.one_in(10) ? "soft_light" : "Orvane_Light";
        item.params = block.data();
        tags.lights.push_back(host.add_light(item));
    }
}

miBoolean Stage::see(miColor* color) {
    if (random_.one_in(6)) return miFALSE;
    *color = random_.color();
    return miTRUE;
}

// What an eye ray hits records itself in a lens's grid.
miBoolean Stage::hit(miColor* color, miState* from) {
    const miBoolean answer = see(color);
    from->dist = random_.one_in(4) ? 0 : random_.number(0, 50);
    miState at = *from;
    at.point = random_.point(), at.normal = random_.direction();
    at.normal_geom = random_.direction(), at.dot_nd = random_.scalar(-1, 0);
    at.label = static_cast<miUint>(random_.below(4));
    zel_toon_record record = {};
    begin_record(&record, random_.scalar(0, 3), random_.color(), random_.scalar(0, 1));
    record.color_lines_on = random_.below(2), record.zone_lines_on = random_.below(2);
    record.zone = random_.below(3), record.group_count = random_.below(2);
    record.group_labels[0] = static_cast<miUint>(random_.below(4));
    if (!random_.one_in(3))
        plugin_.find<decltype(zel_ct_set)>("zel_ct_set")(&at, &record.crease_color, &record);
    return answer;
}

void Stage::set_hooks() {
    const auto seen = [this](miColor* color, miState*, const miVector&) { return see(color); };
    host.trace_refraction = host.trace_transparent = host.trace_environment = seen;
    host.trace_reflection = [this](miColor* color, miState* from, const miVector&) {
        if (depth_ray) depth_ray(from);
        return see(color);
    };
    host.trace_eye = [this](miColor* color, miState* from, const miVector&, const miVector&) {
        return hit(color, from);
    };
    host.trace_shadow = host.trace_shadow_seg = [this](miColor* c, miState*) { return see(c); };
    host.texture = [this](miColor* c, miState*, miTag, const miVector&) { return see(c); };
    host.light_samples = [this](miState*, miTag) {
        std::vector<scripted::LightSample> samples;
        for (int n = random_.below(3); n > 0; --n)
            samples.push_back({random_.color(), random_.direction(), random_.scalar(0, 1)});
        return samples;
    };
    host.connect = [this](miState*, void*) -> void* {
        connected_ = random_.color();
        return &connected_;
    };
    host.aborted = [this] { return ++checks_ > 3000; };  // no count keeps a call busy for long
    host.largest_allocation = 1 << 15;
    auto& library = host.materials;
    library.casts_shadow = !random_.one_in(6);
    library.ior_in = random_.scalar(1, 2), library.ior_out = random_.scalar(1, 2);
    for (miColor* c : {&library.material, &library.illumination, &library.reflection,
                       &library.refraction, &library.shadow})
        *c = random_.color();
}

void Stage::begin_ray() {
    std::memset(&state, 0, sizeof state);
    state.camera = &camera, state.options = &options, state.shader = &function;
    state.global_lock = &lock_;
    state.thread = static_cast<std::int16_t>(random_.one_in(20) ? 96 : random_.below(96));
    state.raster_x = random_.scalar(0, 5), state.raster_y = random_.scalar(0, 5);
    constexpr miInteger kTypes[] = {miRAY_EYE,     miRAY_EYE,   miRAY_TRANSPARENT, miRAY_REFLECT,
                                    miRAY_REFRACT, miRAY_LIGHT, miRAY_LIGHT,       miRAY_SHADOW};
    state.type = kTypes[random_.below(8)];
    state.reflection_level = random_.below(4), state.refraction_level = random_.below(4);
    state.org = random_.point(), state.dir = random_.direction();
    state.dist = random_.one_in(4) ? 0 : random_.number(0, 50);
    state.ior = random_.scalar(1, 2), state.ior_in = random_.scalar(1, 2);
    state.label = static_cast<miUint>(random_.below(4));
    state.point = random_.point(), state.normal = random_.direction();
    state.normal_geom = random_.direction(), state.motion = random_.point();
    state.dot_nd = random_.one_in(3) ? random_.scalar(-1, 0) : dot(state.normal, state.dir);
    state.light_instance = tags.lights[1 + static_cast<std::size_t>(random_.below(3))];

    for (miState& parent : parents_) {
        std::memset(&parent, 0, sizeof parent);
        parent.type = random_.below(6), parent.dist = random_.number(0, 50);
    }
    parents_[0].parent = random_.one_in(2) ? &parents_[1] : nullptr;
    state.parent = random_.one_in(2) ? &parents_[0] : nullptr;
}

void Stage::record(Record* to) const {
    miState s;
    std::memcpy(&s, &state, sizeof s);
    s.camera = nullptr, s.options = nullptr, s.global_lock = nullptr, s.shader = nullptr;
    s.parent = nullptr, s.pri = nullptr, s.user = nullptr;
    to->add("state", s);
    to->add("picture", picture_.pixels.data(), picture_.pixels.size());
    for (const auto& block : light_blocks_) to->add("light", block.data(), block.size());
    for (const scripted::Call& call : host.calls)
        for (const double argument : call.arguments)
            to->add("calls", static_cast<miScalar>(argument));
    for (const scripted::MaterialCall& call : host.materials.calls)
        to->add("block of a call", call.block);
}
