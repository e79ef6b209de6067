// What drawing with lines costs.
//
// (a) Samples of zel_toon_lens, on one thread, against the rays that they need at the least: nine
//     on toon materials, five on the background. A plain ray is a whole sample of the same frame
//     with "lens off", shaded by the same materials, so that the ratio holds the lens, its store
//     and what the materials record for it. A frame lies all on toon materials or all on the
//     background: in a mixed one the cheap pixels would hide the dear ones. The sheet has the
//     cheapest hits that there are, so nothing hides the lens there; the background is seen through
//     a ring, so that its rays look for a surface before they miss. The frames alternate; the
//     least time of each row of pixels is taken.
// (b) The command, from the scene's text to the picture, on one thread, on large meshes with
//     outlines and creases: processor time and peak memory of the process. The lines are as dense
//     as in scenes/toon.mi, 2.6 samples a pixel.
//
// An argument names the one case to measure.

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "harness.h"

using namespace orvane;

namespace {

constexpr int kWidth = 320, kHeight = 240;
constexpr int kPasses = 7;

constexpr int kRings = 5;                 // of a large mesh
constexpr int kAround = 10, kAcross = 4;  // cushions of a ring
constexpr double kPi = std::numbers::pi_v<double>;

struct Point {
    double x, y, z;
};

// A place of the cushion (p, q) of a ring about the z axis; u and v are 0..1 on it.
Point on_cushion(int p, int q, double u, double v) {
    const double a = 2 * kPi * (p + u) / kAround, b = 2 * kPi * (q + v) / kAcross;
    const double r = 0.3 + 0.08 * std::sin(kPi * u) * std::sin(kPi * v);
    const double out = 0.7 + r * std::cos(b);
    return {out * std::cos(a), out * std::sin(a), r * std::sin(b)};
}

void write_vertex(std::ostream& out, int p, int q, double u, double v) {
    constexpr double kStep = 1e-4;
    const Point at = on_cushion(p, q, u, v);
    const Point e = on_cushion(p, q, u + kStep, v), f = on_cushion(p, q, u, v + kStep);
    const auto way = [&at](const Point& to) {
        return miVector{static_cast<float>(to.x - at.x), static_cast<float>(to.y - at.y),
                        static_cast<float>(to.z - at.z)};
    };
    const miVector n = normalized(cross(way(e), way(f)));
    char line[160];
    std::snprintf(line, sizeof line, "%.6g %.6g %.6g  %.5f %.5f %.5f\n", at.x, at.y, at.z,
                  static_cast<double>(n.x), static_cast<double>(n.y), static_cast<double>(n.z));
    out << line;
}

// A closed ring of cushions with a crease along every seam, of 80 * columns * rows triangles.
void write_ring(std::ostream& out, const std::string& name, int columns, int rows) {
    const int cushions = kAround * kAcross, vertices = (columns + 1) * (rows + 1);
    out << "object \"" << name << "\" visible on shadow on trace on\ntrilist vertex "
        << cushions * vertices << " p n triangle " << cushions * 2 * columns * rows << '\n';
    for (int k = 0; k < cushions; ++k)
        for (int j = 0; j <= rows; ++j)
            for (int i = 0; i <= columns; ++i)
                write_vertex(out, k / kAcross, k % kAcross, static_cast<double>(i) / columns,
                             static_cast<double>(j) / rows);
    out << "\"m\" ";
    for (int k = 0; k < cushions; ++k)
        for (int j = 0; j < rows; ++j)
            for (int i = 0; i < columns; ++i) {
                const int a = k * vertices + j * (columns + 1) + i, b = a + columns + 1;
                out << a << ' ' << a + 1 << ' ' << b + 1 << ' ' << a << ' ' << b + 1 << ' ' << b
                    << '\n';
            }
    out << "end trilist\nend object\n";
}

// From the links to the material of all that is drawn. options, camera: more statements.
void write_head(std::ostream& out, const std::string& options, const std::string& camera) {
    out << R"(link "orvane.so"
$include "orvane.mi"
$include "soft.mi"
options "o" samples 0 2 shadow on scanline off )"
        << options << R"( end options
camera "c" focal 1 aperture 1 aspect 1.3333 resolution 640 480 )"
        << camera << R"(
    lens "zel_toon_lens" ( "width" 2.5 )
    output "rgb" "png" "picture.png"
end camera
instance "ci" "c" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 0 -6.3 1 end instance
light "l" "soft_light" ("shadow" off) direction -0.5 -0.7 -0.8 end light
instance "li" "l" end instance
material "m" opaque
    "zel_toon_mat" ( "diffuse" .9 .6 .2 1, "ambient" .5 .2 .2 1, "specular" 1 .9 .7 1, "light" ["li"] )
end material
)";
}

// instances: quoted names.
void write_end(std::ostream& out, const std::string& instances) {
    out << "instgroup \"root\" \"ci\" \"li\" " << instances << " end instgroup\n"
        << "render \"root\" \"ci\" \"o\"\n";
}

// Rings in two rows, turned each in its own way. Returns their instances.
std::string write_rings(std::ostream& out, int columns, int rows) {
    std::string instances;
    for (int k = 0; k < kRings; ++k) {
        const std::string number = std::to_string(k);
        write_ring(out, "ring" + number, columns, rows);
        const double turn = 0.5 * k - 0.7, c = std::cos(turn), s = std::sin(turn);
        const double x = 1.15 * (k - 2), y = k % 2 == 0 ? 0.6 : -0.7;
        char matrix[200];
        std::snprintf(matrix, sizeof matrix, "%g 0 %g 0  0 1 0 0  %g 0 %g 0  %g %g %g 1", c, s, -s,
                      c, -x * c, -y, -x * s);
        out << "instance \"i" << number << "\" \"ring" << number << "\" transform " << matrix
            << " tag " << k + 1 << " end instance\n";
        instances += "\"i" + number + "\" ";
    }
    return instances;
}

// A wall behind all that fills the view.
std::string write_wall(std::ostream& out) {
    out << R"(object "wall" visible on shadow on trace on
    group -9 -9 -2  9 -9 -2  9 9 -2  -9 9 -2 v 0 v 1 v 2 v 3 p 0 1 2 3 end group
end object
instance "wi" "wall" material "m" tag 99 end instance
)";
    return "\"wi\" ";
}

// ---- (a) ----

struct Case {
    const char* name;
    int rays;  // of the lens a sample
    const char* camera;
    std::string (*write)(std::ostream&);  // writes the objects, returns their instances
};

// Seen through its hole, which is larger than the view.
std::string write_ring_around(std::ostream& out) {
    write_ring(out, "ring", 25, 10);
    out << "instance \"i\" \"ring\" transform .07 0 0 0  0 .07 0 0  0 0 .07 0  0 0 0 1 "
           "tag 1 end instance\n";
    return "\"i\"";
}

const Case kCases[] = {
    {"sheet", 9, "", write_wall},
    {"rings before a wall", 9, "",
     [](std::ostream& out) { return write_rings(out, 25, 10) + write_wall(out); }},
    {"background", 5, "", write_ring_around},
    {"background, sky", 5, "environment \"soft_environment\" ()", write_ring_around},
};

// Seconds that each row of a frame has taken at least.
using Rows = std::vector<double>;

void shade(const Case& c, const std::string& text, Rows& rows) {
    int drawn = 0;  // samples on objects that have a tag
    bench::with_frame(text, [&rows, &drawn](trace::Frame& frame) {
        for (int y = 0; y < kHeight; ++y) {
            const float row = 2 * static_cast<float>(y) + 1;
            double& least = rows[static_cast<std::size_t>(y)];
            const double seconds = bench::processor_seconds_of([&] {
                for (int x = 0; x < kWidth; ++x)
                    drawn += frame.see(2 * static_cast<float>(x) + 1, row, 0, 0, 0).label != 0;
            });
            least = std::min(least, seconds);
        }
    });
    if (drawn != (c.rays == 9 ? kWidth * kHeight : 0)) throw std::logic_error("a mixed frame");
}

void measure(const Case& c) {
    std::string texts[2];
    Rows rows[2] = {Rows(kHeight, 1e9), Rows(kHeight, 1e9)};
    for (const bool lens : {false, true}) {
        std::ostringstream out;
        write_head(out, lens ? "" : "lens off", c.camera);
        write_end(out, c.write(out));
        texts[lens] = out.str();
    }
    for (int pass = 0; pass < kPasses; ++pass)
        for (const bool lens : {false, true}) shade(c, texts[lens], rows[lens]);
    double us[2];
    for (const bool lens : {false, true})
        us[lens] =
            1e6 * std::accumulate(rows[lens].begin(), rows[lens].end(), 0.0) / (kWidth * kHeight);
    std::printf("%-20s %6.3f us a sample, %d plain rays %6.3f, ratio %.2f\n", c.name, us[true],
                c.rays, c.rays * us[false], us[true] / (c.rays * us[false]));
}

// ---- (b) ----

struct Large {
    const char* name;
    int columns, rows;
};
constexpr Large kLarge[] = {{"100,000 triangles", 25, 10}, {"1,000,000 triangles", 50, 50}};

// A temporary folder, removed at the end.
class Folder {
  public:
    Folder() {
        if (!mkdtemp(name_.data())) throw std::runtime_error("no temporary folder");
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(name_, ignored);
    }
    std::filesystem::path path() const { return name_; }

  private:
    std::string name_ = (std::filesystem::temp_directory_path() / "orvane.XXXXXX").string();
};

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

// Renders a scene with the command. Its memory cannot be told below what this process has, so large
// scenes are not kept in memory here.
rusage run_command(const std::filesystem::path& folder) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "orvane";
    std::string words[] = {program, "render", folder / "scene.mi",   "-v", "2", "-j",
                           "1",     "-o",     folder / "picture.png"};
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child;
    int status = 1;
    rusage used = {};
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) == 0)
        wait4(child, &status, 0, &used);
    if (status != 0) throw std::runtime_error("the command has failed");
    return used;
}

void measure(const Large& large) {
    const Folder folder;
    std::ofstream out(folder.path() / "scene.mi");
    write_head(out, "", "");
    write_end(out, write_rings(out, large.columns, large.rows));
    out.close();
    double least = 1e9;
    long memory = 0;
    for (int pass = 0; pass < 3; ++pass) {
        const rusage used = run_command(folder.path());
        least = std::min(least, seconds(used.ru_utime) + seconds(used.ru_stime));
        memory = std::max(memory, used.ru_maxrss);
    }
    std::printf("%-20s %6.2f s of processor time, %ld MB at the most\n", large.name, least,
                memory / 1024);
}

}  // namespace

int main(int argc, char** argv) {
    const auto wanted = [&](const std::string& name) { return argc < 2 || argv[1] == name; };
    for (const Large& large : kLarge)
        if (wanted(large.name)) measure(large);
    for (const Case& c : kCases)
        if (wanted(c.name)) measure(c);
}
