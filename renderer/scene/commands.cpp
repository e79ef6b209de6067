// Commands: what a scene text does, one after the other.
#include "scene/commands.h"

#include <map>

#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/limits.h"
#include "scene/messages.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

// The version of the language that is read.
constexpr std::array<int, 2> kVersion = {3, 1};

using Command = void (*)(Reader&);

void read_link(Reader& in) {
    in.take();
    const Place place = in.peek().place();
    in.scene.libraries.emplace_back(in.input.substitute(in.string("a library")), place);
}

[[noreturn]] void refuse(Reader& in, const std::string& why) { in.fail(in.peek(), why); }

void read_code(Reader& in) {
    refuse(in, "source code is not compiled: build a library and link it");
}

void read_system(Reader& in) { refuse(in, "a scene may not run commands"); }

void read_frame(Reader& in) {
    refuse(in, "scenes without instances (\"frame\" ... \"end frame\") cannot be read");
}

// The first two numbers of "3.1.4".
std::array<int, 2> parse_version(const std::string& text) {
    std::array<int, 2> version = {};
    std::size_t part = 0;
    for (const char c : text) {
        if (c == '.') {
            if (++part == version.size()) break;
        } else if (c >= '0' && c <= '9' && version[part] < 1000) {
            version[part] = version[part] * 10 + (c - '0');
        }
    }
    return version;
}

// version "3.1", min version "3.0", max version "3.4"
void read_version(Reader& in) {
    const Token first = in.take();
    if (first.text != "version") in.expect("version", "after \"" + std::string(first.text) + "\"");
    const std::string text = in.string("a version");
    const auto wanted = parse_version(text);
    const bool fits = first.text == "min"   ? wanted <= kVersion
                      : first.text == "max" ? wanted >= kVersion
                                            : wanted == kVersion;
    if (!fits) {
        in.warn(first.place(), "the scene asks for version " + text + " of the language");
    }
}

void read_verbose(Reader& in) {
    constexpr int kMost = 7;
    in.take();
    int level = 0;
    if (in.at_boolean()) {
        level = static_cast<int>(in.boolean("verbose") ? Level::Progress : Level::Error);
    } else {
        level = in.integer("verbose", 0, kMost);
    }
    if (!in.settings.verbosity_fixed) set_verbosity(level);
}

void read_echo(Reader& in) {
    in.take();
    message(Level::Info, in.string("a text"));
}

void read_set(Reader& in) {
    in.take();
    const std::string name = in.name("the name of a variable");
    in.input.variables.erase(name);
    if (in.at_string()) in.input.variables[name] = in.string("a value");
}

void read_debug(Reader& in) {
    in.take();
    in.name("the name of a switch");
    if (in.at_string()) in.take();
}

void read_namespace(Reader& in) {
    in.take();
    const Token token = in.peek();
    if (in.name_prefix.size() == kDeepestNamespace)
        in.fail(token,
                "namespaces are nested more than " + std::to_string(kDeepestNamespace) + " deep");
    const std::string outer = in.name_prefix.empty() ? "" : in.name_prefix.back();
    const std::string prefix = outer + in.name("the name of a namespace") + "::";
    if (prefix.size() > kLongestNamespaces)
        in.fail(token, "the names of the open namespaces have more than " +
                           std::to_string(kLongestNamespaces) + " characters in all");
    in.name_prefix.push_back(prefix);
}

void read_end(Reader& in) {
    const Token end = in.take();
    if (in.name_prefix.empty()) in.fail(end, "\"end\" without anything to close");
    in.expect("namespace", "after \"end\"");
    in.name_prefix.pop_back();
}

void read_call_command(Reader& in) {
    const Token keyword = in.take();
    in.warn_once("call", keyword.place(), "\"call\" is ignored");
    read_calls(in);
    if (!in.accept(',')) return;
    in.name("a camera instance");
    in.name("the name of options");
}

void read_touch(Reader& in) {
    in.take();
    in.name("the name of an element");
}

void read_delete(Reader& in) {
    in.take();
    const Place place = in.peek().place();
    const std::string name = in.resolve(in.name("the name of an element"));
    if (!in.defined(name)) in.warn(place, "there is no \"" + name + "\" to delete");
    in.forget(name);
}

void read_memory(Reader& in) {
    in.take();
    in.number("memory");
}

// registry "{X}" value "text" ... end registry
void read_registry(Reader& in) {
    const Heading heading = in.heading();
    std::string name = heading.name;
    std::erase_if(name, [](char c) { return c == '{' || c == '}' || c == '$'; });
    while (!in.at_end() && !in.at_word("end")) {
        const Token what = in.take();
        const std::string text = in.string("a text");
        if (what.is_word("value")) {
            in.input.registry[name] = in.input.substitute(text);
        } else {
            in.warn_once("registry", what.place(), describe(what) + " in registry is ignored");
        }
    }
    in.close(heading);
}

void read_render(Reader& in) {
    RenderCommand command;
    command.place = in.take().place();
    command.root = in.resolve(in.name("the name of the root group"));
    command.camera = in.resolve(in.name("the name of the camera instance"));
    command.options = in.resolve(in.name("the name of the options"));
    if (in.settings.on_render) in.settings.on_render(in.scene, command);
}

void warn_skipped(Reader& in, const Token& keyword) {
    const std::string what = describe(keyword);
    in.warn_once(what + " skipped", keyword.place(), what + " is skipped");
}

void skip_name(Reader& in) {
    const Token keyword = in.take();
    warn_skipped(in, keyword);
    in.name("a name");
}

void skip_element(Reader& in) {
    const Token keyword = in.take();
    warn_skipped(in, keyword);
    in.skip_to_end(keyword.text, keyword);
}

// Blocks of the user interface are brackets in each other, with or without an end.
void skip_gui(Reader& in) {
    const Token keyword = in.take();
    warn_skipped(in, keyword);
    if (in.at_name()) in.take();
    while (in.peek().is('(') || in.peek().is('{')) in.skip_brackets();
    if (in.at_word("end")) in.skip_to_end("gui", keyword);
}

// data "name" [tag i] N [ bytes ], data "name" "file", data "name" "declaration" ( ... )
void skip_data(Reader& in) {
    const Token keyword = in.take();
    warn_skipped(in, keyword);
    in.name("a name for the data");
    if (in.accept("tag")) in.label("tag");
    if (in.at_string() || in.at_number()) in.take();
    if (in.peek().is('(') || in.peek().is('[')) in.skip_brackets();
}

const std::map<std::string_view, Command>& commands() {
    static const std::map<std::string_view, Command> kCommands = {
        {"link", read_link},
        {"code", read_code},
        {"declare", read_declaration},
        {"version", read_version},
        {"min", read_version},
        {"max", read_version},
        {"verbose", read_verbose},
        {"echo", read_echo},
        {"system", read_system},
        {"set", read_set},
        {"debug", read_debug},
        {"namespace", read_namespace},
        {"end", read_end},
        {"call", read_call_command},
        {"touch", read_touch},
        {"delete", read_delete},
        {"memory", read_memory},
        {"registry", read_registry},
        {"root", skip_name},
        {"render", read_render},
        {"frame", read_frame},
        {"options", read_options},
        {"camera", read_camera},
        {"light", read_light},
        {"local", read_texture},
        {"filter", read_texture},
        {"writable", read_texture},
        {"color", read_texture},
        {"scalar", read_texture},
        {"vector", read_texture},
        {"material", read_material},
        {"shader", read_shader},
        {"object", read_object},
        {"instance", read_instance},
        {"instgroup", read_group},
        {"data", skip_data},
        {"gui", skip_gui},
        {"lightprofile", skip_element},
        {"assembly", skip_element},
        {"colorprofile", skip_element},
        {"spectrum", skip_element},
    };
    return kCommands;
}

// Takes the words that may stand before an element.
void read_prefixes(Reader& in) {
    in.incremental = false;
    while (true) {
        if (in.accept("incremental")) {
            in.incremental = true;
        } else if (in.accept("session")) {
            in.expect("depth", "after \"session\"");
            in.integer("session depth");
        } else if (!in.accept("private")) {
            return;
        }
    }
}

[[noreturn]] void fail_unknown(Reader& in) {
    if (in.peek().kind != Token::Kind::Word) in.fail_expected("a command");
    std::vector<std::string> names = {"incremental"};
    for (const auto& [name, read] : commands()) names.emplace_back(name);
    in.fail(in.peek(), "unknown command " + describe(in.peek()),
            did_you_mean(std::string(in.peek().text), names));
}

}  // namespace

void read_commands(Reader& in) {
    while (!in.at_end()) {
        read_prefixes(in);
        const auto found = commands().find(in.peek().text);
        if (in.peek().kind != Token::Kind::Word || found == commands().end()) fail_unknown(in);
        found->second(in);
        in.release_finished();
    }
    if (!in.name_prefix.empty()) in.fail(in.peek(), "\"end namespace\" is missing");
}

}  // namespace orvane::scene
