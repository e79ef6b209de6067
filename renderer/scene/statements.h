// Elements are blocks of statements, each of which begins with a keyword. A grammar says which
// keywords an element knows; what it does not know is skipped with a warning.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "scene/reader.h"

namespace orvane::scene {

template <typename Record>
struct Grammar {
    // Reads what follows the keyword.
    std::map<std::string_view, void (*)(Reader&, Record&)> statements;

    // Keywords without a meaning here, and which keywords of this element belong to them
    // when they follow at once ("shadowmap motion on").
    std::map<std::string_view, std::vector<std::string_view>> ignored;

    // Reads what does not begin with a word; returns false when that cannot be here.
    bool (*other)(Reader&, Record&) = nullptr;

    // Calls of shaders stand between the statements: they end what is skipped.
    bool calls = false;

    bool knows(std::string_view word) const {
        return statements.contains(word) || ignored.contains(word);
    }
};

// Takes the parameters of a statement that is not read: all up to a token that ends() accepts,
// or "end". Brackets are skipped as a whole.
template <typename Ends>
void skip_parameters(Reader& in, Ends ends) {
    while (!in.at_end() && !in.at_word("end") && !ends()) {
        if (in.peek().is('(') || in.peek().is('[') || in.peek().is('{')) {
            in.skip_brackets();
        } else {
            in.take();
        }
    }
}

template <typename Record>
void skip_statement(Reader& in, const Grammar<Record>& grammar) {
    skip_parameters(in, [&] {
        const Token& token = in.peek();
        if (token.kind == Token::Kind::Word) return grammar.knows(token.text);
        if (!grammar.calls) return false;
        return token.is('=') || (in.at_string() && in.peek_second().is('('));
    });
}

// The keyword that word is probably meant to be, as a hint; or "".
template <typename Record>
std::string keyword_hint(const Grammar<Record>& grammar, std::string_view word) {
    std::vector<std::string> keywords;
    for (const auto& [keyword, read] : grammar.statements) keywords.emplace_back(keyword);
    const std::string nearest = nearest_name(std::string(word), keywords);
    return nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?";
}

// Reads the statement that the next token, a keyword, begins.
template <typename Record>
void read_statement(Reader& in, const Grammar<Record>& grammar, const Heading& heading,
                    Record& record) {
    const Token keyword = in.take();
    const auto found = grammar.statements.find(keyword.text);
    if (found != grammar.statements.end()) return found->second(in, record);

    const std::string what = "\"" + std::string(keyword.text) + "\" in " + heading.keyword;
    const auto ignored = grammar.ignored.find(keyword.text);
    if (ignored == grammar.ignored.end()) {
        in.warn_once(what, keyword.place(),
                     what + " is unknown and skipped" + keyword_hint(grammar, keyword.text));
    } else {
        in.warn_once(what, keyword.place(), what + " is ignored");
        const auto& parts = ignored->second;
        if (std::any_of(parts.begin(), parts.end(), [&](auto part) { return in.at_word(part); })) {
            in.take();
        }
    }
    skip_statement(in, grammar);
}

// Reads the statements of an element and its "end KEYWORD".
template <typename Record>
void read_statements(Reader& in, const Grammar<Record>& grammar, const Heading& heading,
                     Record& record) {
    while (!in.at_end() && !in.at_word("end")) {
        if (in.peek().kind == Token::Kind::Word) {
            read_statement(in, grammar, heading, record);
        } else if (grammar.other && grammar.other(in, record)) {
            continue;
        } else if (in.at_number()) {
            // A later version of the language added numbers to the statement before.
            in.warn_once(heading.keyword + " number", in.peek().place(),
                         "a number too many in this " + heading.keyword + " is ignored");
            in.skip_numbers();
        } else {
            in.fail_expected("a statement of the " + heading.keyword);
        }
    }
    in.close(heading);
}

}  // namespace orvane::scene
