// Layouts of parameter blocks, and what calls write into them.
#include "plugin/block.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>

namespace orvane::plugin {
namespace {

using scene::Argument;
using scene::Base;
using scene::Member;
using scene::Place;
using scene::Type;
using scene::Value;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Values = std::vector<Value>;

const Place kPlace{std::make_shared<const std::string>("test.mi"), 3, 7};

Type one(Base base, std::vector<Member> members = {}) { return {base, false, members}; }
Type array(Base base, std::vector<Member> members = {}) { return {base, true, members}; }
Member member(Type type, std::string name, Values defaults = {}) {
    return {type, name, defaults, "", kPlace};
}

Value value(Value::Kind kind) {
    Value v;
    v.kind = kind;
    v.place = kPlace;
    return v;
}
Value real(double number) {
    Value v = value(Value::Kind::Number);
    v.number = number;
    return v;
}
Value integer(double number) {
    Value v = real(number);
    v.is_integer = true;
    return v;
}
Value boolean(bool on) {
    Value v = value(Value::Kind::Boolean);
    v.number = on;
    return v;
}
Value text(std::string text) {
    Value v = value(Value::Kind::String);
    v.text = text;
    return v;
}
Value null() { return value(Value::Kind::Null); }
Value connected(std::string shader, std::string member = "") {
    Value v = value(Value::Kind::Connected);
    v.connection = {shader, member};
    return v;
}
Value list(std::vector<Values> elements) {
    Value v = value(Value::Kind::Array);
    v.elements = elements;
    return v;
}
Value record(std::vector<Argument> members) {
    Value v = value(Value::Kind::Struct);
    v.members = members;
    return v;
}
Argument argument(std::string name, Values values) { return {name, values, kPlace}; }

Values reals(std::initializer_list<double> numbers) {
    Values values;
    for (double number : numbers) values.push_back(real(number));
    return values;
}

// Strings are item 9; "lamp" is reached over two paths; shaders are item 50.
struct Names : Resolver {
    std::map<std::string, scene::Declaration> shaders;

    std::vector<miTag> items(Base, const std::string& name, const Place& place) override {
        if (name == "lamp") return {31, 32};
        if (name == "key") return {33};
        if (name == "pic") return {40};
        throw error_at(place, Exit::Shader, "no " + name);
    }
    miTag string(const std::string&) override { return 9; }
    std::pair<miTag, const scene::Declaration*> shader(const std::string& name,
                                                       const Place&) override {
        return {50, &shaders[name]};
    }
    void returns(const std::string& name, const Type& type) {
        shaders[name].name = name;
        shaders[name].result = type;
    }
};

class BlockTest : public testing::Test {
  protected:
    Block make(std::vector<Member> parameters, std::vector<Argument> arguments) {
        scene::Declaration declaration;
        declaration.name = "wood";
        declaration.parameters = parameters;
        scene::ShaderCall call;
        call.arguments = arguments;
        return make_block(declaration, call, names);
    }
    // The error of a call with one parameter "p".
    std::string error(Type type, Values values) {
        try {
            make({member(type, "p")}, {argument("p", values)});
        } catch (const Error& error) {
            EXPECT_EQ(error.status, Exit::Shader);
            return error.what();
        }
        return "none";
    }
    Names names;
};

float as_float(std::uint32_t word) { return std::bit_cast<float>(word); }

// The words of element k of the array whose fields begin at word at, found as a shader does.
const std::uint32_t* element(const Block& block, std::size_t at, std::size_t words, std::size_t k) {
    const std::size_t position = at + 2 + (block.words[at] + k) * words;
    EXPECT_LE(position + words, block.words.size());
    return &block.words[position];
}

TEST(Layout, FieldsLieInOrderWithoutGaps) {
    const std::vector<Member> fields = {
        member(one(Base::Boolean), "a"),
        member(one(Base::Color), "b"),
        member(array(Base::Light), "c"),
        member(one(Base::Transform), "d"),
        member(array(Base::Color), "e"),
        member(one(Base::Vector), "f"),
        member(
            one(Base::Struct, {member(one(Base::Vector), "x"), member(array(Base::Scalar), "y")}),
            "g"),
        member(one(Base::VectorTexture), "h")};
    EXPECT_THAT(field_offsets(fields), ElementsAre(0, 4, 20, 32, 96, 120, 132, 156));
    EXPECT_EQ(size_of(fields), 160u);
    EXPECT_EQ(size_of(array(Base::Struct, fields)), 168u);
    EXPECT_EQ(to_string(array(Base::ColorTexture)), "array color texture");
}

TEST_F(BlockTest, WritesEveryKindOfValue) {
    const Block block =
        make({member(one(Base::Boolean), "on"), member(one(Base::Boolean), "two"),
              member(one(Base::Integer), "i"), member(one(Base::Scalar), "s"),
              member(one(Base::Color), "c"), member(one(Base::String), "text"),
              member(one(Base::ColorTexture), "map"), member(one(Base::Light), "light"),
              member(one(Base::Material), "none"), member(one(Base::Vector), "untouched")},
             {argument("light", {text("lamp")}), argument("s", {integer(2)}),
              argument("on", {boolean(true)}), argument("two", {integer(2)}),
              argument("i", {integer(-5)}), argument("c", reals({.25, .5, 1})),
              argument("text", {text("hello")}), argument("map", {text("pic")}),
              argument("none", {null()})});
    const auto f = [](float x) { return std::bit_cast<std::uint32_t>(x); };
    EXPECT_THAT(block.words, ElementsAre(1, 1, 0xFFFFFFFBu, f(2), f(.25), f(.5), f(1), 0, 9, 40, 31,
                                         0, 0, 0, 0));
    EXPECT_THAT(block.connected, IsEmpty());
    EXPECT_FALSE(make({}, {}).words.empty());
}

TEST_F(BlockTest, DefaultsHoldUnlessGivenAndTheLastArgumentWins) {
    const std::vector<Member> fields = {
        member(one(Base::Color), "c", reals({.5, .5, .5, 1})),
        member(one(Base::Struct, {member(one(Base::Scalar), "x", reals({3})),
                                  member(one(Base::Scalar), "y", reals({4}))}),
               "s"),
        member(array(Base::Integer), "n")};
    const Block plain = make(fields, {});
    EXPECT_EQ(as_float(plain.words[3]), 1);
    EXPECT_EQ(as_float(plain.words[4]), 3);

    const Block given =
        make(fields,
             {argument("n", {list({{integer(1)}, {integer(2)}})}),
              argument("c", {connected("gone")}), argument("c", reals({1, 1, 1})),
              argument("s", {record({argument("y", reals({8}))})}), argument("n", {integer(6)})});
    EXPECT_EQ(as_float(given.words[3]), 0) << "an alpha that is left out is 0, not the default";
    EXPECT_THAT(given.connected, IsEmpty());
    EXPECT_EQ(as_float(given.words[4]), 3);
    EXPECT_EQ(as_float(given.words[5]), 8);
    EXPECT_THAT(std::vector(given.words.begin() + 6, given.words.end()), ElementsAre(0, 1, 6));
    EXPECT_THROW(make({member(one(Base::Vector), "v", reals({1}))}, {}), Error);
}

TEST_F(BlockTest, LongArraysLieBehindTheBlockAtWholeElements) {
    const std::vector<Member> fields = {
        member(one(Base::Scalar), "s"), member(array(Base::Color), "c"),
        member(array(Base::Light), "l"), member(array(Base::Vector), "v")};
    const Block block =
        make(fields, {argument("c", {list({reals({1, 2, 3}), reals({4, 5, 6, 7})})}),
                      argument("l", {list({{text("key")}, {text("lamp")}, {null()}})}),
                      argument("v", {list({})})});
    EXPECT_EQ(block.words[2], 2u);
    EXPECT_GE(3 + 4 * block.words[1], 15u) << "not behind the declared fields";
    EXPECT_THAT(std::vector(block.words.begin() + 3, block.words.begin() + 7),
                ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(as_float(element(block, 1, 4, 0)[2]), 3);
    EXPECT_EQ(as_float(element(block, 1, 4, 1)[3]), 7);

    ASSERT_EQ(block.words[8], 4u);
    const std::uint32_t* lights = element(block, 7, 1, 0);
    EXPECT_THAT(std::vector(lights, lights + 4), ElementsAre(33, 31, 32, 0));
    EXPECT_EQ(block.words[10], 0u);
    EXPECT_EQ(block.words[11], 0u);

    EXPECT_EQ(make(fields, {argument("l", {text("lamp")})}).words[8], 2u);
    EXPECT_EQ(make(fields, {argument("l", {null()})}).words[8], 0u);
    const Block single = make(fields, {argument("v", reals({1, 2, 3}))});
    EXPECT_EQ(single.words[10], 0u);
    EXPECT_EQ(single.words[11], 1u);
    EXPECT_EQ(as_float(single.words[14]), 3);
}

TEST_F(BlockTest, ArraysNestInStructsAndStructsInArrays) {
    const Type layer = array(
        Base::Struct, {member(one(Base::Integer), "id", {integer(7)}),
                       member(array(Base::Vector), "path"), member(one(Base::Scalar), "size")});
    const auto points = [](double first) {
        return argument("path", {list({reals({first, 0, 0}), reals({first + 1, 0, 0})})});
    };
    const Block block =
        make({member(layer, "layers"), member(array(Base::Integer), "after")},
             {argument("after", {list({{integer(1)}, {integer(2)}, {integer(3)}})}),
              argument("layers", {list({{record({points(10), argument("size", reals({5}))})},
                                        {record({argument("id", {integer(8)}), points(20)})},
                                        {record({})}})})});
    const std::uint32_t* layers = element(block, 0, 7, 0);
    EXPECT_EQ(block.words[1], 3u);
    EXPECT_EQ(layers[0], 7u);
    EXPECT_EQ(as_float(layers[6]), 5);
    EXPECT_EQ(layers[7], 8u);
    EXPECT_EQ(layers[14 + 2], 0u);
    const std::size_t at = static_cast<std::size_t>(layers - block.words.data());
    EXPECT_EQ(as_float(*element(block, at + 1, 3, 1)), 11);
    EXPECT_EQ(as_float(*element(block, at + 8, 3, 0)), 20);
    EXPECT_EQ(*element(block, 9, 1, 2), 3u);
}

TEST_F(BlockTest, ConnectionsCopyWhatFits) {
    names.returns("color", one(Base::Color));
    names.returns("both", one(Base::Struct, {member(one(Base::Scalar), "depth"),
                                             member(one(Base::Vector), "position")}));
    names.returns("shader", one(Base::Shader));
    const Block block =
        make({member(one(Base::Scalar), "s"), member(one(Base::Color), "c"),
              member(one(Base::ColorTexture), "t"), member(one(Base::Shader), "f"),
              member(array(Base::Vector), "v")},
             {argument("s", {connected("color")}), argument("c", {connected("both", "position")}),
              argument("t", {connected("color")}), argument("f", {connected("shader")}),
              argument("v", {list({reals({1, 2, 3}), {connected("color")}})})});
    const auto is = [](std::size_t offset, std::size_t size, std::size_t from, std::size_t all) {
        return testing::AllOf(testing::Field(&ConnectedField::offset, offset),
                              testing::Field(&ConnectedField::size, size),
                              testing::Field(&ConnectedField::shader, 50u),
                              testing::Field(&ConnectedField::result_offset, from),
                              testing::Field(&ConnectedField::result_size, all));
    };
    EXPECT_EQ(block.words[5], 50u) << "a texture that is a shader";
    const std::size_t second = 36 + (block.words[7] + 1) * 12;
    EXPECT_THAT(block.connected, ElementsAre(is(0, 4, 0, 16), is(4, 12, 4, 16), is(24, 4, 0, 4),
                                             is(second, 12, 0, 16)));
}

TEST_F(BlockTest, ErrorsNameWhatIsWrong) {
    EXPECT_EQ(error(one(Base::Color), reals({1, 2})),
              "test.mi:3:7: error: parameter \"p\" of shader \"wood\" wants 3 or 4 numbers "
              "(color), got 2");
    EXPECT_THAT(error(one(Base::Scalar), {}), HasSubstr("wants 1 number (scalar), got nothing"));
    EXPECT_THAT(error(one(Base::Vector), {real(1), text("x"), real(2)}), HasSubstr("got \"x\""));
    EXPECT_THAT(error(one(Base::Scalar), {list({reals({1})})}), HasSubstr("got an array"));
    EXPECT_THAT(error(one(Base::Integer), {real(2.5)}), HasSubstr("wants an integer, got 2.5"));
    EXPECT_THAT(error(one(Base::Integer), {boolean(true)}), HasSubstr("got on"));
    EXPECT_THAT(error(one(Base::Integer), {integer(3e9)}), HasSubstr("beyond the range"));
    EXPECT_THAT(error(one(Base::Boolean), {real(1)}), HasSubstr("wants on or off, got 1"));
    EXPECT_THAT(error(one(Base::String), {integer(1)}), HasSubstr("wants a string, got 1"));
    EXPECT_THAT(error(one(Base::Light), {text("key"), text("key")}),
                HasSubstr("wants the name of one light, got 2 values"));
    EXPECT_THAT(error(array(Base::Light), {list({{}})}), HasSubstr("got nothing"));
    EXPECT_THAT(error(one(Base::Light), {text("nowhere")}), HasSubstr("no nowhere"));
    EXPECT_THAT(error(one(Base::Struct), {real(1)}), HasSubstr("wants a struct, got 1"));
    EXPECT_THAT(error(one(Base::Scalar), {real(1e39)}), HasSubstr("1e+39 is beyond the range"));
    EXPECT_THAT(error(one(Base::Scalar), {real(std::nan(""))}), HasSubstr("beyond the range"));

    const Type pair = one(Base::Struct, {member(one(Base::Scalar), "width")});
    EXPECT_THAT(error(pair, {record({argument("width", {null()})})}),
                HasSubstr("parameter \"p.width\" of shader \"wood\""));
    EXPECT_THAT(error(pair, {record({argument("with", reals({1}))})}),
                HasSubstr("unknown parameter \"p.with\" of shader \"wood\""));
    try {
        make({member(one(Base::Scalar), "roughness")}, {argument("roughnes", reals({1}))});
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), HasSubstr("unknown parameter \"roughnes\" of shader \"wood\""));
        EXPECT_THAT(error.details, HasSubstr("did you mean \"roughness\"?"));
    }
}

TEST_F(BlockTest, ConnectionsThatDoNotFitAreErrors) {
    names.returns("scalar", one(Base::Scalar));
    names.returns("nothing", one(Base::None));
    names.returns("list", array(Base::Color));
    names.returns("both", one(Base::Struct, {member(one(Base::Scalar), "depth")}));
    EXPECT_THAT(error(one(Base::Color), {connected("scalar")}),
                HasSubstr("wants color, but \"scalar\" returns scalar"));
    EXPECT_THAT(error(one(Base::Scalar), {connected("nothing")}), HasSubstr("returns nothing"));
    EXPECT_THAT(error(one(Base::Color), {connected("list")}), HasSubstr("returns array color"));
    EXPECT_THAT(error(one(Base::Integer), {connected("scalar")}), HasSubstr("wants integer"));
    EXPECT_THAT(error(one(Base::Scalar), {connected("both", "dept")}),
                HasSubstr("has no member \"dept\""));
    const Type holder = one(Base::Struct, {member(array(Base::Scalar), "depth")});
    EXPECT_THAT(error(holder, {connected("both")}), HasSubstr("wants struct"));
}

}  // namespace
}  // namespace orvane::plugin
