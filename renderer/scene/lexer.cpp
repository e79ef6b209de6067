// The lexer, by hand: the scene language needs counted bytes and exact columns.
#include "scene/lexer.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "scene/errors.h"

namespace orvane::scene {

namespace {

using Kind = Token::Kind;

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

std::string_view span(const char* begin, const char* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

const char* skip_digits(const char* at, const char* end) {
    while (at < end && is_digit(*at)) ++at;
    return at;
}

// The value of a number that is longer than the fast path takes. Too small is 0; returns false
// when it is too large for a double.
bool parse_double(std::string_view text, double& value) {
    if (text.front() == '+') text.remove_prefix(1);
    std::string copy(text);
    std::replace_if(
        copy.begin(), copy.end(), [](char c) { return c == 'd' || c == 'D'; }, 'e');
    value = 0;
    const char* end = copy.data() + copy.size();
    if (std::from_chars(copy.data(), end, value).ec != std::errc::result_out_of_range) return true;
    const std::size_t digits = copy.find_first_not_of('-');
    return copy.find("e-") != std::string::npos || copy.find("E-") != std::string::npos ||
           copy[digits] == '0' || copy[digits] == '.';
}

// The first bytes of a text for a message, on one line.
std::string shorten(std::string_view text) {
    constexpr std::size_t kShown = 40;
    std::string shown(text.substr(0, kShown));
    std::replace_if(
        shown.begin(), shown.end(), [](unsigned char c) { return c < ' '; }, ' ');
    return text.size() > kShown ? shown + "..." : shown;
}

}  // namespace

std::string describe(const Token& token) {
    switch (token.kind) {
        case Kind::End:
            return "the end of the file";
        case Kind::String:
            return "string \"" + shorten(token.text) + "\"";
        case Kind::Integer:
        case Kind::Float:
            return "number " + shorten(token.text);
        case Kind::Bytes:
            return "a byte string";
        case Kind::Vector:
            return "a binary vector";
        default:
            return "\"" + shorten(token.text) + "\"";
    }
}

Lexer::Lexer(Source& source)
    : source_(source), at_(source.text.data()), end_(at_ + source.text.size()), line_start_(at_) {
    if (source.text.starts_with("\xEF\xBB\xBF")) line_start_ = at_ += 3;
}

Token Lexer::start(Kind kind) const {
    return {.kind = kind,
            .line = line_,
            .column = static_cast<int>(at_ - line_start_) + 1,
            .text = {},
            .source = &source_};
}

void Lexer::fail(const Token& token, const std::string& what) const {
    throw error_at(token.place(), Exit::Scene, what);
}

void Lexer::skip_blanks() {
    for (; at_ < end_; ++at_) {
        if (*at_ == '\n') {
            count_line();
        } else if (*at_ == '#') {
            read_comment();
        } else if (!is_blank(*at_)) {
            return;
        }
    }
}

// Leaves at_ on the comment's last byte.
void Lexer::read_comment() {
    const bool alone = first_on_line();
    const auto* newline =
        static_cast<const char*>(std::memchr(at_, '\n', static_cast<std::size_t>(end_ - at_)));
    const char* last = newline ? newline : end_;
    const char* begin = at_ + 1;
    at_ = last - 1;
    while (begin < last && is_blank(*begin)) ++begin;
    while (last > begin && is_blank(last[-1])) --last;
    comments_.push_back({span(begin, last), line_, alone});
}

bool Lexer::first_on_line() const { return std::all_of(line_start_, at_, is_blank); }

Token Lexer::next() {
    comments_.clear();
    skip_blanks();
    if (at_ == end_) return start(Kind::End);
    const char c = *at_;
    if (is_digit(c) || c == '-' || c == '.' || c == '+') return read_number();
    if (is_letter(c)) return read_word();
    switch (c) {
        case '"':
            return read_string();
        case '\'':
            return read_bytes();
        case '`':
            return read_vector();
        case '$':
            return read_directive();
        default: {
            Token token = start(Kind::Punctuation);
            if (!std::strchr("()[]{},=", c) || c == 0) fail(token, "unexpected character");
            token.text = span(at_, at_ + 1);
            ++at_;
            return token;
        }
    }
}

Token Lexer::read_word() {
    Token token = start(Kind::Word);
    const char* begin = at_;
    while (at_ < end_ && (is_letter(*at_) || is_digit(*at_))) ++at_;
    token.text = span(begin, at_);
    return token;
}

Token Lexer::read_number() {
    Token token = start(Kind::Integer);
    const char* begin = at_;
    const char* digits = begin + (*begin == '-' || *begin == '+' ? 1 : 0);
    at_ = skip_digits(digits, end_);
    std::ptrdiff_t count = at_ - digits;

    // Take a fraction and an exponent.
    if (at_ < end_ && *at_ == '.') {
        token.kind = Kind::Float;
        const char* fraction = at_ + 1;
        at_ = skip_digits(fraction, end_);
        count += at_ - fraction;
    }
    if (at_ < end_ && (*at_ == 'e' || *at_ == 'E' || *at_ == 'd' || *at_ == 'D')) {
        token.kind = Kind::Float;
        const char* exponent = at_ + 1;
        if (exponent < end_ && (*exponent == '-' || *exponent == '+')) ++exponent;
        at_ = skip_digits(exponent, end_);
        if (at_ == exponent) count = 0;
    }
    if (count == 0 || (at_ < end_ && is_letter(*at_))) fail(token, "this is not a number");

    // Convert short integers, most numbers of a mesh, at once.
    token.text = span(begin, at_);
    if (token.kind == Kind::Integer && count <= 15) {
        std::int64_t value = 0;
        for (const char* digit = digits; digit < at_; ++digit) value = value * 10 + (*digit - '0');
        token.number = static_cast<double>(*begin == '-' ? -value : value);
        return token;
    }
    const auto result = std::from_chars(begin, at_, token.number);
    const bool done = result.ec == std::errc() && result.ptr == at_;
    if (!done && !parse_double(token.text, token.number)) fail(token, "the number is too large");
    return token;
}

Token Lexer::read_string() {
    Token token = start(Kind::String);
    const char* begin = ++at_;
    bool escapes = false;
    for (; at_ < end_ && *at_ != '"'; ++at_) {
        if (*at_ == '\\' && at_ + 1 < end_ && (at_[1] == '"' || at_[1] == '\\')) {
            escapes = true;
            ++at_;
        } else if (*at_ == '\n') {
            count_line();
        }
    }
    if (at_ == end_) fail(token, "the string is not closed");
    token.text = span(begin, at_++);
    if (token.text.find('\0') != token.text.npos) fail(token, "the string holds a NUL character");
    if (!escapes) return token;

    // A backslash before anything else stays: it divides the folders of some paths.
    std::string plain;
    for (std::size_t i = 0; i < token.text.size(); ++i) {
        const bool escape = token.text[i] == '\\' && i + 1 < token.text.size() &&
                            (token.text[i + 1] == '"' || token.text[i + 1] == '\\');
        plain += token.text[escape ? ++i : i];
    }
    token.text = source_.unescaped.emplace_back(std::move(plain));
    return token;
}

Token Lexer::read_bytes() {
    Token token = start(Kind::Bytes);
    const char* begin = ++at_;
    while (at_ < end_ &&
           (is_digit(*at_) || (*at_ >= 'a' && *at_ <= 'f') || (*at_ >= 'A' && *at_ <= 'F'))) {
        ++at_;
    }
    token.text = span(begin, at_);
    if (at_ == end_ || *at_ != '\'') fail(token, "the byte string is not closed");
    if (token.text.size() % 2 != 0) fail(token, "a byte is two hex digits");
    ++at_;
    return token;
}

Token Lexer::read_vector() {
    constexpr std::ptrdiff_t kBytes = 12;
    Token token = start(Kind::Vector);
    if (end_ - at_ < kBytes + 2 || at_[kBytes + 1] != '`') {
        fail(token, "a binary vector is 12 bytes between back-quotes");
    }
    token.text = span(at_ + 1, at_ + 1 + kBytes);
    const char* closing = at_ + kBytes + 1;
    for (++at_; at_ < closing; ++at_) {
        if (*at_ == '\n') count_line();
    }
    ++at_;
    return token;
}

Token Lexer::read_directive() {
    Token token = start(Kind::Directive);
    if (!first_on_line()) fail(token, "a directive must be the first on its line");
    const char* begin = ++at_;
    while (at_ < end_ && is_letter(*at_)) ++at_;
    token.text = span(begin, at_);
    return token;
}

Token Lexer::include_name(bool& angled) {
    while (at_ < end_ && is_blank(*at_)) ++at_;
    angled = at_ < end_ && *at_ == '<';
    if (!angled) {
        if (at_ == end_ || *at_ != '"') fail(start(Kind::End), "expected the name of a file");
        return read_string();
    }
    Token token = start(Kind::String);
    const char* begin = ++at_;
    while (at_ < end_ && *at_ != '>' && *at_ != '\n') ++at_;
    if (at_ == end_ || *at_ != '>') fail(token, "\">\" is missing");
    token.text = span(begin, at_++);
    return token;
}

Token Lexer::skip_to_directive() {
    while (at_ < end_) {
        // Go to the first byte of the next line that is no blank.
        const auto* newline =
            static_cast<const char*>(std::memchr(at_, '\n', static_cast<std::size_t>(end_ - at_)));
        at_ = newline ? newline : end_;
        if (!newline) break;
        count_line();
        ++at_;
        while (at_ < end_ && is_blank(*at_)) ++at_;
        if (at_ < end_ && *at_ == '$') return read_directive();
    }
    return start(Kind::End);
}

}  // namespace orvane::scene
