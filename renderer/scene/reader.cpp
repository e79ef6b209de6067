// Names of elements, and warnings.
#include "scene/reader.h"

#include "scene/messages.h"

namespace orvane::scene {

namespace {

// Calls what with each table of elements.
template <typename SceneType, typename What>
void for_each_table(SceneType& scene, What what) {
    what(scene.options);
    what(scene.cameras);
    what(scene.lights);
    what(scene.textures);
    what(scene.materials);
    what(scene.shaders);
    what(scene.objects);
    what(scene.instances);
    what(scene.groups);
}

}  // namespace

Heading Reader::heading() {
    const Token keyword = take();
    const Token token = peek();
    std::string written = name("a name for the " + std::string(keyword.text));
    return {std::string(keyword.text), qualify(written), keyword, token.place()};
}

void Reader::close(const Heading& heading) {
    const std::string end = "\"end " + heading.keyword + "\"";
    if (peek().kind == Token::Kind::End) fail(heading.token, end + " is missing");
    const Token token = peek();
    expect("end", "to close the " + heading.keyword);
    if (accept(heading.keyword)) return;
    fail(token, "expected " + end + ", found \"end " + std::string(peek().text) + "\"",
         "the " + heading.keyword + " began at " + to_string(heading.token.place()));
}

void Reader::forget(const std::string& name) {
    if (names_.erase(name) == 0) return;
    for_each_table(scene, [&](auto& table) { table.erase(name); });
}

void Reader::fail_unchanged(const Heading& heading, std::vector<std::string> names) const {
    throw error_at(heading.place, Exit::Scene,
                   "there is no " + heading.keyword + " \"" + heading.name + "\" to change",
                   did_you_mean(heading.name, names));
}

std::string Reader::qualify(const std::string& name) const {
    if (name_prefix.empty()) return name;
    return name.starts_with("::") ? name.substr(2) : name_prefix.back() + name;
}

std::string Reader::resolve(const std::string& name) const {
    if (!name_prefix.empty() && name.starts_with("::")) return name.substr(2);
    for (auto prefix = name_prefix.rbegin(); prefix != name_prefix.rend(); ++prefix) {
        if (defined(*prefix + name)) return *prefix + name;
    }
    return name;
}

void Reader::warn(const Place& place, const std::string& what) {
    std::string kind;
    bool name = false;
    for (const char c : what) {
        if (c == '"' && (name = !name)) kind += "\"...";
        if (!name) kind += c;
    }
    if (++warnings_[kind] == 1) message(Level::Warning, to_string(place) + ": warning: " + what);
}

void Reader::tell_repeated() const {
    for (const auto& [kind, count] : warnings_)
        if (count > 1)
            message(Level::Warning, std::to_string(count - 1) + " more like this: " + kind);
}

void Reader::warn_once(const std::string& key, const Place& place, const std::string& what) {
    if (warned_.insert(key).second)
        message(Level::Warning, to_string(place) + ": warning: " + what);
}

}  // namespace orvane::scene
