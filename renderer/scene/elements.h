// One function an element: reads it from its keyword to its end, and defines it.
#pragma once

#include "scene/reader.h"

namespace orvane::scene {

void read_options(Reader& in);
void read_camera(Reader& in);
void read_light(Reader& in);
void read_texture(Reader& in);
void read_material(Reader& in);
void read_shader(Reader& in);
void read_object(Reader& in);
void read_instance(Reader& in);
void read_group(Reader& in);

// "declare" in all its forms.
void read_declaration(Reader& in);

}  // namespace orvane::scene
