// Directives: $include, and the conditionals $ifdef to $endif.
#include "scene/input.h"

#include <cstdlib>

#include "scene/errors.h"
#include "scene/limits.h"

namespace orvane::scene {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const Token& token, const std::string& what, const std::string& hint = {}) {
    throw error_at(token.place(), Exit::Scene, what, hint);
}

bool is_condition(std::string_view word) {
    return word == "ifdef" || word == "ifndef" || word == "ifeq" || word == "ifneq";
}

// The value of NAME in ${NAME} and ${?NAME}.
std::string environment(std::string name) {
    const bool ask = name.starts_with('?');
    if (ask) name.erase(0, 1);
    const char* value = std::getenv(name.c_str());
    if (ask) return value ? "1" : "";
    return value ? value : "";
}

}  // namespace

Input::Input(std::unique_ptr<Source> main, std::vector<fs::path> include_path, Stop stop,
             Fence fence)
    : include_path_(std::move(include_path)), stop_(std::move(stop)), fence_(std::move(fence)) {
    open_.emplace_back(std::move(main));
}

Token Input::next() {
    constexpr unsigned kTokensBetween = 1024;
    comments_.clear();
    while (true) {
        if (stop_ && tokens_++ % kTokensBetween == 0 && stop_()) throw Stopped{};
        const Token token = open_.back().lexer.next();
        const auto& found = open_.back().lexer.comments();
        comments_.insert(comments_.end(), found.begin(), found.end());
        if (token.kind == Token::Kind::Directive) {
            obey(token);
        } else if (token.kind == Token::Kind::End) {
            close_text();
            if (open_.size() == 1) return token;
            finished_.push_back(std::move(open_.back().source));
            open_.pop_back();
        } else {
            return token;
        }
    }
}

void Input::close_text() {
    const auto& conditionals = open_.back().conditionals;
    if (conditionals.empty()) return;
    const Token& opened = conditionals.back().opened;
    fail(opened, "$" + std::string(opened.text) + " is not closed: $endif is missing");
}

void Input::obey(const Token& directive) {
    if (stop_ && stop_()) throw Stopped{};
    const std::string_view word = directive.text;
    if (word == "include") {
        include(directive);
    } else if (is_condition(word)) {
        open_conditional(directive);
    } else if (word == "else" || word.starts_with("elseif")) {
        else_branch(directive);
    } else if (word == "endif") {
        if (open_.back().conditionals.empty()) fail(directive, "$endif without a conditional");
        open_.back().conditionals.pop_back();
    } else if (word == "lookup") {
        open_.back().lexer.next();
    } else if (word == "code") {
        fail(directive, "source code in a scene is not compiled: build a library and link it");
    } else {
        fail(directive, "unknown directive $" + std::string(word));
    }
}

void Input::open_conditional(const Token& directive) {
    const bool holds = condition(directive.text, directive);
    open_.back().conditionals.push_back({directive});
    if (!holds) skip_branch(true);
}

// Ends a branch that was read: the other branches are passed over.
void Input::else_branch(const Token& directive) {
    auto& conditionals = open_.back().conditionals;
    const std::string word = "$" + std::string(directive.text);
    if (conditionals.empty()) fail(directive, word + " without a conditional");
    if (conditionals.back().has_else) fail(directive, word + " after $else");
    conditionals.back().has_else = directive.text == "else";
    skip_branch(false);
}

// Passes over text up to the $endif of the conditional, which it closes, or up to the next
// branch that is to be read.
void Input::skip_branch(bool look_for_else) {
    OpenText& text = open_.back();
    for (int depth = 0;;) {
        const Token directive = text.lexer.skip_to_directive();
        const std::string_view word = directive.text;
        if (directive.kind == Token::Kind::End) {
            close_text();
        } else if (is_condition(word)) {
            ++depth;
        } else if (word == "endif") {
            if (depth-- == 0) return text.conditionals.pop_back();
        } else if (depth == 0 && look_for_else && word == "else") {
            text.conditionals.back().has_else = true;
            return;
        } else if (depth == 0 && look_for_else && word.starts_with("elseif")) {
            if (condition(word.substr(4), directive)) return;
        }
    }
}

// kind: ifdef, ifndef, ifeq or ifneq.
bool Input::condition(std::string_view kind, const Token& directive) {
    if (!is_condition(kind)) fail(directive, "unknown directive $" + std::string(directive.text));
    const auto operand = [&] {
        const Token token = open_.back().lexer.next();
        const bool named = token.kind == Token::Kind::String || token.kind == Token::Kind::Word;
        if (!named) fail(token, "expected a name in quotes, found " + describe(token));
        return std::string(token.text);
    };

    // A key that names the registry or the environment is its own value.
    const std::string key = operand();
    std::string value;
    if (key.find('{') != std::string::npos) {
        value = substitute(key);
        if (value == key) value.clear();
    } else if (const auto found = variables.find(key); found != variables.end()) {
        value = found->second;
    }
    if (kind == "ifdef") return !value.empty();
    if (kind == "ifndef") return value.empty();
    return (value == operand()) == (kind == "ifeq");
}

void Input::include(const Token& directive) {
    bool angled = false;
    const Token name = open_.back().lexer.include_name(angled);
    const fs::path file = find_include(name, angled);
    if (file.empty()) {
        std::string searched;
        for (const fs::path& folder : include_path_) searched += " " + folder.string();
        throw error_at(name.place(), Exit::Input,
                       "cannot find the include file \"" + substitute(name.text) + "\"",
                       searched.empty() ? "" : "include path:" + searched);
    }
    if (open_.size() > kDeepest)
        fail(directive, "files include each other more than " + std::to_string(kDeepest) + " deep");
    if (++includes_ > kMostIncludes)
        fail(directive, "the scene includes more than " + std::to_string(kMostIncludes) + " files");
    std::error_code error;
    refuse_cycle(directive, fs::weakly_canonical(file, error));

    std::string why;
    std::unique_ptr<Source> source = read_source(file, stop_, why);
    if (!source) {
        throw error_at(name.place(), Exit::Input, "cannot read " + file.string() + ": " + why);
    }
    included_bytes_ += source->text.size();
    if (included_bytes_ > kMostIncluded)
        fail(directive, "the files that the scene includes have more than " +
                            std::to_string(kMostIncluded >> 20) + " MiB");
    open_.emplace_back(std::move(source));
}

void Input::refuse_cycle(const Token& directive, const fs::path& identity) const {
    std::string chain;
    for (const OpenText& text : open_) {
        if (!chain.empty() || text.source->identity == identity) {
            chain += *text.source->name + " > ";
        }
    }
    if (chain.empty()) return;
    const std::string again = chain.substr(0, chain.find(" > "));
    fail(directive, "a file includes itself: " + chain + again);
}

fs::path Input::find_include(const Token& name, bool angled) const {
    const fs::path file = substitute(name.text);
    if (file.empty()) return {};
    const fs::path beside = open_.back().source->directory / file;
    std::vector<fs::path> candidates;
    if (!angled) candidates = {beside, file};
    for (const fs::path& folder : include_path_) candidates.push_back(folder / file);
    if (angled) candidates.push_back(beside);

    std::error_code error;
    for (const fs::path& candidate : candidates) {
        if (fence_.may_read(candidate) && fs::is_regular_file(candidate, error)) return candidate;
    }
    if (!fence_.may_read(beside)) throw outside(name.place(), file.string());
    return {};
}

std::string Input::substitute(std::string_view text) const {
    std::string result;
    while (!text.empty()) {
        const std::size_t open = text.find('{');
        const std::size_t close = open == text.npos ? open : text.find('}', open);
        if (close == text.npos) break;
        const bool of_environment = open > 0 && text[open - 1] == '$';
        const std::string name(text.substr(open + 1, close - open - 1));
        result += text.substr(0, of_environment ? open - 1 : open);
        if (of_environment) {
            if (!fence_.is_on()) result += environment(name);
        } else if (const auto found = registry.find(name); found != registry.end()) {
            result += found->second;
        } else {
            result += '{' + name + '}';
        }
        text.remove_prefix(close + 1);
        if (result.size() > kLongestName)
            throw Error(Exit::Scene,
                        *open_.back().source->name +
                            ": error: entries of the registry make a name longer than " +
                            std::to_string(kLongestName) + " characters");
    }
    return result.append(text);
}

}  // namespace orvane::scene
