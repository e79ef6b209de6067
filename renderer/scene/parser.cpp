// The parser's outermost level: commands, and which function reads which element.
#include "scene/parser.h"

#include <map>

#include "scene/commands.h"
#include "scene/errors.h"
#include "scene/reader.h"

namespace orvane::scene {

namespace {

Scene parse(std::unique_ptr<Source> source, const ParserSettings& settings) {
    Reader reader(Input(std::move(source), settings.include_path, settings.stop, settings.fence),
                  settings);
    read_commands(reader);
    reader.tell_repeated();
    return std::move(reader.scene);
}

}  // namespace

Scene parse_file(const std::string& file, const ParserSettings& settings) {
    std::error_code error;
    std::string why;
    if (file == "-") {
        auto source = read_standard_input(settings.stop, why);
        if (!source) throw Error(Exit::Input, "cannot read standard input: " + why);
        return parse(std::move(source), settings);
    }
    const bool exists = std::filesystem::exists(file, error);
    const bool completed = !exists && std::filesystem::exists(file + ".mi", error);
    auto source = read_source(completed ? file + ".mi" : file, settings.stop, why);
    if (!source) throw Error(Exit::Input, "cannot read " + file + ": " + why);
    return parse(std::move(source), settings);
}

bool declares(const std::filesystem::path& file, const std::string& shader) {
    try {
        return parse_file(file.string(), {}).declarations.contains(shader);
    } catch (const Error&) {
        return false;
    }
}

Scene parse_text(const std::string& text, const std::string& name,
                 const std::filesystem::path& directory, const ParserSettings& settings) {
    auto source = std::make_unique<Source>();
    source->name = std::make_shared<std::string>(name);
    source->directory = directory;
    source->text = text;
    return parse(std::move(source), settings);
}

}  // namespace orvane::scene
