// Shader calls with their parameters, wherever the language wants a shader.
#pragma once

#include "scene/reader.h"

namespace orvane::scene {

// Whether the next token begins a shader call.
bool at_call(Reader& in);

// "shader" ( ... ) or = "named_shader" or = shader "name" "shader" ( ... ), which also defines
// the named shader.
ShaderCall read_call(Reader& in);

// Calls one after the other up to the first token that begins none; may be empty.
ShaderList read_calls(Reader& in);

// ( "name" value, ... ) from the bracket on.
void read_parameters(Reader& in, ShaderCall& call);

// Reads calls that are for nothing, and warns about the keyword.
void ignore_calls(Reader& in, std::string_view keyword);

}  // namespace orvane::scene
