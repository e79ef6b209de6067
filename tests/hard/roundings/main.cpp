// Calls all shaders and exported functions of several builds of the plug-in with the same random
// arguments, legal and hostile, and compares what they leave behind bit for bit. With one plug-in
// alone it calls it, for sanitizers to watch.
//
//     roundings SHADERS.json CALLS SEED PLUGIN.so...
//
// SHADERS.json is what "orvane shaders --json" says. CALLS is about how often each function is
// called.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "cases.h"

const Shader& Case::shader(const std::string& name) const {
    for (const Shader& shader : shaders)
        if (shader.name == name) return shader;
    throw std::runtime_error("no declaration of " + name);
}

namespace {

struct Totals {
    long calls = 0, functions = 0, differences = 0;
};

class Comparison {
  public:
    Comparison(std::vector<Shader> shaders, std::vector<Plugin> plugins, Totals* totals)
        : shaders_(std::move(shaders)), plugins_(std::move(plugins)), totals_(*totals) {}

    // Calls one function until it was called often enough. Only the first difference is told.
    void run(const std::string& name, long calls, std::uint64_t seed, auto call) {
        ++totals_.functions;
        for (long done = 0; done < calls; ++seed) {
            const Case first = play(0, seed, call);
            done += std::max(first.calls, 1);
            totals_.calls += std::max(first.calls, 1);
            for (std::size_t i = 1; i < plugins_.size(); ++i)
                if (differs(name, seed, first, play(i, seed, call), plugins_[i])) return;
        }
    }

    const std::vector<Shader>& shaders() const { return shaders_; }

  private:
    Case play(std::size_t plugin, std::uint64_t seed, auto call) const {
        Case c = {plugins_[plugin], shaders_, Random(seed), {}};
        call(&c);
        return c;
    }

    bool differs(const std::string& name, std::uint64_t seed, const Case& a, const Case& b,
                 const Plugin& plugin) {
        const std::string difference = a.record.difference(b.record);
        if (difference.empty()) return false;
        ++totals_.differences;
        std::printf("%s, seed %llu, %s: %s\n", name.c_str(), static_cast<unsigned long long>(seed),
                    plugin.path().c_str(), difference.c_str());
        return true;
    }

    std::vector<Shader> shaders_;
    std::vector<Plugin> plugins_;
    Totals& totals_;
};

void compare(char** arguments, Totals* totals) {
    const long calls = std::atol(arguments[2]);
    const std::uint64_t seed = std::strtoull(arguments[3], nullptr, 0);
    std::vector<Plugin> plugins;
    for (char** path = arguments + 4; *path; ++path) plugins.emplace_back(*path);
    Comparison comparison(read_shaders(arguments[1]), std::move(plugins), totals);
    for (const Function& function : kFunctions)
        comparison.run(function.name, calls, seed, function.call);
    for (const Shader& shader : comparison.shaders())
        comparison.run(shader.name, calls, seed, [&](Case* c) { call_shader(shader, c); });
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 5) {
        std::fprintf(stderr, "usage: %s SHADERS.json CALLS SEED PLUGIN.so...\n", arguments[0]);
        return 2;
    }
    Totals totals;
    const auto start = std::chrono::steady_clock::now();
    try {
        compare(arguments, &totals);
    } catch (const std::exception& error) {
        std::printf("error: %s\n", error.what());
        return 1;
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf(
        "roundings: %ld calls of %ld shaders and groups of functions in %d plug-ins, %ld "
        "differ (seed %s, %.0f s)\n",
        totals.calls, totals.functions, count - 4, totals.differences, arguments[3],
        seconds.count());
    return totals.differences != 0;
}
