// The mesh of an object as it grows, vertex by vertex.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>

#include "scene/reader.h"

namespace orvane::scene {

// Texture spaces of a vertex beyond these are dropped.
inline constexpr std::size_t kTextureSpaces = 64;

class MeshBuilder {
  public:
    explicit MeshBuilder(Object& object) : object_(object) {}

    // Begins a vertex; the others add to the last one. A vertex without some field gets zeros
    // where others have it.
    void add_vertex(const Vec3& position) { mesh_.position.push_back(position); }
    void set_normal(const Vec3& value) { set_last(mesh_.normal, value); }
    void set_motion(const Vec3& value) { set_last(mesh_.motion, value); }
    void set_texture(std::size_t space, const Vec3& value);

    // The index of a material in the object, where it is put in if it is new.
    std::int32_t material(Reader& in, const Token& name);

    void add_triangle(const std::array<std::uint32_t, 3>& vertices, std::int32_t material) {
        mesh_.triangle.push_back(vertices);
        mesh_.material.push_back(material);
    }

    // Appends the triangles of a polygon: see triangulate.h.
    void add_polygon(std::span<const std::uint32_t> corners, std::span<const std::size_t> loop_ends,
                     std::int32_t material);

    std::size_t vertices() const { return mesh_.position.size(); }

    // Gives the mesh to the object.
    void finish();

  private:
    void set_last(std::vector<Vec3>& field, const Vec3& value);

    Object& object_;
    Mesh mesh_;
    std::map<std::string, std::int32_t> materials_;
    std::string_view last_name_;
    std::int32_t last_material_ = -1;
};

// The parts of an object, after their keyword to their end.
void read_polygon_group(Reader& in, MeshBuilder& mesh, bool tagged);
void read_trilist(Reader& in, MeshBuilder& mesh, bool& tagged);

// Takes an index below count; name is that of what it counts.
std::uint32_t read_index(Reader& in, std::size_t count, std::string_view name);

}  // namespace orvane::scene
