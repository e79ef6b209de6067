// Declarations of shaders: parameters with types, defaults and the comments that explain them.
#include <map>

#include "scene/elements.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

constexpr int kDeepestStruct = 64;

void read_member(Reader& in, Member& member, int depth);

void append_line(std::string& text, std::string_view line) {
    if (!text.empty()) text += '\n';
    text += line;
}

// The comment lines that end right above the next token.
std::string comment_above(Reader& in) {
    std::vector<std::string_view> lines;
    int line = in.peek().line;
    const auto& comments = in.input.comments();
    for (auto comment = comments.rbegin(); comment != comments.rend(); ++comment) {
        if (!comment->alone || comment->line != line - 1) break;
        lines.push_back(comment->text);
        --line;
    }
    std::string text;
    for (auto at = lines.rbegin(); at != lines.rend(); ++at) append_line(text, *at);
    return text;
}

// Adds the comments that come now: on the line, and alone on the lines that follow it.
// Returns the line of the last one.
int add_comments(Reader& in, int line, std::string& text) {
    in.peek();
    for (const Comment& comment : in.input.comments()) {
        const bool follows = comment.alone && comment.line == line + 1;
        if (comment.line != line && !follows) break;
        append_line(text, comment.text);
        line = comment.line;
    }
    return line;
}

// A type word; color, scalar and vector may be followed by texture.
Base read_base(Reader& in) {
    static const std::map<std::string_view, Base> kTypes = {
        {"boolean", Base::Boolean},     {"integer", Base::Integer},
        {"scalar", Base::Scalar},       {"string", Base::String},
        {"color", Base::Color},         {"vector", Base::Vector},
        {"transform", Base::Transform}, {"shader", Base::Shader},
        {"light", Base::Light},         {"material", Base::Material},
        {"geometry", Base::Geometry},   {"lightprofile", Base::LightProfile},
        {"data", Base::Data},           {"spectrum", Base::Data},
        {"struct", Base::Struct},
    };
    const auto found = kTypes.find(in.peek().text);
    if (in.peek().kind != Token::Kind::Word || found == kTypes.end()) {
        std::vector<std::string> names;
        for (const auto& [name, base] : kTypes) names.emplace_back(name);
        in.fail(in.peek(), "expected a type, found " + describe(in.peek()),
                did_you_mean(std::string(in.peek().text), names));
    }
    in.take();
    if (!in.at_word("texture")) return found->second;

    const Token texture = in.take();
    switch (found->second) {
        case Base::Color:
            return Base::ColorTexture;
        case Base::Scalar:
            return Base::ScalarTexture;
        case Base::Vector:
            return Base::VectorTexture;
        default:
            in.fail(texture, "a texture is color, scalar or vector");
    }
}

// The members up to the closing bracket, which is taken. outer gets the comments that follow
// the opening bracket.
std::vector<Member> read_members(Reader& in, char closing, std::string& outer, int depth) {
    std::vector<Member> members;
    if (depth > kDeepestStruct) in.fail(in.peek(), "the structs are nested too deeply");
    add_comments(in, in.last().line, outer);
    while (!in.peek().is(closing)) {
        Member& member = members.emplace_back();
        read_member(in, member, depth);
        const int line = add_comments(in, in.last().line, member.comment);
        if (in.accept(',')) {
            add_comments(in, line, member.comment);
        } else if (!in.peek().is(closing)) {
            in.fail_expected("\",\" or the end of the parameters");
        }
    }
    return members;
}

void read_member(Reader& in, Member& member, int depth) {
    member.type.array = in.accept("array");
    member.type.base = read_base(in);
    member.place = in.peek().place();
    member.name = in.name("a parameter name");
    if (member.type.base == Base::Struct) {
        in.expect('{', "before the members of a struct");
        member.type.members = read_members(in, '}', member.comment, depth + 1);
        in.expect('}', "after the members of a struct");
    }
    if (!in.accept("default")) return;
    while (in.at_number() || in.at_boolean()) {
        Value& value = member.defaults.emplace_back();
        const Token token = in.peek();
        value.place = token.place();
        value.kind = token.is_number() ? Value::Kind::Number : Value::Kind::Boolean;
        value.is_integer = token.kind == Token::Kind::Integer;
        if (token.is_number()) {
            in.number("a default");
            value.number = token.number;
        } else {
            value.number = in.boolean("a default") ? 1 : 0;
        }
    }
    if (member.defaults.empty()) in.fail_expected("numbers or on or off as the default");
}

Type read_result(Reader& in) {
    Type type;
    if (in.at_string() || in.peek_second().is('(')) return type;
    type.array = in.accept("array");
    type.base = read_base(in);
    if (type.base == Base::Struct) {
        std::string unused;
        in.expect('{', "before the members of the result");
        type.members = read_members(in, '}', unused, 0);
        in.expect('}', "after the members of the result");
    }
    return type;
}

// What follows the parameters: only version and apply mean something here.
bool read_trailer(Reader& in, Declaration& declaration) {
    if (in.accept("version")) {
        declaration.version = in.integer("the version");
    } else if (in.accept("apply")) {
        do declaration.apply.push_back(in.name("where the shader applies"));
        while (in.accept(','));
    } else {
        return false;
    }
    return true;
}

void read_shader_declaration(Reader& in, const Token& opened, std::string comment) {
    const bool closed = in.accept("shader");
    Declaration declaration;
    declaration.comment = std::move(comment);
    declaration.result = read_result(in);
    declaration.place = in.peek().place();
    declaration.name = in.name("the name of the shader");
    in.expect('(', "before the parameters");
    std::string unused;
    declaration.parameters = read_members(in, ')', unused, 0);
    in.expect(')', "after the parameters");

    while (read_trailer(in, declaration) || (closed && !in.at_word("end"))) {
        skip_parameters(in,
                        [&] { return in.at_word("version") || in.at_word("apply") || !closed; });
        if (in.at_end()) break;
    }
    if (closed || (in.at_word("end") && in.peek_second().is_word("declare"))) {
        if (in.at_end()) in.fail(opened, "\"end declare\" is missing");
        in.expect("end", "to close the declaration");
        in.expect("declare", "after \"end\"");
    }
    if (in.scene.declarations.contains(declaration.name)) {
        in.warn(declaration.place, "\"" + declaration.name + "\" is declared again and replaced");
    }
    const std::string name = declaration.name;
    in.scene.declarations[name] = std::make_shared<const Declaration>(std::move(declaration));
}

}  // namespace

void read_declaration(Reader& in) {
    std::string comment = comment_above(in);
    const Token opened = in.take();
    if (in.at_word("phenomenon") || in.at_word("data")) {
        const std::string what = "\"declare " + std::string(in.take().text) + "\"";
        in.warn_once(what, opened.place(), what + " is skipped");
        return in.skip_to_end("declare", opened);
    }
    read_shader_declaration(in, opened, std::move(comment));
}

}  // namespace orvane::scene
