// Parameter blocks of shaders as their declarations have them, filled at random.
#pragma once

#include <string>
#include <vector>

#include "random.h"

struct Parameter {
    std::string type;
    int offset;        // words
    double low, high;  // the range that makes sense
};

struct Shader {
    std::string name, kind;
    int size;  // of the block, in words
    std::vector<Parameter> parameters;
};

// What "orvane shaders --json" has written to a file.
std::vector<Shader> read_shaders(const std::string& path);

// Tags that a block may have.
struct Tags {
    std::vector<miTag> lights;
    miTag texture;
};

// A block, with the elements of its arrays behind it.
std::vector<miUint> fill(const Shader& shader, const Tags& tags, Random& random);
