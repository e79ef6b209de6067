// The element object: flags, then geometry in groups or lists of triangles.
#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/mesh_builder.h"
#include "scene/statements.h"
#include "scene/triangulate.h"

namespace orvane::scene {

void MeshBuilder::set_last(std::vector<Vec3>& field, const Vec3& value) {
    field.resize(mesh_.position.size());
    field.back() = value;
}

void MeshBuilder::set_texture(std::size_t space, const Vec3& value) {
    if (space >= kTextureSpaces) return;
    if (mesh_.texture.size() <= space) mesh_.texture.resize(space + 1);
    set_last(mesh_.texture[space], value);
}

std::int32_t MeshBuilder::material(Reader& in, const Token& name) {
    if (last_material_ >= 0 && name.text == last_name_) return last_material_;
    const std::string resolved = in.resolve(std::string(name.text));
    const auto next = static_cast<std::int32_t>(object_.materials.size());
    const auto [place, is_new] = materials_.emplace(resolved, next);
    if (is_new) {
        object_.materials.push_back(resolved);
        object_.material_places.push_back(name.place());
    }
    last_name_ = name.text;
    return last_material_ = place->second;
}

void MeshBuilder::add_polygon(std::span<const std::uint32_t> corners,
                              std::span<const std::size_t> loop_ends, std::int32_t material) {
    triangulate(mesh_.position, corners, loop_ends, mesh_.triangle);
    mesh_.material.resize(mesh_.triangle.size(), material);
}

void MeshBuilder::finish() {
    const std::size_t count = mesh_.position.size();
    if (!mesh_.normal.empty()) mesh_.normal.resize(count);
    if (!mesh_.motion.empty()) mesh_.motion.resize(count);
    for (auto& space : mesh_.texture) {
        if (!space.empty()) space.resize(count);
    }
    object_.mesh = std::make_shared<const Mesh>(std::move(mesh_));
}

std::uint32_t read_index(Reader& in, std::size_t count, std::string_view name) {
    const Token token = in.peek();
    if (token.kind != Token::Kind::Integer) in.fail_expected("a " + std::string(name) + " index");
    if (token.number < 0 || token.number >= static_cast<double>(count)) {
        in.fail(token, std::string(name) + " " + std::string(token.text) +
                           " does not exist: there are " + std::to_string(count));
    }
    in.take();
    return static_cast<std::uint32_t>(token.number);
}

namespace {

struct ObjectBlock {
    Object object;
    MeshBuilder mesh{object};
};

// Bits of the integer modes of later versions: 1 = casts or sees, 2 = is seen.
bool read_mode(Reader& in, std::string_view what, int bit) {
    if (in.at_integer()) return (in.integer(what, 0, 255) & bit) != 0;
    return in.flag(what);
}

void read_face(Reader& in, ObjectBlock& block) {
    if (in.accept("front")) {
        block.object.face = 'f';
    } else if (in.accept("back")) {
        block.object.face = 'b';
    } else {
        in.expect("both", "or front or back after \"face\"");
        block.object.face = 'a';
    }
}

void read_seen(Reader& in, ObjectBlock& block) {
    if (read_mode(in, "reflection and refraction", 2)) block.object.trace = true;
}

void skip_unsupported(Reader& in, ObjectBlock&) {
    in.warn_once("geometry", in.last().place(), "unsupported geometry is skipped");
    skip_parameters(in, [] { return false; });
}

void skip_hair(Reader& in, ObjectBlock& block) {
    const Token opened = in.last();
    skip_unsupported(in, block);
    in.skip_to_end("hair", opened);
}

const Grammar<ObjectBlock>& grammar() {
    static const Grammar<ObjectBlock> kGrammar = {
        .statements =
            {
                {"visible",
                 [](Reader& in, ObjectBlock& b) { b.object.visible = in.flag("visible"); }},
                {"shadow",
                 [](Reader& in, ObjectBlock& b) { b.object.shadow = read_mode(in, "shadow", 1); }},
                {"trace", [](Reader& in, ObjectBlock& b) { b.object.trace = in.flag("trace"); }},
                {"reflection", read_seen},
                {"refraction", read_seen},
                {"tagged", [](Reader& in, ObjectBlock& b) { b.object.tagged = in.flag("tagged"); }},
                {"tag", [](Reader& in, ObjectBlock& b) { b.object.tag = in.label("tag"); }},
                {"face", read_face},
                {"group", [](Reader& in,
                             ObjectBlock& b) { read_polygon_group(in, b.mesh, b.object.tagged); }},
                {"trilist",
                 [](Reader& in, ObjectBlock& b) { read_trilist(in, b.mesh, b.object.tagged); }},
                {"file", skip_unsupported},
                {"intersection", skip_unsupported},
                {"hair", skip_hair},
            },
        .ignored =
            {
                {"shadowmap", {}},
                {"select", {}},
                {"transparency", {}},
                {"caustic", {}},
                {"globillum", {}},
                {"finalgather", {}},
                {"transform", {}},
                {"max", {}},
                {"ray", {}},
                {"samples", {}},
                {"shading", {}},
                {"box", {}},
                {"motion", {"box"}},
                {"volume", {}},
                {"data", {}},
                {"attribute", {}},
                {"approximate", {}},
                {"basis", {}},
            },
    };
    return kGrammar;
}

}  // namespace

void read_object(Reader& in) {
    // An object need not have a name: nothing can refer to it then.
    Heading heading;
    const Token second = in.peek_second();
    if (second.kind == Token::Kind::String) {
        heading = in.heading();
        in.begin(&Scene::objects, heading);
    } else {
        const Token keyword = in.take();
        heading = {"object", "", keyword, keyword.place()};
    }
    ObjectBlock block;
    block.object.place = heading.place;
    read_statements(in, grammar(), heading, block);
    block.mesh.finish();
    if (!heading.name.empty()) in.define(&Scene::objects, heading.name, std::move(block.object));
}

}  // namespace orvane::scene
