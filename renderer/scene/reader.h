// What the parts of the parser share: the tokens, the scene so far, names and warnings.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "scene/errors.h"
#include "scene/parser.h"
#include "scene/tokens.h"

namespace orvane::scene {

// The head of an element: keyword "name". The keyword closes it again.
struct Heading {
    std::string keyword;
    std::string name;  // with the prefix of its namespace
    Token token;       // the keyword's
    Place place;       // the name's
};

class Reader : public Tokens {
  public:
    Reader(Input text, const ParserSettings& parser_settings)
        : Tokens(std::move(text)), settings(parser_settings) {}

    // Takes the keyword and the name of an element.
    Heading heading();
    // Takes "end KEYWORD".
    void close(const Heading& heading);

    // The record that the statements of an element change: a new one, or with "incremental" a
    // copy of the element as it is. Warns about a name that is taken.
    template <typename T>
    T begin(Table<T> Scene::*table, const Heading& heading);
    // Puts an element in its table, and what else has this name out of the others.
    template <typename T>
    void define(Table<T> Scene::*table, const std::string& name, T record);

    bool defined(const std::string& name) const { return names_.contains(name); }
    void forget(const std::string& name);

    // The name of a new element, and the element that a name written here means.
    std::string qualify(const std::string& name) const;
    std::string resolve(const std::string& name) const;

    // A warning; of those that differ in their names only the first one is shown.
    void warn(const Place& place, const std::string& what);
    // Tells how many were not shown.
    void tell_repeated() const;
    // A warning only for the first time that this key turns up.
    void warn_once(const std::string& key, const Place& place, const std::string& what);

    Scene scene;
    const ParserSettings& settings;
    bool incremental = false;              // the element that is being read was marked so
    std::vector<std::string> name_prefix;  // one for each open namespace: "a::", "a::b::"

  private:
    [[noreturn]] void fail_unchanged(const Heading& heading, std::vector<std::string> names) const;

    std::unordered_set<std::string> names_;  // of all elements
    std::set<std::string> warned_;
    std::map<std::string, std::size_t> warnings_;  // how many, by their text without names
};

template <typename T>
T Reader::begin(Table<T> Scene::*table, const Heading& heading) {
    const auto& elements = scene.*table;
    const auto found = elements.find(heading.name);
    if (incremental) {
        if (found != elements.end()) return *found->second;
        std::vector<std::string> names;
        for (const auto& [name, element] : elements) names.push_back(name);
        fail_unchanged(heading, std::move(names));
    }
    if (defined(heading.name)) {
        warn(heading.place, "\"" + heading.name + "\" is defined again and replaced");
    }
    return {};
}

template <typename T>
void Reader::define(Table<T> Scene::*table, const std::string& name, T record) {
    forget(name);
    names_.insert(name);
    (scene.*table)[name] = std::make_shared<const T>(std::move(record));
}

}  // namespace orvane::scene
