#include "blocks.h"

#include <bit>
#include <fstream>
#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

// "0..1", ">= 0", "> 0", "any" and the like.
void read_range(const std::string& text, Parameter* parameter) {
    const std::size_t dots = text.find(".."), above = text.find_first_of("0123456789");
    if (dots != text.npos) {
        parameter->low = std::stod(text);
        parameter->high = std::stod(text.substr(dots + 2));
    } else if (text.starts_with('>') && above != text.npos) {
        parameter->low = std::stod(text.substr(above));
    }
}

Shader read_shader(const json& from) {
    Shader shader = {from["name"], from["kind"][0], from["block_size"].get<int>() / 4, {}};
    for (const json& p : from["parameters"]) {
        Parameter& parameter = shader.parameters.emplace_back(
            Parameter{p["type"], p["offset"].get<int>() / 4, -1e38, 1e38});
        read_range(p["range"], &parameter);
    }
    return shader;
}

class Filler {
  public:
    Filler(std::vector<miUint>* block, const Tags& tags, Random* random)
        : block_(*block), tags_(tags), random_(*random) {}

    void fill(const Parameter& p) {
        if (p.type == "scalar") scalars(p, 1);
        if (p.type == "vector") scalars(p, 3);
        if (p.type == "color") scalars(p, 4);
        if (p.type == "integer") block_[at(p)] = word(random_.integer(least(p), most(p)));
        if (p.type == "boolean") block_[at(p)] = word(random_.integer(0, 1));
        if (p.type == "color texture") block_[at(p)] = random_.one_in(2) ? tags_.texture : 0;
        if (p.type == "array light")
            array(p, 1, [this](miUint* light) {
                const int count = static_cast<int>(tags_.lights.size());
                *light = tags_.lights[static_cast<std::size_t>(random_.below(count))];
            });
        if (p.type == "array struct")
            array(p, 2, [this](miUint* group) { group[1] = word(random_.below(4)); });
    }

  private:
    static std::size_t at(const Parameter& p) { return static_cast<std::size_t>(p.offset); }
    static miUint word(miInteger value) { return static_cast<miUint>(value); }
    static int least(const Parameter& p) { return p.low > -1e30 ? static_cast<int>(p.low) : -1; }
    static int most(const Parameter& p) {
        return p.high < 1e30 ? static_cast<int>(std::min(p.high, 40.0)) : least(p) + 4;
    }

    void scalars(const Parameter& p, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            block_[at(p) + i] = std::bit_cast<miUint>(random_.scalar(p.low, p.high));
    }

    // Element k lies at index + k, counted from the array's place in the block.
    void array(const Parameter& p, std::size_t size, auto set) {
        const std::size_t storage = at(p) + 2, count = static_cast<std::size_t>(random_.below(4));
        while ((block_.size() - storage) % size != 0) block_.push_back(0);
        block_[at(p)] = static_cast<miUint>((block_.size() - storage) / size);
        block_[at(p) + 1] = static_cast<miUint>(count);
        for (std::size_t k = 0; k < count; ++k) {
            block_.resize(block_.size() + size);
            set(&block_[block_.size() - size]);
        }
    }

    std::vector<miUint>& block_;
    const Tags& tags_;
    Random& random_;
};

}  // namespace

std::vector<Shader> read_shaders(const std::string& path) {
    std::vector<Shader> shaders;
    for (const json& shader : json::parse(std::ifstream(path)))
        shaders.push_back(read_shader(shader));
    return shaders;
}

std::vector<miUint> fill(const Shader& shader, const Tags& tags, Random& random) {
    std::vector<miUint> block(static_cast<std::size_t>(shader.size));
    Filler filler(&block, tags, &random);
    for (const Parameter& parameter : shader.parameters) filler.fill(parameter);
    return block;
}
