// Tokens of the scene language, and the lexer that cuts one text into them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "scene/records.h"
#include "scene/source.h"

namespace orvane::scene {

struct Token {
    enum class Kind : std::uint8_t {
        End,
        Word,         // unquoted: a keyword or a name
        String,       // text without quotes and escapes
        Integer,      // number holds the value
        Float,        // likewise
        Punctuation,  // one of ( ) [ ] { } , =
        Bytes,        // text: pairs of hex digits
        Vector,       // text: the 12 bytes of three big-endian floats
        Directive,    // text: the word after $
    };

    Kind kind = Kind::End;
    int line = 0, column = 0;
    double number = 0;
    std::string_view text;
    const Source* source = nullptr;

    bool is_word(std::string_view word) const { return kind == Kind::Word && text == word; }
    bool is(char punctuation) const {
        return kind == Kind::Punctuation && text.front() == punctuation;
    }
    bool is_number() const { return kind == Kind::Integer || kind == Kind::Float; }
    Place place() const { return {source->name, line, column}; }
};

// How an error names a token: "word", string "text", 12, the end of the file.
std::string describe(const Token& token);

struct Comment {
    std::string_view text;  // without # and blanks around
    int line = 0;
    bool alone = false;  // nothing else stands on its line
};

// Cuts a text into tokens. Throws Error at what cannot be a token.
class Lexer {
  public:
    explicit Lexer(Source& source);

    Token next();

    // The comments between the last token and the one before.
    const std::vector<Comment>& comments() const { return comments_; }

    // The name after $include: a token of Kind::String, and whether it stood in < >.
    Token include_name(bool& angled);

    // Goes on to the next directive without looking at the text between: returns it, or a
    // token of Kind::End. Used in the branches of conditionals that are not read.
    Token skip_to_directive();

    Source& source() { return source_; }

  private:
    Token start(Token::Kind kind) const;
    [[noreturn]] void fail(const Token& token, const std::string& what) const;
    void skip_blanks();
    void count_line() { line_start_ = at_ + 1, ++line_; }
    void read_comment();
    bool first_on_line() const;
    Token read_word();
    Token read_number();
    Token read_string();
    Token read_bytes();
    Token read_vector();
    Token read_directive();

    Source& source_;
    const char* at_;
    const char* end_;
    const char* line_start_;
    int line_ = 1;
    std::vector<Comment> comments_;
};

}  // namespace orvane::scene
