// Every word of every parameter block, as orvane.mi declares it, with numbers that nobody means:
// colors stay finite, or the shader ends the render.

#include <dlfcn.h>

#include <bit>
#include <cmath>
#include <fstream>

#include "scripted/host.h"

namespace {

using Block = std::vector<miUint>;

miUint bits(double x) { return std::bit_cast<miUint>(static_cast<miScalar>(x)); }

bool is_finite(const miColor& c) {
    return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b) && std::isfinite(c.a);
}

struct Shader {
    std::string name;
    std::vector<std::string> parameters, types = {};  // of each word of the block
    Block block = {};

    template <typename Function>
    Function* find(const std::string& suffix) const {
        return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, (name + suffix).c_str()));
    }
};

class HostileTest : public scripted::Renderer {
  protected:
    HostileTest() {
        read("orvane.mi");
        options.frame_buffers[miFB_COLOR] = &picture;
        host.largest_allocation = 1 << 20;
        host.light_samples = [](miState* at, miTag) {
            return std::vector<scripted::LightSample>(1, {{1, 2, 3, 0}, {0, 0, 1}, -at->dot_nd});
        };
        host.trace_reflection = [](miColor* seen, miState* from, auto&) {
            from->dist = 5, *seen = {1, 2, 3, 1};
            return miTRUE;
        };
        host.trace_refraction = host.trace_transparent = host.trace_reflection;
        host.trace_eye = [this](miColor* seen, miState* from, auto&, const miVector& dir) {
            return host.trace_reflection(seen, from, dir);
        };
    }

    void read(const std::string& file) {
        std::ifstream in(ORVANE_SOURCE_DIR "/shaders/" + file);
        for (std::string line; std::getline(in, line);) {
            line.resize(std::min(line.size(), line.find('#')));
            if (line.starts_with("$include")) read("soft_block.mi");
            const std::size_t quote = line.find('"'), type = line.find_first_not_of(' ');
            if (!line.starts_with(' ') || quote == line.npos) continue;
            const std::string name = line.substr(quote + 1, line.find('"', quote + 1) - quote - 1);
            const std::size_t defaults = std::min(line.size(), line.find(" default "));
            if (line.ends_with('('))
                shaders.push_back({name, {}});
            else
                add(line.substr(type, quote - type - 1), name,
                    std::istringstream(line.substr(defaults)));
        }
    }
    void add(const std::string& type, const std::string& name, std::istringstream defaults) {
        const std::map<std::string, std::size_t> sizes = {
            {"vector", 3}, {"color", 4}, {"transform", 16}};
        Block words(sizes.contains(type) ? sizes.at(type) : 1);
        double value = 0;
        defaults.ignore(9);  // the word " default "
        for (miUint& word : words) {
            if (!(defaults >> value)) value = 0;
            word = type == "integer" ? static_cast<miUint>(value) : bits(value);
        }
        if (type == "array light") words = {0, 1, light};
        if (type == "array struct") words = {0, 1};  // the members of its element follow
        if (type == "color texture") words = {texture};
        Shader& shader = shaders.back();
        shader.block.insert(shader.block.end(), words.begin(), words.end());
        shader.types.resize(shader.block.size(), type);
        shader.parameters.resize(shader.block.size(), name);
    }

    // All switches on, and halves for zeros.
    static Block lively(const Shader& shader) {
        Block block = shader.block;
        for (std::size_t w = 0; w < block.size(); ++w) {
            if (shader.types[w] == "boolean") block[w] = 1;
            if (shader.types[w] == "scalar" && block[w] == 0) block[w] = bits(0.5);
            if (shader.parameters[w] == "map_resolution") block[w] = 2;
        }
        return block;
    }
    static Block hostile(const std::string& type) {
        if (type == "integer" || type == "boolean") return {0, 1, 2, 7, miUint(-1)};
        if (type != "scalar" && type != "vector" && type != "color") return {};
        return {bits(NAN), bits(INFINITY), bits(-INFINITY), 0, bits(-1), bits(1e38), bits(3e38)};
    }

    // One word after the other of a block. What a light's shader has, lens and volume read, too;
    // lights and backgrounds that are infinite are what was asked for.
    void sweep(const Shader& shader, Block block) {
        const bool passes_on = shader.name == "Orvane_Light" || shader.name == "zel_bg_color";
        for (std::size_t w = 0; w < block.size(); ++w)
            for (const miUint bad : hostile(shader.types[w])) {
                const miScalar number = std::bit_cast<miScalar>(bad);
                SCOPED_TRACE(shader.parameters[w] + ' ' + std::to_string(number));
                const miUint sane = std::exchange(block[w], bad);
                if (!passes_on || std::isfinite(number)) live(shader, block);
                if (shader.name == "Orvane_Light") {
                    std::copy(block.begin(), block.end(), light_block.begin());
                    for (const unsigned reader : {1u, 2u})
                        live(shaders[reader], shaders[reader].block);
                }
                block[w] = sane;
            }
    }
    // From init to exit.
    void live(const Shader& shader, Block block) {
        const auto init = shader.find<void(miState*, void*, miBoolean*)>("_init");
        const auto exit = shader.find<void(miState*, void*)>("_exit");
        function.parameter_size = static_cast<int>(4 * block.size());
        const miState fresh = state;
        miBoolean wanted = miFALSE;
        try {
            if (init) init(&state, nullptr, &wanted);
            if (wanted) init(&state, block.data(), nullptr);
            for (const miInteger ray : {miRAY_EYE, miRAY_SHADOW, miRAY_LIGHT})
                for (const miScalar dot_nd : {-1.0f, 0.0f}) {
                    state.type = ray, state.dot_nd = dot_nd, state.light_instance = light;
                    shade(shader, &block);
                    state = fresh;
                }
        } catch (const scripted::Fatal&) {
            state = fresh;
        }
        if (exit && wanted) exit(&state, block.data());
        if (exit) exit(&state, nullptr);
        host.calls.clear(), host.messages.clear(), host.materials.calls.clear();
    }
    void shade(const Shader& shader, Block* block) {
        picture.pixels.assign(4, {0.5f, 0.5f, 0.5f, 0.25f});
        miColor result = {1, 1, 1, 1};
        shader.find<miBoolean(miColor*, miState*, void*)>("")(&result, &state, block->data());
        EXPECT_TRUE(is_finite(result) && is_finite(picture.pixels[0]));
    }

    scripted::Image picture = {2, 2, std::vector<miColor>(4)};
    Block light_block = Block(200);
    miTag texture = host.add_image(&picture);
    miTag light = host.add_light({.origin = {0, 1, -3}, .params = light_block.data()});
    std::vector<Shader> shaders;
};

TEST_F(HostileTest, NumbersThatNobodyMeansComeToNothing) {
    ASSERT_EQ(shaders.size(), 25u);
    for (const Shader& shader : shaders) {
        SCOPED_TRACE(shader.name);
        sweep(shader, shader.block);
        sweep(shader, lively(shader));
    }
}

// Once, when the render begins; instances are asked for by those alone that keep something.
TEST_F(HostileTest, ShadersTellTheirNames) {
    const std::map<std::string, std::string> kNames = {
        {"zel_toon_mat", "toon_mat"}, {"zel_toon_si_mat", "toon_si_mat"},
        {"zel_strauss", "strauss"},   {"zel_toon_wire_mat", "toon"},
        {"zel_trispec", "trispec"},   {"zel_frosty", "frosty"},
        {"zel_peekaboo", "peekaboo"}, {"zel_xmasball", "xmasball"},
        {"zel_velvet", "velvet"},     {"zel_shadow_matte", "shadow_matte"},
        {"zel_dense_vol", "dense"}};
    for (Shader& shader : shaders) {
        if (!kNames.contains(shader.name)) continue;
        const auto init = shader.find<void(miState*, void*, miBoolean*)>("_init");
        miBoolean wanted = miFALSE;
        init(&state, nullptr, &wanted);
        ASSERT_EQ(host.messages.size(), 1u) << shader.name;
        init(&state, shader.block.data(), nullptr);
        ASSERT_EQ(host.messages.size(), 1u) << shader.name;
        EXPECT_EQ(host.messages[0].text, kNames.at(shader.name) + " initializing\n");
        EXPECT_EQ(wanted, shader.name == "zel_toon_mat" || shader.name == "zel_toon_si_mat");
        host.messages.clear();
    }
}

}  // namespace
