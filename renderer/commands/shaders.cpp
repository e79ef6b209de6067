// orvane shaders: what the declarations say of the shaders and their parameters.
//
// A parameter's comment is "unit, range: meaning".

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "commands/commands.h"
#include "commands/program_folder.h"
#include "plugin/block.h"
#include "scene/parser.h"

namespace orvane::commands {
namespace {

using scene::Declaration;
using scene::Member;
using Json = nlohmann::ordered_json;

constexpr std::size_t kLineWidth = 96;

std::vector<const Declaration*> in_order(const scene::Scene& scene) {
    std::vector<const Declaration*> shaders;
    for (const auto& [name, declaration] : scene.declarations) shaders.push_back(declaration.get());
    std::ranges::sort(shaders, {}, [](const Declaration* d) { return d->place.line; });
    return shaders;
}

std::string one_line(std::string text) {
    std::ranges::replace(text, '\n', ' ');
    return text;
}

std::string joined(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : ", ") + word;
    return line;
}

// The first sentence of a description.
std::string summary(const Declaration& shader) {
    const std::string text = one_line(shader.comment);
    const std::size_t end = text.find(". ");
    return end == std::string::npos ? text : text.substr(0, end + 1);
}

// The parts of a parameter's comment; a comment of another form is all meaning.
struct Remark {
    std::string unit, range, meaning;
};

Remark remark_of(const Member& parameter) {
    const std::string text = one_line(parameter.comment);
    const std::size_t colon = text.find(": ");
    if (colon == std::string::npos) return {"", "", text};
    const std::size_t comma = text.rfind(", ", colon);
    if (comma == std::string::npos) return {"", text.substr(0, colon), text.substr(colon + 2)};
    return {text.substr(0, comma), text.substr(comma + 2, colon - comma - 2),
            text.substr(colon + 2)};
}

Json json_of(const scene::Value& value) {
    using Kind = scene::Value::Kind;
    if (value.kind == Kind::String) return value.text;
    if (value.kind == Kind::Boolean) return value.number != 0;
    if (value.kind == Kind::Number && value.is_integer) return static_cast<long>(value.number);
    return value.number;
}

Json json_of(const std::vector<Member>& parameters) {
    Json list = Json::array();
    const auto offsets = plugin::field_offsets(parameters);
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const Member& parameter = parameters[i];
        const Remark remark = remark_of(parameter);
        Json item = {{"name", parameter.name},   {"type", plugin::to_string(parameter.type)},
                     {"offset", offsets[i]},     {"default", nullptr},
                     {"unit", remark.unit},      {"range", remark.range},
                     {"meaning", remark.meaning}};
        if (!parameter.defaults.empty()) item["default"] = Json::array();
        for (const scene::Value& value : parameter.defaults)
            item["default"].push_back(json_of(value));
        if (!parameter.type.members.empty()) item["members"] = json_of(parameter.type.members);
        list.push_back(std::move(item));
    }
    return list;
}

Json json_of(const Declaration& shader) {
    return {{"name", shader.name},
            {"kind", shader.apply},
            {"version", shader.version},
            {"summary", summary(shader)},
            {"description", one_line(shader.comment)},
            {"block_size", plugin::size_of(shader.parameters)},
            {"parameters", json_of(shader.parameters)}};
}

// Prints text in lines that are indented.
void print_wrapped(const std::string& text, std::size_t indent) {
    std::istringstream words(text);
    std::string line, word;
    const auto flush = [&] {
        if (!line.empty()) std::cout << std::string(indent, ' ') << line << '\n';
        line.clear();
    };
    while (words >> word) {
        if (indent + line.size() + word.size() >= kLineWidth) flush();
        line += (line.empty() ? "" : " ") + word;
    }
    flush();
}

std::string default_of(const Member& parameter) {
    std::ostringstream text;
    for (const scene::Value& value : parameter.defaults) {
        if (text.tellp() > 0) text << ' ';
        if (value.kind == scene::Value::Kind::Boolean)
            text << (value.number != 0 ? "on" : "off");
        else if (value.kind == scene::Value::Kind::String)
            text << std::quoted(value.text);
        else
            text << value.number;
    }
    return text.str();
}

void print_parameters(const std::vector<Member>& parameters, std::size_t indent) {
    for (const Member& parameter : parameters) {
        const Remark remark = remark_of(parameter);
        std::cout << '\n'
                  << std::string(indent, ' ') << plugin::to_string(parameter.type) << " \""
                  << parameter.name << '"';
        if (!parameter.defaults.empty()) std::cout << " default " << default_of(parameter);
        const bool parted = !remark.unit.empty() && !remark.range.empty();
        if (!remark.unit.empty() || !remark.range.empty())
            std::cout << "  [" << remark.unit << (parted ? ", " : "") << remark.range << ']';
        std::cout << '\n';
        print_wrapped(remark.meaning, indent + 4);
        print_parameters(parameter.type.members, indent + 4);
    }
}

void print(const Declaration& shader) {
    std::cout << shader.name << " (" << joined(shader.apply) << ", version " << shader.version
              << ")\n\n";
    print_wrapped(one_line(shader.comment), 0);
    print_parameters(shader.parameters, 4);
}

void print_list(const std::vector<const Declaration*>& shaders) {
    std::size_t name = 0, kind = 0;
    for (const Declaration* shader : shaders) {
        name = std::max(name, shader->name.size());
        kind = std::max(kind, joined(shader->apply).size());
    }
    for (const Declaration* shader : shaders)
        std::cout << std::left << std::setw(static_cast<int>(name) + 2) << shader->name
                  << std::setw(static_cast<int>(kind) + 2) << joined(shader->apply)
                  << summary(*shader) << '\n';
}

scene::Scene read_declarations(const std::string& file) {
    scene::ParserSettings settings;
    settings.include_path = {std::filesystem::current_path(), program_folder()};
    return scene::parse_text("$include \"" + file + "\"\n", "the command line", "", settings);
}

// The shaders of these names, in their order; all without names.
std::vector<const Declaration*> chosen(const scene::Scene& scene, const ShadersArguments& wanted) {
    if (wanted.names.empty()) return in_order(scene);
    std::vector<const Declaration*> shaders;
    for (const std::string& name : wanted.names) {
        const auto found = scene.declarations.find(name);
        if (found == scene.declarations.end()) {
            std::vector<std::string> names;
            for (const auto& [known, declaration] : scene.declarations) names.push_back(known);
            throw Error(Exit::Shader,
                        "there is no shader \"" + name + "\" in " + wanted.declarations,
                        did_you_mean(name, names));
        }
        shaders.push_back(found->second.get());
    }
    return shaders;
}

}  // namespace

int list_shaders(const ShadersArguments& arguments) {
    const scene::Scene scene = read_declarations(arguments.declarations);
    const auto shaders = chosen(scene, arguments);
    if (arguments.json) {
        Json list = Json::array();
        for (const Declaration* shader : shaders) list.push_back(json_of(*shader));
        std::cout << list.dump(2) << '\n';
    } else if (arguments.names.empty()) {
        print_list(shaders);
    } else {
        for (const Declaration* shader : shaders) {
            if (shader != shaders.front()) std::cout << '\n';
            print(*shader);
        }
    }
    return 0;
}

}  // namespace orvane::commands
