// Shader calls: parameter values become trees that a declaration gives types to, later.
#include "scene/calls.h"

namespace orvane::scene {

namespace {

constexpr int kDeepestValue = 64;  // arrays and structs in each other

std::vector<Value> read_values(Reader& in, int depth);

bool at_end_of_values(Reader& in) {
    const Token& token = in.peek();
    return token.is(',') || token.is(')') || token.is(']') || token.is('}');
}

// "name" value ... , "name" value ... up to the closing bracket, which is taken.
std::vector<Argument> read_arguments(Reader& in, char closing, int depth) {
    std::vector<Argument> arguments;
    while (!in.accept(closing)) {
        Argument& argument = arguments.emplace_back();
        argument.place = in.peek().place();
        argument.name = in.name("a parameter name");
        argument.values = read_values(in, depth);
        if (in.peek().is(closing)) continue;
        const Token comma = in.peek();
        in.expect(',', "or the closing bracket");
        if (in.at_number())
            in.fail(comma, "a comma ends the value of \"" + argument.name + "\"",
                    "numbers stand side by side, without commas");
    }
    return arguments;
}

std::vector<std::vector<Value>> read_elements(Reader& in, int depth) {
    std::vector<std::vector<Value>> elements;
    while (!in.accept(']')) {
        elements.push_back(read_values(in, depth));
        if (elements.back().empty()) in.fail_expected("an array element");
        if (!in.peek().is(']')) in.expect(',', "or the closing bracket");
    }
    return elements;
}

// The name after "=": a point divides shader and member, unless it is part of the shader's name.
Connection read_connection(Reader& in) {
    if (in.at_word("interface")) {
        in.fail(in.peek(), "an interface parameter stands only in a phenomenon");
    }
    const std::string name = in.resolve(in.name("the name of a shader"));
    const std::size_t point = name.rfind('.');
    const bool divided = point != name.npos && point > 0 && point + 1 < name.size();
    if (!divided || in.scene.shaders.contains(name)) return {name, {}};
    return {in.resolve(name.substr(0, point)), name.substr(point + 1)};
}

Value read_word(Reader& in) {
    Value value;
    if (in.at_boolean()) {
        value.kind = Value::Kind::Boolean;
        value.number = in.boolean("a parameter") ? 1 : 0;
    } else if (!in.accept("null")) {
        value.kind = Value::Kind::String;
        value.text = in.resolve(in.name("a value"));
    }
    return value;
}

Value read_value(Reader& in, int depth) {
    if (depth > kDeepestValue) in.fail(in.peek(), "the values are nested too deeply");
    const Token token = in.peek();
    Value value;
    if (token.is_number()) {
        value.kind = Value::Kind::Number;
        value.is_integer = token.kind == Token::Kind::Integer;
        in.number("a parameter");
        value.number = token.number;
    } else if (in.at_string()) {
        value.kind = Value::Kind::String;
        value.text = in.resolve(in.string("a value"));
    } else if (in.accept('=')) {
        value.kind = Value::Kind::Connected;
        value.connection = read_connection(in);
    } else if (in.accept('[')) {
        value.kind = Value::Kind::Array;
        value.elements = read_elements(in, depth + 1);
    } else if (in.accept('{')) {
        value.kind = Value::Kind::Struct;
        value.members = read_arguments(in, '}', depth + 1);
    } else {
        value = read_word(in);
    }
    value.place = token.place();
    return value;
}

std::vector<Value> read_values(Reader& in, int depth) {
    std::vector<Value> values;
    while (!at_end_of_values(in)) values.push_back(read_value(in, depth));
    return values;
}

}  // namespace

bool at_call(Reader& in) { return in.at_string() || in.peek().is('='); }

void read_parameters(Reader& in, ShaderCall& call) {
    in.expect('(', "after the name of shader \"" + call.shader + "\"");
    call.arguments = read_arguments(in, ')', 0);
    call.no_list = call.arguments.empty();
}

ShaderCall read_call(Reader& in) {
    ShaderCall call;
    call.place = in.peek().place();
    if (!in.accept('=')) {
        call.shader = in.string("a shader");
        read_parameters(in, call);
        return call;
    }
    call.by_name = true;
    if (in.accept("shader")) {
        call.shader = in.qualify(in.name("a name for the shader"));
        if (in.peek().is('=')) in.fail_expected("the shader that gets this name");
        in.define(&Scene::shaders, call.shader, ShaderList{read_call(in)});
    } else {
        call.shader = in.resolve(in.name("the name of a shader"));
    }
    return call;
}

ShaderList read_calls(Reader& in) {
    ShaderList calls;
    while (at_call(in)) calls.push_back(read_call(in));
    return calls;
}

void ignore_calls(Reader& in, std::string_view keyword) {
    const std::string what = "\"" + std::string(keyword) + "\"";
    in.warn_once(what + " shaders", in.last().place(), what + " shaders are ignored");
    read_calls(in);
}

}  // namespace orvane::scene
