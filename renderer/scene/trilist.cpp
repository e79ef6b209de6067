// Lists of triangles, the compact geometry of later exporters.
#include "scene/mesh_builder.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

// One field of each vertex.
struct Field {
    enum class Kind { Position, Normal, Motion, Texture, Skipped } kind = Kind::Skipped;
    int vectors = 1;  // in the older form, where fields are indices: how many
    int numbers = 3;  // else: how many
};

struct List {
    bool indexed = false;  // the older form: vertices are indices into a list of vectors
    int vectors = 0, vertices = 0, triangles = 0;
    std::vector<Field> fields;
};

// A count, in brackets or not.
int read_count(Reader& in, std::string_view what) {
    constexpr int kMost = std::numeric_limits<int>::max();
    const bool bracket = in.accept('[');
    const int count = in.integer(what, 0, kMost);
    if (bracket) in.expect(']', "after a count");
    return count;
}

// The sizes after "t" or "u": a field for each.
void add_sized_fields(Reader& in, List& list, Field::Kind kind) {
    constexpr int kMost = 16;
    while (in.at_integer()) {
        list.fields.push_back({kind, 1, in.integer("the size of a field", 1, kMost)});
    }
}

void add_vectors(Reader& in, List& list, Field::Kind kind) {
    constexpr int kMost = 16;
    const int count = in.at_integer() ? in.integer("the number of vectors", 1, kMost) : 1;
    list.fields.push_back({kind, count, 3 * count});
}

void read_fields(Reader& in, List& list) {
    using Kind = Field::Kind;
    while (!in.at_word("triangle")) {
        if (in.accept("p")) {
            list.fields.push_back({Kind::Position});
        } else if (in.accept("n")) {
            list.fields.push_back({Kind::Normal});
        } else if (in.accept("d")) {
            list.fields.push_back({Kind::Skipped, 2, 6});
        } else if (in.accept("d2")) {
            list.fields.push_back({Kind::Skipped, 3, 9});
        } else if (in.accept("m")) {
            add_vectors(in, list, Kind::Motion);
        } else if (in.accept("b")) {
            add_vectors(in, list, Kind::Skipped);
        } else if (in.accept("t")) {
            add_sized_fields(in, list, Kind::Texture);
        } else if (in.accept("u")) {
            add_sized_fields(in, list, Kind::Skipped);
        } else {
            in.fail_expected("the code of a vertex field or \"triangle\"");
        }
    }
}

List read_head(Reader& in) {
    List list;
    list.indexed = in.accept("vector");
    if (list.indexed) list.vectors = read_count(in, "the number of vectors");
    in.expect("vertex", "in the head of a trilist");
    list.vertices = read_count(in, "the number of vertices");
    const Token fields = in.peek();
    read_fields(in, list);
    if (list.fields.empty() || list.fields.front().kind != Field::Kind::Position) {
        in.fail(fields, "a vertex begins with its position, p");
    }
    in.expect("triangle", "in the head of a trilist");
    list.triangles = read_count(in, "the number of triangles");
    if (in.at_word("scalar") || in.at_word("integer")) {
        in.fail(in.peek(), "a binary trilist cannot be read");
    }
    return list;
}

// The first vector of a field; the others are taken, too.
Vec3 read_field(Reader& in, const Field& field) {
    std::array<float, 3> xyz = {};
    for (int i = 0; i < field.numbers; ++i) {
        const float number = in.number("a vertex field");
        if (i < 3) xyz[static_cast<std::size_t>(i)] = number;
    }
    return {xyz[0], xyz[1], xyz[2]};
}

Vec3 read_indexed_field(Reader& in, const Field& field, std::span<const Vec3> vectors) {
    const Vec3 first = vectors[read_index(in, vectors.size(), "vector")];
    for (int i = 1; i < field.vectors; ++i) read_index(in, vectors.size(), "vector");
    return first;
}

void read_vertex(Reader& in, MeshBuilder& mesh, const List& list, std::span<const Vec3> vectors) {
    std::size_t spaces = 0;
    for (const Field& field : list.fields) {
        const Vec3 value =
            list.indexed ? read_indexed_field(in, field, vectors) : read_field(in, field);
        switch (field.kind) {
            case Field::Kind::Position:
                mesh.add_vertex(value);
                break;
            case Field::Kind::Normal:
                mesh.set_normal(value);
                break;
            case Field::Kind::Motion:
                mesh.set_motion(value);
                break;
            case Field::Kind::Texture:
                mesh.set_texture(spaces++, value);
                break;
            case Field::Kind::Skipped:
                break;
        }
    }
}

// Each triangle has a label; or a material, which may be left out when it is the one before.
// Labels make the object a tagged one.
void read_triangles(Reader& in, MeshBuilder& mesh, const List& list, bool& tagged) {
    const std::size_t first_vertex = mesh.vertices() - static_cast<std::size_t>(list.vertices);
    if (in.at_integer()) tagged = true;
    std::int32_t material = -1;
    for (int i = 0; i < list.triangles; ++i) {
        if (!tagged && in.at_name()) material = mesh.material(in, in.take());
        if (tagged) material = static_cast<std::int32_t>(in.label("the label of a triangle"));
        std::array<std::uint32_t, 3> corners;
        for (std::uint32_t& corner : corners) {
            corner = read_index(in, static_cast<std::size_t>(list.vertices), "vertex") +
                     static_cast<std::uint32_t>(first_vertex);
        }
        mesh.add_triangle(corners, material);
    }
}

}  // namespace

void read_trilist(Reader& in, MeshBuilder& mesh, bool& tagged) {
    const Token opened = in.last();
    const List list = read_head(in);

    // The older form puts brackets around its lists.
    std::vector<Vec3> vectors;
    bool bracket = in.accept('[');
    for (int i = 0; i < list.vectors; ++i) vectors.push_back(in.vector("a vector"));
    if (bracket) in.expect(']', "after the vectors");
    bracket = list.indexed && in.accept('[');
    for (int i = 0; i < list.vertices; ++i) read_vertex(in, mesh, list, vectors);
    if (bracket) in.expect(']', "after the vertices");
    bracket = list.indexed && in.accept('[');
    read_triangles(in, mesh, list, tagged);
    if (bracket) in.expect(']', "after the triangles");
    in.close({"trilist", "", opened, opened.place()});
}

}  // namespace orvane::scene
