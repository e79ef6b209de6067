// What surfaces are made of: the elements texture, material and shader.
#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

std::uint8_t hex_digit(char c) {
    if (c <= '9') return static_cast<std::uint8_t>(c - '0');
    return static_cast<std::uint8_t>((c | 0x20) - 'a' + 10);
}

// 'hex' 'hex' ...
std::vector<std::uint8_t> read_bytes(Reader& in) {
    std::vector<std::uint8_t> bytes;
    while (in.peek().kind == Token::Kind::Bytes) {
        const std::string_view digits = in.take().text;
        for (std::size_t i = 0; i < digits.size(); i += 2) {
            const int byte = hex_digit(digits[i]) << 4 | hex_digit(digits[i + 1]);
            bytes.push_back(static_cast<std::uint8_t>(byte));
        }
    }
    return bytes;
}

// [ w h depth ] and the bytes.
void read_pixels(Reader& in, Texture& texture) {
    constexpr int kMost = 65536;
    const Token opened = in.peek();
    in.expect('[', "before the size of the texture");
    texture.width = in.integer("texture size", 1, kMost);
    texture.height = in.integer("texture size", 1, kMost);
    const Token depth = in.peek();
    if (in.at_integer()) texture.depth = in.integer("texture depth", 1, 4);
    if (texture.depth == 3) in.fail(depth, "texture depth must be 1, 2 or 4");
    in.expect(']', "after the size of the texture");

    // One to four components a pixel.
    texture.bytes = read_bytes(in);
    const auto component = static_cast<std::size_t>(texture.width) *
                           static_cast<std::size_t>(texture.height) *
                           static_cast<std::size_t>(texture.depth);
    const std::size_t count = texture.bytes.size();
    if (count == 0 || count % component != 0 || count / component > 4) {
        in.fail(opened, "the texture has " + std::to_string(count) + " bytes, not 1 to 4 times " +
                            std::to_string(component));
    }
}

// The flags before "color texture" and the like.
void read_texture_flags(Reader& in) {
    while (true) {
        if (in.accept("filter")) {
            if (in.at_number()) in.take();
        } else if (in.at_word("writable")) {
            const Token token = in.take();
            in.warn_once("writable", token.place(), "\"writable\" textures are only read");
        } else if (!in.accept("local")) {
            return;
        }
    }
}

Texture::Kind read_texture_kind(Reader& in) {
    if (in.accept("color")) return Texture::Kind::Color;
    if (in.accept("scalar")) return Texture::Kind::Scalar;
    in.expect("vector", "or color or scalar before \"texture\"");
    return Texture::Kind::Vector;
}

template <ShaderList Material::*list>
void read_part(Reader& in, Material& material) {
    material.*list = read_calls(in);
}

bool read_surface(Reader& in, Material& material) {
    if (!at_call(in)) return false;
    material.shader = read_calls(in);
    return true;
}

const Grammar<Material>& material_grammar() {
    static const Grammar<Material> kGrammar = {
        .statements =
            {
                {"opaque", [](Reader& in, Material& m) { m.opaque = in.flag("opaque"); }},
                {"nocontour", [](Reader&, Material& m) { m.contour.clear(); }},
                {"shadow", read_part<&Material::shadow>},
                {"volume", read_part<&Material::volume>},
                {"environment", read_part<&Material::environment>},
                {"displace", read_part<&Material::displace>},
                {"contour", read_part<&Material::contour>},
                {"photon", [](Reader& in, Material&) { ignore_calls(in, "photon"); }},
                {"photonvol", [](Reader& in, Material&) { ignore_calls(in, "photonvol"); }},
                {"lightmap", [](Reader& in, Material&) { ignore_calls(in, "lightmap"); }},
            },
        .ignored = {{"state", {}}, {"hardware", {}}, {"attribute", {}}, {"data", {}}},
        .other = read_surface,
    };
    return kGrammar;
}

}  // namespace

void read_texture(Reader& in) {
    Texture texture;
    read_texture_flags(in);
    texture.kind = read_texture_kind(in);
    if (!in.at_word("texture")) in.fail_expected("\"texture\"");
    const Heading heading = in.heading();
    in.begin(&Scene::textures, heading);
    texture.place = heading.place;
    if (in.accept("colorprofile")) in.name("a colour profile");

    if (in.peek().is('[')) {
        read_pixels(in, texture);
    } else if (in.peek().is('=') || in.peek_second().is('(')) {
        texture.shader = read_calls(in);
    } else {
        // The type, the format and the size of a writable file tell nothing about its contents.
        texture.file = in.input.substitute(in.string("an image file"));
        while (in.at_string()) in.take();
        if (in.peek().is('[')) in.skip_brackets();
    }
    in.define(&Scene::textures, heading.name, std::move(texture));
}

void read_material(Reader& in) {
    const Heading heading = in.heading();
    Material material = in.begin(&Scene::materials, heading);
    material.place = heading.place;
    read_statements(in, material_grammar(), heading, material);
    in.define(&Scene::materials, heading.name, std::move(material));
}

void read_shader(Reader& in) {
    const Heading heading = in.heading();
    in.begin(&Scene::shaders, heading);
    if (!at_call(in)) in.fail_expected("a shader");
    ShaderList calls = read_calls(in);
    in.define(&Scene::shaders, heading.name, std::move(calls));
}

}  // namespace orvane::scene
