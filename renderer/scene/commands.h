// The top level of a scene text: commands, and elements from their keywords on.
#pragma once

#include "scene/reader.h"

namespace orvane::scene {

// Reads to the end of the text.
void read_commands(Reader& in);

}  // namespace orvane::scene
