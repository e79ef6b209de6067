// Fills parameter blocks from shader calls.
#include "plugin/block.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <span>

namespace orvane::plugin {

using scene::Argument;
using scene::Base;
using scene::Member;
using scene::Type;
using scene::Value;

namespace {

// The values of one parameter, member or array element.
using Run = std::span<const Value>;

// A value's place in the block. name is that of the parameter, or "parameter.member".
struct Field {
    Type type;
    std::size_t offset;
    std::string name;
    scene::Place place;
};

// One element of an array; item is set when the name in run leads to that item.
struct Element {
    Run run;
    std::optional<miTag> item;
};

bool is_tag(Base base) {
    switch (base) {
        case Base::Shader:
        case Base::ColorTexture:
        case Base::ScalarTexture:
        case Base::VectorTexture:
        case Base::Light:
        case Base::Material:
        case Base::Geometry:
        case Base::LightProfile:
        case Base::Data:
            return true;
        default:
            return false;
    }
}

// Where values begin, or where they are missing.
const scene::Place& place_of(const Field& field, Run run) {
    return run.empty() ? field.place : run[0].place;
}

bool is_one(Run run, Value::Kind kind) { return run.size() == 1 && run[0].kind == kind; }

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

std::string to_text(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.12g", number);
    return text;
}

std::string full_name(const scene::Connection& connection) {
    return connection.member.empty() ? connection.shader
                                     : connection.shader + "." + connection.member;
}

std::string describe(const Value& value) {
    switch (value.kind) {
        case Value::Kind::Number:
            return to_text(value.number);
        case Value::Kind::Boolean:
            return value.number != 0 ? "on" : "off";
        case Value::Kind::String:
            return quoted(value.text);
        case Value::Kind::Null:
            return "null";
        case Value::Kind::Array:
            return "an array";
        case Value::Kind::Struct:
            return "a struct";
        case Value::Kind::Connected:
            return "= " + quoted(value.connection.shader);
    }
    return "nothing";
}

std::string describe(Run run) {
    if (run.empty()) return "nothing";
    return run.size() == 1 ? describe(run[0]) : std::to_string(run.size()) + " values";
}

std::string wanted(const Type& type) {
    switch (type.base) {
        case Base::Boolean:
            return "on or off";
        case Base::Integer:
            return "an integer";
        case Base::Scalar:
            return "1 number (scalar)";
        case Base::Color:
            return "3 or 4 numbers (color)";
        case Base::Vector:
            return "3 numbers (vector)";
        case Base::Transform:
            return "16 numbers (transform)";
        case Base::String:
            return "a string";
        case Base::Struct:
            return "a struct";
        default:
            return "the name of one " + to_string(Type{type.base, false, {}});
    }
}

// Equal sequences of fields without arrays, whose elements a copy would leave behind.
bool same_layout(const Type& from, const Type& to) {
    return from.base == to.base && !from.array && !to.array &&
           std::equal(from.members.begin(), from.members.end(), to.members.begin(),
                      to.members.end(),
                      [](const Member& a, const Member& b) { return same_layout(a.type, b.type); });
}

// Bytes of a result that make up a value of another type: a color gives its r, g and b to a
// vector and its r to a scalar. Nothing when the one cannot stand for the other.
std::optional<std::size_t> bytes_to_copy(const Type& from, const Type& to) {
    const auto floats = [](const Type& type) -> std::size_t {
        const bool known =
            type.base == Base::Color || type.base == Base::Vector || type.base == Base::Scalar;
        return known && !type.array ? size_of(type) : 0;
    };
    const auto whole = [](const Type& type) {
        return (type.base == Base::Boolean || type.base == Base::Integer) && !type.array;
    };
    if (same_layout(from, to)) return size_of(to);
    if (whole(from) && whole(to)) return sizeof(miInteger);
    if (floats(from) > sizeof(miScalar) && floats(to) > 0)
        return std::min(floats(from), floats(to));
    return std::nullopt;
}

std::vector<std::string> names_of(const std::vector<Member>& members) {
    std::vector<std::string> names;
    for (const Member& member : members) names.push_back(member.name);
    return names;
}

std::string did_you_mean(const std::string& name, const std::vector<Member>& members) {
    return orvane::did_you_mean(name, names_of(members));
}

// Fills one block. The fields of the declaration come first; storage of arrays is appended.
class Writer {
  public:
    Writer(const std::string& shader, std::size_t bytes, Resolver& resolver)
        : shader_(shader), resolver_(resolver) {
        block_.words.resize(std::max<std::size_t>(1, bytes / 4));
    }

    Block take() { return std::move(block_); }

    // Writes a sequence of fields that begins at offset: of each the last argument with its
    // name, or else its default. prefix stands before the names of members of a struct.
    void write_members(const std::vector<Member>& members, std::size_t offset,
                       const std::vector<Argument>& arguments, const std::string& prefix) {
        check_names(members, arguments, prefix);
        const std::vector<std::size_t> offsets = field_offsets(members);
        for (std::size_t i = 0; i < members.size(); ++i) {
            const Member& member = members[i];
            const auto argument =
                std::find_if(arguments.rbegin(), arguments.rend(),
                             [&](const Argument& a) { return a.name == member.name; });
            const bool given = argument != arguments.rend();
            const Field field{member.type, offset + offsets[i], prefix + member.name,
                              given ? argument->place : member.place};
            // The default stays below a connection: who reads the block unasked finds that.
            if (given && is_one(argument->values, Value::Kind::Connected) &&
                !member.defaults.empty())
                write(field, member.defaults);
            if (given)
                write(field, argument->values);
            else if (!member.defaults.empty())
                write(field, member.defaults);
            else if (member.type.base == Base::Struct && !member.type.array)
                write_members(member.type.members, field.offset, {}, field.name + ".");
        }
    }

  private:
    std::string parameter(const Field& field) const {
        return "parameter " + quoted(field.name) + " of shader " + quoted(shader_);
    }

    [[noreturn]] void reject(const Field& field, const scene::Place& place,
                             const std::string& got) const {
        throw error_at(place, Exit::Shader,
                       parameter(field) + " wants " + wanted(field.type) + ", got " + got);
    }

    void check_names(const std::vector<Member>& members, const std::vector<Argument>& arguments,
                     const std::string& prefix) const {
        for (const Argument& argument : arguments) {
            const bool known =
                std::any_of(members.begin(), members.end(),
                            [&](const Member& member) { return member.name == argument.name; });
            if (!known)
                throw error_at(argument.place, Exit::Shader,
                               "unknown parameter " + quoted(prefix + argument.name) +
                                   " of shader " + quoted(shader_),
                               did_you_mean(argument.name, members));
        }
    }

    void put(std::size_t offset, std::uint32_t word) { block_.words.at(offset / 4) = word; }
    void put(std::size_t offset, miInteger value) { put(offset, std::bit_cast<miUint>(value)); }
    void put(std::size_t offset, miScalar value) { put(offset, std::bit_cast<miUint>(value)); }

    void write(const Field& field, Run run) {
        if (field.type.array)
            write_array(field, run);
        else if (is_one(run, Value::Kind::Connected))
            connect(field, run[0]);
        else if (is_tag(field.type.base))
            put(field.offset, tag(field, run));
        else if (field.type.base == Base::Struct)
            write_struct(field, run);
        else if (field.type.base == Base::String)
            put(field.offset, string(field, run));
        else if (field.type.base == Base::Boolean || field.type.base == Base::Integer)
            put(field.offset, integer(field, run));
        else
            write_numbers(field, run);
    }

    void write_numbers(const Field& field, Run run) {
        for (const Value& value : run)
            if (value.kind != Value::Kind::Number) reject(field, value.place, describe(value));

        const std::size_t most = size_of(field.type) / sizeof(miScalar);
        const std::size_t least = field.type.base == Base::Color ? 3 : most;
        if (run.size() < least || run.size() > most)
            reject(field, place_of(field, run),
                   run.empty() ? "nothing" : std::to_string(run.size()));

        for (std::size_t i = 0; i < run.size(); ++i) {
            if (!(std::abs(run[i].number) <= std::numeric_limits<miScalar>::max()))
                throw error_at(run[i].place, Exit::Shader,
                               parameter(field) + ": " + describe(run[i]) +
                                   " is beyond the range of a scalar");
            put(field.offset + 4 * i, static_cast<miScalar>(run[i].number));
        }
    }

    // An integer, or a truth value as 0 or 1.
    miInteger integer(const Field& field, Run run) const {
        if (run.size() != 1) reject(field, place_of(field, run), describe(run));
        const Value& value = run[0];
        const bool boolean = field.type.base == Base::Boolean;
        const bool whole = value.kind == Value::Kind::Number && value.is_integer;
        const bool truth = value.kind == Value::Kind::Boolean ||
                           (whole && (value.number == 0 || value.number == 1));
        if (boolean ? !truth : !whole) reject(field, value.place, describe(value));
        if (boolean) return value.number != 0;
        if (!(value.number >= std::numeric_limits<miInteger>::min() &&
              value.number <= std::numeric_limits<miInteger>::max()))
            throw error_at(
                value.place, Exit::Shader,
                parameter(field) + ": " + describe(value) + " is beyond the range of an integer");
        return static_cast<miInteger>(value.number);
    }

    miTag string(const Field& field, Run run) {
        if (is_one(run, Value::Kind::Null)) return miNULLTAG;
        if (!is_one(run, Value::Kind::String)) reject(field, place_of(field, run), describe(run));
        return resolver_.string(run[0].text);
    }

    miTag tag(const Field& field, Run run) {
        if (is_one(run, Value::Kind::Null)) return miNULLTAG;
        if (!is_one(run, Value::Kind::String)) reject(field, place_of(field, run), describe(run));
        const std::vector<miTag> items =
            resolver_.items(field.type.base, run[0].text, run[0].place);
        return items.empty() ? miNULLTAG : items.front();
    }

    void write_struct(const Field& field, Run run) {
        if (!is_one(run, Value::Kind::Struct)) reject(field, place_of(field, run), describe(run));
        write_members(field.type.members, field.offset, run[0].members, field.name + ".");
    }

    void write_array(const Field& field, Run run) {
        const Type type{field.type.base, false, field.type.members};
        const std::vector<Element> elements = elements_of(field, run);
        const std::size_t size = size_of(type);
        const std::size_t storage = place_storage(field.offset + 8, elements.size(), size);
        put(field.offset, static_cast<miInteger>(size ? (storage - field.offset - 8) / size : 0));
        put(field.offset + 4, static_cast<miInteger>(elements.size()));

        for (std::size_t i = 0; i < elements.size(); ++i) {
            const Element& element = elements[i];
            if (element.item)
                put(storage + i * size, *element.item);
            else
                write({type, storage + i * size, field.name, place_of(field, element.run)},
                      element.run);
        }
    }

    // The elements that values stand for: of an array, none for null, or a single one. Of a
    // name, all items that it leads to.
    std::vector<Element> elements_of(const Field& field, Run run) {
        std::vector<Run> runs;
        if (is_one(run, Value::Kind::Array))
            runs.assign(run[0].elements.begin(), run[0].elements.end());
        else if (!is_one(run, Value::Kind::Null))
            runs.push_back(run);

        std::vector<Element> elements;
        for (const Run& values : runs) {
            if (!is_tag(field.type.base) || !is_one(values, Value::Kind::String)) {
                elements.push_back({values, {}});
                continue;
            }
            const Value& name = values[0];
            for (miTag item : resolver_.items(field.type.base, name.text, name.place))
                elements.push_back({values, item});
        }
        return elements;
    }

    // Where the elements of an array lie whose in-block storage, of one element, is at inside:
    // there, or behind all that was placed before at a whole number of elements from it.
    std::size_t place_storage(std::size_t inside, std::size_t count, std::size_t size) {
        if (count <= 1 || size == 0) return inside;
        const std::size_t end = block_.words.size() * 4;
        const std::size_t storage = inside + (end - inside + size - 1) / size * size;
        block_.words.resize((storage + count * size) / 4);
        return storage;
    }

    // A parameter that takes a shader itself gets the shader, unless that shader returns one.
    void connect(const Field& field, const Value& value) {
        const auto [shader, declaration] = resolver_.shader(value.connection.shader, value.place);
        std::size_t offset = 0;
        const Type result = result_part(*declaration, value, offset);
        if (is_tag(field.type.base) && result.base != field.type.base) {
            put(field.offset, shader);
            return;
        }
        const std::optional<std::size_t> size = bytes_to_copy(result, field.type);
        if (!size)
            throw error_at(value.place, Exit::Shader,
                           parameter(field) + " wants " + to_string(field.type) + ", but " +
                               quoted(full_name(value.connection)) + " returns " +
                               to_string(result));
        block_.connected.push_back(
            {field.offset, *size, shader, offset, size_of(declaration->result)});
    }

    // The type of a connection's value, and where in the result it lies.
    Type result_part(const scene::Declaration& declaration, const Value& value,
                     std::size_t& offset) const {
        const std::string& name = value.connection.member;
        if (name.empty()) return declaration.result;
        const std::vector<Member>& members = declaration.result.members;
        for (std::size_t i = 0; i < members.size(); ++i) {
            if (members[i].name != name) continue;
            offset = field_offsets(members)[i];
            return members[i].type;
        }
        throw error_at(value.place, Exit::Shader,
                       "the result of shader " + quoted(declaration.name) + ", " +
                           to_string(declaration.result) + ", has no member " + quoted(name),
                       did_you_mean(name, members));
    }

    const std::string& shader_;
    Resolver& resolver_;
    Block block_;
};

}  // namespace

Block make_block(const scene::Declaration& declaration, const scene::ShaderCall& call,
                 Resolver& resolver) {
    Writer writer(declaration.name, size_of(declaration.parameters), resolver);
    writer.write_members(declaration.parameters, 0, call.arguments, "");
    return writer.take();
}

}  // namespace orvane::plugin
