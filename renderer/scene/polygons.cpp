// Groups of polygons: a list of vectors, vertices that pick from it, polygons that pick vertices.
#include <bit>
#include <cmath>
#include <utility>

#include "scene/mesh_builder.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

using Kind = Token::Kind;

struct PolygonGroup {
    Reader& in;
    MeshBuilder& mesh;
    bool tagged = false;
    std::size_t first_vertex = 0;  // of the mesh; indices count from here
    std::vector<Vec3> vectors;

    // The polygon that is being read.
    std::vector<std::uint32_t> corners;
    std::vector<std::size_t> loop_ends;
};

// Three big-endian floats.
Vec3 decode_vector(Reader& in, const Token& token) {
    std::array<float, 3> xyz;
    for (std::size_t i = 0; i < 3; ++i) {
        std::uint32_t bits = 0;
        for (const char byte : token.text.substr(4 * i, 4)) {
            bits = bits << 8 | static_cast<unsigned char>(byte);
        }
        xyz[i] = std::bit_cast<float>(bits);
        if (!std::isfinite(xyz[i])) in.fail(token, "the vector holds a number that is not finite");
    }
    return {xyz[0], xyz[1], xyz[2]};
}

void read_vectors(PolygonGroup& group) {
    Reader& in = group.in;
    while (true) {
        if (in.at_number()) {
            group.vectors.push_back(in.vector("a vector"));
        } else if (in.peek().kind == Kind::Vector) {
            group.vectors.push_back(decode_vector(in, in.peek()));
            in.take();
        } else {
            return;
        }
    }
}

void read_vertex(PolygonGroup& group) {
    Reader& in = group.in;
    in.take();
    const auto vector = [&] {
        return group.vectors[read_index(in, group.vectors.size(), "vector")];
    };
    group.mesh.add_vertex(vector());

    // Take the fields that a mesh keeps, and pass over derivatives and the like.
    bool moved = false;
    for (std::size_t spaces = 0;;) {
        if (in.accept("n")) {
            group.mesh.set_normal(vector());
        } else if (in.accept("t")) {
            group.mesh.set_texture(spaces++, vector());
        } else if (in.accept("m")) {
            const Vec3 motion = vector();
            if (!std::exchange(moved, true)) group.mesh.set_motion(motion);
        } else if (!in.accept("d") && !in.accept("u") && !in.accept("cusp") &&
                   !in.accept("conic") && !in.accept("corner") && !in.accept("level") &&
                   !in.accept("dart")) {
            return;
        }
        in.skip_numbers();
    }
}

// The label of a polygon of a tagged object, else the index of its material.
std::int32_t read_polygon_material(PolygonGroup& group) {
    Reader& in = group.in;
    if (group.tagged) {
        if (!in.at_integer()) in.fail_expected("a label, as the object is tagged");
        return static_cast<std::int32_t>(in.label("the label"));
    }
    return in.at_name() ? group.mesh.material(in, in.take()) : -1;
}

void read_loop(PolygonGroup& group, const Token& keyword) {
    constexpr std::size_t kFewest = 3;
    const std::size_t count = group.mesh.vertices() - group.first_vertex;
    const std::size_t begin = group.corners.size();
    while (group.in.at_integer()) {
        const std::uint32_t vertex = read_index(group.in, count, "vertex");
        group.corners.push_back(vertex + static_cast<std::uint32_t>(group.first_vertex));
    }
    if (group.in.peek().is(',')) group.in.fail_expected("a vertex");
    if (group.corners.size() - begin < kFewest) {
        group.in.fail(keyword, "a polygon needs three corners or more");
    }
    group.loop_ends.push_back(group.corners.size());
}

void add_strip(PolygonGroup& group, std::int32_t material) {
    const auto& corners = group.corners;
    for (std::size_t i = 2; i < corners.size(); ++i) {
        const std::size_t odd = i % 2;
        group.mesh.add_triangle({corners[i - 2 + odd], corners[i - 1 - odd], corners[i]}, material);
    }
}

void add_fan(PolygonGroup& group, std::int32_t material) {
    const auto& corners = group.corners;
    for (std::size_t i = 2; i < corners.size(); ++i) {
        group.mesh.add_triangle({corners[0], corners[i - 1], corners[i]}, material);
    }
}

void read_polygon(PolygonGroup& group) {
    const Token keyword = group.in.take();
    group.corners.clear();
    group.loop_ends.clear();
    const std::int32_t material = read_polygon_material(group);
    read_loop(group, keyword);
    if (keyword.text == "p") {
        while (group.in.at_word("hole")) read_loop(group, group.in.take());
        group.mesh.add_polygon(group.corners, group.loop_ends, material);
    } else if (keyword.text == "strip") {
        add_strip(group, material);
    } else {
        add_fan(group, material);
    }
}

bool begins_approximation(std::string_view word) {
    return word == "approximate" || word == "visible" || word == "trace" || word == "shadow" ||
           word == "caustic" || word == "globillum";
}

// Reads one statement of a group; returns false after the last one, or where geometry begins
// that is not made of polygons.
bool read_geometry(PolygonGroup& group) {
    Reader& in = group.in;
    const Token& token = in.peek();
    if (token.is_number() || token.kind == Kind::Vector) {
        read_vectors(group);
    } else if (token.kind != Kind::Word) {
        in.fail_expected("vectors, vertices or polygons");
    } else if (token.text == "v") {
        read_vertex(group);
    } else if (token.text == "c" || token.text == "p" || token.text == "cp" ||
               token.text == "strip" || token.text == "fan") {
        read_polygon(group);
    } else if (begins_approximation(token.text)) {
        in.warn_once("approximate", token.place(), "\"approximate\" is ignored");
        skip_parameters(in, [] { return false; });
    } else {
        return false;
    }
    return true;
}

}  // namespace

void read_polygon_group(Reader& in, MeshBuilder& mesh, bool tagged) {
    const Token opened = in.last();
    const Heading heading = {"group", "", opened, opened.place()};
    if (in.at_string()) in.take();
    if (in.accept("merge")) in.number("merge");

    PolygonGroup group = {in, mesh, tagged, mesh.vertices(), {}, {}, {}};
    while (!in.at_end() && !in.at_word("end")) {
        if (read_geometry(group)) continue;
        in.warn_once("geometry", in.peek().place(), "unsupported geometry is skipped");
        return in.skip_to_end("group", opened);
    }
    in.close(heading);
}

}  // namespace orvane::scene
