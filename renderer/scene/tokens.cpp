// Expectations of the parser, and the errors when they fail.
#include "scene/tokens.h"

#include <cmath>

#include "scene/errors.h"

namespace orvane::scene {

using Kind = Token::Kind;

const Token& Tokens::peek_second() {
    peek();
    if (!second_) second_ = input.next();
    return *second_;
}

bool Tokens::at_boolean() {
    return at_word("on") || at_word("off") || at_word("true") || at_word("false");
}

bool Tokens::accept(std::string_view word) {
    if (!at_word(word)) return false;
    take();
    return true;
}

bool Tokens::accept(char punctuation) {
    if (!peek().is(punctuation)) return false;
    take();
    return true;
}

void Tokens::expect(std::string_view word, std::string_view what) {
    if (!accept(word)) fail_expected("\"" + std::string(word) + "\" " + std::string(what));
}

void Tokens::expect(char punctuation, std::string_view what) {
    if (!accept(punctuation)) {
        fail_expected(std::string("\"") + punctuation + "\" " + std::string(what));
    }
}

std::string Tokens::name(std::string_view what) {
    if (!at_name()) fail_expected(what);
    return std::string(take().text);
}

std::string Tokens::string(std::string_view what) {
    if (!at_string()) fail_expected(std::string(what) + " in quotes");
    return std::string(take().text);
}

bool Tokens::boolean(std::string_view what) {
    if (at_boolean()) {
        const Token token = take();
        return token.text == "on" || token.text == "true";
    }
    if (!at_integer() || (peek().number != 0 && peek().number != 1)) {
        fail_expected("on or off for " + std::string(what));
    }
    return take().number != 0;
}

bool Tokens::flag(std::string_view what) {
    return at_boolean() || at_integer() ? boolean(what) : true;
}

float float_of(const Token& token) {
    constexpr double kMost = std::numeric_limits<float>::max();
    if (std::abs(token.number) > kMost) {
        throw error_at(token.place(), Exit::Scene, "the number is too large");
    }
    return static_cast<float>(token.number);
}

float Tokens::number(std::string_view what) {
    if (!at_number()) fail_expected("a number for " + std::string(what));
    return float_of(take());
}

float Tokens::positive(std::string_view what) {
    const Token token = peek();
    const float value = number(what);
    if (!(value > 0)) fail(token, std::string(what) + " must be above 0");
    return value;
}

int Tokens::integer(std::string_view what) {
    constexpr int kMost = std::numeric_limits<int>::max();
    if (!at_integer()) fail_expected("an integer for " + std::string(what));
    if (std::abs(peek().number) > kMost) fail(peek(), "the integer is too large");
    return static_cast<int>(take().number);
}

int Tokens::integer(std::string_view what, int least, int most) {
    const Token token = peek();
    const int value = integer(what);
    if (value < least || value > most) {
        fail(token, std::string(what) + " must be " + std::to_string(least) + " to " +
                        std::to_string(most));
    }
    return value;
}

std::uint32_t Tokens::label(std::string_view what) {
    if (!at_integer()) fail_expected("an integer for " + std::string(what));
    const Token token = take();
    if (token.number < std::numeric_limits<std::int32_t>::min() ||
        token.number > std::numeric_limits<std::uint32_t>::max()) {
        fail(token, "the integer is too large");
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(token.number));
}

Vec3 Tokens::vector(std::string_view what) {
    const float x = number(what);
    const float y = number(what);
    return {x, y, number(what)};
}

void Tokens::skip_brackets() {
    const Token opened = peek();
    int depth = 0;
    do {
        const Token token = take();
        if (token.kind == Kind::End) fail(opened, "the bracket is not closed");
        if (token.is('(') || token.is('[') || token.is('{')) ++depth;
        if (token.is(')') || token.is(']') || token.is('}')) --depth;
    } while (depth > 0);
}

void Tokens::skip_to_end(std::string_view word, const Token& opened) {
    while (peek().kind != Kind::End) {
        if (take().is_word("end") && accept(word)) return;
    }
    fail(opened, "\"end " + std::string(word) + "\" is missing");
}

void Tokens::skip_numbers() {
    while (at_number()) take();
}

void Tokens::fail(const Token& token, const std::string& what, const std::string& hint) const {
    throw error_at(token.place(), Exit::Scene, what, hint);
}

void Tokens::fail_expected(std::string_view what) {
    fail(peek(), "expected " + std::string(what) + ", found " + describe(peek()),
         peek().is(',') ? "numbers and names stand side by side, without commas" : "");
}

void Tokens::release_finished() {
    if (!second_) input.release_finished();
}

}  // namespace orvane::scene
