// Parameter blocks: the layout that a declaration gives, and blocks filled from a shader call.
//
// Fields lie in declared order with 4-byte alignment. An array is an index, a count and storage
// for one element; element k is at position index + k of the storage. With more than one element
// the storage proper lies behind the end of the declared fields, and the index leads there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frame/types.h"
#include "scene/errors.h"
#include "scene/records.h"

namespace orvane::plugin {

// Bytes of a value of this type: an array counts its index, count and one element.
std::size_t size_of(const scene::Type& type);

// Offset in bytes of each parameter in the block; its size is that of the struct's type.
std::vector<std::size_t> field_offsets(const std::vector<scene::Member>& members);
std::size_t size_of(const std::vector<scene::Member>& members);

// The name that a type has in a declaration: "color texture", "array light", ...
std::string to_string(const scene::Type& type);

// A parameter that is to be evaluated by a shader before the block's shader runs.
struct ConnectedField {
    std::size_t offset;         // of the value in the block, in bytes
    std::size_t size;           // bytes to copy from the result into the block
    miTag shader;               // the function whose result it is
    std::size_t result_offset;  // of the member wanted, in the result, in bytes
    std::size_t result_size;    // of the whole result, in bytes
};

struct Block {
    std::vector<std::uint32_t> words;  // never empty; storage of arrays at the end included
    std::vector<ConnectedField> connected;
};

// What a block's names stand for; the world implements it.
class Resolver {
  public:
    virtual ~Resolver() = default;

    // Items that a name leads to for a parameter of this type (Shader, the textures, Light,
    // Material, Geometry, Data, LightProfile). More than one only for a light that is reached
    // over several paths; in an array all are taken. Throws Error (Exit::Shader) with the place
    // when there is none.
    virtual std::vector<miTag> items(scene::Base type, const std::string& name,
                                     const scene::Place& place) = 0;

    // The item of a string.
    virtual miTag string(const std::string& text) = 0;

    // The function of a named shader, for a connection, with its declaration.
    virtual std::pair<miTag, const scene::Declaration*> shader(const std::string& name,
                                                               const scene::Place& place) = 0;
};

// Fills the block of a call: defaults of the declaration first, then the arguments. Throws
// Error (Exit::Shader) at the place of the fault: an unknown parameter (with the nearest name),
// a wrong type or count of values, a member of a result that is not there.
Block make_block(const scene::Declaration& declaration, const scene::ShaderCall& call,
                 Resolver& resolver);

}  // namespace orvane::plugin
