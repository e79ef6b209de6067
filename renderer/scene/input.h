// A scene as one stream of tokens: includes are pasted in place, conditionals are decided, and
// variables are substituted.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "scene/fence.h"
#include "scene/lexer.h"

namespace orvane::scene {

class Input {
  public:
    Input(std::unique_ptr<Source> main, std::vector<std::filesystem::path> include_path, Stop stop,
          Fence fence = {});

    // The next token that is no directive; Kind::End at the end of the main text. Throws Stopped
    // when stop says so.
    Token next();

    // The comments right before the last token.
    const std::vector<Comment>& comments() const { return comments_; }

    // Frees the texts that are read to their end. Only the last token may still be in use.
    void release_finished() { finished_.clear(); }

    // text with {NAME} replaced by the value of the registry, ${NAME} by that of the
    // environment, ${?NAME} by 1 or nothing. An unknown {NAME} stays as it is. Within a fence no
    // variable of the environment is set.
    std::string substitute(std::string_view text) const;

    std::map<std::string, std::string> variables;  // made by "set", asked by conditionals
    std::map<std::string, std::string> registry;   // names without the braces

  private:
    struct Conditional {
        Token opened;
        bool has_else = false;
    };
    struct OpenText {
        explicit OpenText(std::unique_ptr<Source> text) : source(std::move(text)), lexer(*source) {}
        std::unique_ptr<Source> source;
        Lexer lexer;
        std::vector<Conditional> conditionals;
    };

    void close_text();
    void obey(const Token& directive);
    void open_conditional(const Token& directive);
    void else_branch(const Token& directive);
    void skip_branch(bool look_for_else);
    bool condition(std::string_view kind, const Token& directive);
    void include(const Token& directive);
    void refuse_cycle(const Token& directive, const std::filesystem::path& identity) const;
    std::filesystem::path find_include(const Token& name, bool angled) const;

    std::vector<std::filesystem::path> include_path_;
    Stop stop_;
    Fence fence_;
    std::vector<OpenText> open_;  // the main text, then what is being included
    std::vector<Comment> comments_;
    std::size_t includes_ = 0, included_bytes_ = 0;  // so far
    unsigned tokens_ = 0;
    std::vector<std::unique_ptr<Source>> finished_;
};

}  // namespace orvane::scene
