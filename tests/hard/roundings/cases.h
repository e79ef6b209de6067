// The calls that are compared: each case draws its arguments, calls one function of a plug-in and
// records what it has left behind.
#pragma once

#include "stage.h"

struct Case {
    const Plugin& plugin;
    const std::vector<Shader>& shaders;
    Random random;
    Record record;
    int calls = 0;

    const Shader& shader(const std::string& name) const;
};

struct Function {
    std::string name;
    void (*call)(Case*);
};

// The functions that are no shaders.
extern const std::vector<Function> kFunctions;

// One instance of a shader, from its init to its exit, along a few rays.
void call_shader(const Shader& shader, Case* c);
