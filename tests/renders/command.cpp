// Running the command, and scene texts from parts.

#include "command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace orvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

[[noreturn]] void become_command(const fs::path& folder, const Arguments& arguments,
                                 const Mishap& mishap) {
    if (mishap.disk_is_full) {
        const rlimit little = {3000, 3000};
        setrlimit(RLIMIT_FSIZE, &little);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    const std::string program = ORVANE_BUILD_DIR "/orvane";
    std::vector<char*> argv = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    if (chdir(folder.c_str()) == 0) execv(program.c_str(), argv.data());
    _exit(127);
}

// Waits for the end; sends the signal when it is time, and ends what does not end by itself.
int wait_for(pid_t child, const fs::path& errors, Mishap mishap) {
    int status = 0;
    const auto start = std::chrono::steady_clock::now();
    while (waitpid(child, &status, WNOHANG) == 0) {
        std::this_thread::sleep_for(2ms);
        if (std::chrono::steady_clock::now() - start > 60s) kill(child, SIGKILL);
        if (mishap.signal == 0 || contents(errors).find("shading") == std::string::npos) continue;
        std::this_thread::sleep_for(200ms);
        kill(child, std::exchange(mishap.signal, 0));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::ostream& operator<<(std::ostream& out, const Xyz& p) {
    return out << p.x << ' ' << p.y << ' ' << p.z << ' ';
}

Xyz operator+(Xyz a, Xyz b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }

const std::string kHead = R"(link "probe.so"
link "orvane.so"
$include "soft.mi"
$include "orvane.mi"
$include "probe.mi"
)";

std::string without_progress(const std::string& errors) {
    std::string kept;
    std::istringstream in(errors);
    for (std::string line; std::getline(in, line);)
        if (!line.starts_with("orvane: progress: ")) kept += line + '\n';
    return kept;
}

std::string quoted(const std::string& name) { return '"' + name + '"'; }

}  // namespace

Folder::Folder(const std::string& scene) {
    std::string name = (fs::temp_directory_path() / "orvane.XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    folder_ = name;
    put("scene.mi", scene);
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void Folder::put(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
}

Outcome Folder::render(const Arguments& more, const Mishap& mishap) const {
    Arguments arguments = {"render", "scene.mi"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments, mishap);
}

Outcome Folder::run(const Arguments& arguments, const Mishap& mishap) const {
    // Standard error goes to a file outside of the folder, which holds what the command leaves.
    const fs::path errors = folder_.string() + ".errors";
    const int descriptor = open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    const pid_t child = fork();
    if (child == 0) {
        dup2(descriptor, STDERR_FILENO);
        dup2(descriptor, STDOUT_FILENO);
        become_command(folder_, arguments, mishap);
    }
    close(descriptor);
    const int status = wait_for(child, errors, mishap);
    Outcome outcome = {status, contents(errors)};
    fs::remove(errors);
    return outcome;
}

Image Folder::picture(const std::string& name) const { return image::read_image(path(name), 1); }

std::vector<std::string> Folder::files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
        if (entry.path().filename() != "scene.mi") names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

Scene& Scene::add(const std::string& elements) {
    text += elements + '\n';
    return *this;
}

Scene& Scene::material(const std::string& name, const std::string& shaders) {
    return add("material " + quoted(name) + ' ' + shaders + " end material");
}

Scene& Scene::light(const std::string& name, const std::string& shader,
                    const std::string& statements) {
    add("light \"of " + name + "\" " + shader + ' ' + statements + " end light");
    return instance(name, "of " + name);
}

Scene& Scene::quad(const std::string& name, const std::string& material, Xyz corner, Xyz u, Xyz v,
                   const std::string& flags) {
    std::ostringstream out;
    out << "object \"of " << name << "\" " << flags << " group\n"
        << corner << corner + u << corner + u + v << corner + v << "v 0 v 1 v 2 v 3 p "
        << quoted(material) << " 0 1 2 3 end group end object";
    add(out.str());
    return instance(name, "of " + name);
}

Scene& Scene::wall(const std::string& name, const std::string& material, double z,
                   const std::string& flags) {
    return quad(name, material, {-10, -10, z}, {20, 0, 0}, {0, 20, 0}, flags);
}

Scene& Scene::instance(const std::string& name, const std::string& element,
                       const std::string& statements) {
    root += quoted(name) + ' ';
    return add("instance " + quoted(name) + ' ' + quoted(element) + ' ' + statements +
               " end instance");
}

std::string Scene::body() const {
    return "options \"options\" samples 0 0 trace depth 8 8 16 " + options + " end options\n" +
           text + "camera \"of camera\" output \"rgba_fp\" \"exr\" \"" + file +
           "\" focal 1 aperture 2 aspect 1 resolution 3 3 " + camera +
           " end camera\ninstance \"camera\" \"of camera\" end instance\n" +
           "instgroup \"root\" \"camera\" " + root +
           "end instgroup\nrender \"root\" \"camera\" \"options\"\n";
}

Scene::operator std::string() const { return kHead + body(); }

Image render(const std::string& scene, const Arguments& more) {
    const Folder folder(scene);
    const Outcome outcome = folder.render(more);
    EXPECT_EQ(without_progress(outcome.errors), "");
    EXPECT_EQ(outcome.status, 0);
    return outcome.status == 0 ? folder.picture() : Image(256, 256);
}

std::string constant(double r, double g, double b) {
    std::ostringstream out;
    out << "\"soft_constant\" (\"color\" " << Xyz{r, g, b} << "1)";
    return out.str();
}

}  // namespace orvane
