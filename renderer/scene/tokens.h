// The stream of tokens as the parser reads it: what is next, and what it expects.
//
// The next token is looked up when it is asked for and not before: a directive in between sees
// what the last command has set.
//
// Each function that reads something throws Error at the token that is not it. "what" names
// the thing in such an error.
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scene/input.h"

namespace orvane::scene {

class Tokens {
  public:
    explicit Tokens(Input text) : input(std::move(text)) {}

    const Token& peek();
    const Token& peek_second();
    Token take();
    const Token& last() const { return last_; }  // the token that was taken last

    bool at_word(std::string_view word) { return peek().is_word(word); }
    bool at_string() { return peek().kind == Token::Kind::String; }
    bool at_number() { return peek().is_number(); }
    bool at_integer() { return peek().kind == Token::Kind::Integer; }
    bool at_boolean();
    bool at_name() { return at_string() || peek().kind == Token::Kind::Word; }
    bool at_end() { return peek().kind == Token::Kind::End; }

    // Takes the token when it is the word or the punctuation; tells whether it was.
    bool accept(std::string_view word);
    bool accept(char punctuation);
    void expect(std::string_view word, std::string_view what);
    void expect(char punctuation, std::string_view what);

    std::string name(std::string_view what);    // quoted or not
    std::string string(std::string_view what);  // quoted
    bool boolean(std::string_view what);        // a word, or 0 or 1
    bool flag(std::string_view what);           // a boolean; true when none follows
    float number(std::string_view what);        // an integer is one too; never infinite
    float positive(std::string_view what);      // a number above 0
    int integer(std::string_view what);
    int integer(std::string_view what, int least, int most);
    std::uint32_t label(std::string_view what);  // 32 bits; below zero it wraps
    Vec3 vector(std::string_view what);

    // Takes a bracket, what it holds, and its partner.
    void skip_brackets();
    // Takes tokens up to "end WORD", which it takes too; opened is where the fault is when
    // the text ends before.
    void skip_to_end(std::string_view word, const Token& opened);
    void skip_numbers();

    [[noreturn]] void fail(const Token& token, const std::string& what,
                           const std::string& hint = {}) const;
    [[noreturn]] void fail_expected(std::string_view what);

    // Frees the texts that are read. Call it when no token but the next one is in use.
    void release_finished();

    Input input;

  private:
    std::optional<Token> current_, second_;
    Token last_;
};

inline const Token& Tokens::peek() {
    if (!current_) current_ = input.next();
    return *current_;
}

inline Token Tokens::take() {
    last_ = peek();
    current_ = second_;
    second_.reset();
    return last_;
}

// The value of a number token as a float. Throws Error when it is beyond the range.
float float_of(const Token& token);

}  // namespace orvane::scene
