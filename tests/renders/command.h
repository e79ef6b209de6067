// Runs the built command on scene texts in a folder of its own, as a user does.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "image/image.h"

namespace orvane {

using Arguments = std::vector<std::string>;
using image::Image;

struct Outcome {
    int status;          // exit status; minus the number of the signal that ended the program
    std::string errors;  // what stands on standard error
};

// What befalls the command while it runs.
struct Mishap {
    int signal = 0;             // sent 0.2 s after standard error holds "shading"
    bool disk_is_full = false;  // files hold no more than 3000 bytes
};

// A temporary folder with a scene in it, removed at the end.
class Folder {
  public:
    explicit Folder(const std::string& scene);
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Runs "orvane render scene.mi ..."; ends it after a minute.
    Outcome render(const Arguments& more = {}, const Mishap& mishap = {}) const;
    Outcome run(const Arguments& arguments, const Mishap& mishap = {}) const;

    void put(const std::string& name, const std::string& text) const;
    std::filesystem::path path(const std::string& name) const { return folder_ / name; }
    Image picture(const std::string& name = "out.exr") const;
    // Names of all files but the scene, hidden ones included, in order.
    std::vector<std::string> files() const;

  private:
    std::filesystem::path folder_;
};

// A point or vector in a scene text.
struct Xyz {
    double x, y, z;
};

// A scene in parts. Without more it is black: "camera" at the origin looks along -z over 90
// degrees, in 3 x 3 pixels of one sample each, and writes exact floats to out.exr.
struct Scene {
    std::string file = "out.exr";
    std::string options, camera;  // statements
    std::string text;             // elements, in order
    std::string root;             // quoted names of the instances

    Scene& add(const std::string& elements);
    // A material whose shaders, and further statements, are given.
    Scene& material(const std::string& name, const std::string& shaders);
    // A light, as a rule at the origin, and its instance; a material reaches it by this name.
    Scene& light(const std::string& name, const std::string& shader = "\"soft_light\" ()",
                 const std::string& statements = "origin 0 0 0");
    // A parallelogram, its front towards u x v, and its instance.
    Scene& quad(const std::string& name, const std::string& material, Xyz corner, Xyz u, Xyz v,
                const std::string& flags = "visible trace shadow");
    // A square of 20 units across the view at this z.
    Scene& wall(const std::string& name, const std::string& material, double z,
                const std::string& flags = "visible trace shadow");
    Scene& instance(const std::string& name, const std::string& element,
                    const std::string& statements = "");

    // All but the links and declarations that it needs; and the whole.
    std::string body() const;
    operator std::string() const;
};

// The picture of a scene that renders without a word on standard error.
Image render(const std::string& scene, const Arguments& more = {});

// The shader calls that most scenes need. A material of one color without light, and a matte
// white one lit by "lamp".
std::string constant(double r, double g, double b);
inline const std::string kWhite =
    R"("soft_material" ("model" 0, "diffuse" 1 1 1 1, "light" ["lamp"]))";

}  // namespace orvane
