// The element camera, and the many forms of its output statement.
#include <array>
#include <filesystem>
#include <set>

#include "scene/calls.h"
#include "scene/elements.h"
#include "scene/statements.h"

namespace orvane::scene {

namespace {

struct CameraBlock {
    Camera camera;
    std::set<std::string_view> mentioned;  // the lists that this block has begun
};

// A list begins anew where a block first mentions it, and grows where it does so again.
template <typename List>
List& begin_list(CameraBlock& block, std::string_view keyword, List& list) {
    if (block.mentioned.insert(keyword).second) list.clear();
    return list;
}

void read_list(Reader& in, CameraBlock& block, std::string_view keyword, ShaderList& list) {
    begin_list(block, keyword, list);
    ShaderList calls = read_calls(in);
    if (calls.empty()) list.clear();
    for (ShaderCall& call : calls) list.push_back(std::move(call));
}

bool is_format(const std::string& name) {
    static const std::set<std::string, std::less<>> kFormats = {
        "rla", "pic", "zpic", "als", "tif", "tifu",   "jpg",     "tga",  "bmp", "picture", "ppm",
        "ps",  "eps", "hdr",  "ct",  "st",  "qntpal", "qntntsc", "nt",   "mt",  "zt",      "tt",
        "bit", "cth", "rgb",  "iff", "png", "exr",    "sgi",     "tiff", "jpeg"};
    return kFormats.contains(name);
}

// Of two strings the first is the format. Some writers put the type there; rgb and bit, which
// name both, are the type when the file's extension is another format.
bool is_type(const std::string& name, const std::string& file) {
    if (!is_format(name)) return true;
    if (name != "rgb" && name != "bit") return false;
    const std::string extension = std::filesystem::path(file).extension().string();
    return extension.size() > 1 && extension.substr(1) != name && extension != ".sgi" &&
           is_format(extension.substr(1));
}

// The words that may stand between the strings; tells whether it took one.
bool read_output_option(Reader& in, Output& output) {
    if (in.accept("quality")) {
        output.quality = in.integer("quality");
    } else if (in.accept("compress") || in.accept("compression")) {
        output.compression = in.string("a compression");
    } else if (in.accept("dpi")) {
        in.number("dpi");
    } else {
        return in.accept("even") || in.accept("odd") || in.accept("dod");
    }
    return true;
}

// The file that the name of an output stands for.
std::string output_file(Reader& in, std::string_view name, const Place& place) {
    const std::string text = in.input.substitute(name);
    const std::string file = in.settings.fence.output(text).string();
    if (file.empty() && !text.empty())
        throw error_at(place, Exit::Output,
                       "cannot write \"" + text + "\": it leads out of the folder for outputs");
    return file;
}

// type, format and file from the strings of an output statement.
void set_file(Reader& in, Output& output, const std::vector<Token>& strings) {
    const auto text = [&](std::size_t i) { return std::string(strings[i].text); };
    output.file = output_file(in, strings.back().text, strings.back().place());
    if (output.file.empty()) in.fail(strings.back(), "the name of the output file is empty");
    if (strings.size() == 2) {
        (is_type(text(0), output.file) ? output.type : output.format) = text(0);
    } else if (strings.size() > 2) {
        output.type = text(0);
        output.format = text(1);
    }
}

void read_output(Reader& in, CameraBlock& block) {
    auto& outputs = begin_list(block, "output", block.camera.outputs);
    Output output;
    output.place = in.peek().place();

    // Take the strings, of which the last is the shader when a bracket follows.
    std::vector<Token> strings;
    while (true) {
        if (in.at_string() && !in.peek_second().is('(')) {
            strings.push_back(in.take());
        } else if (strings.empty() || !read_output_option(in, output)) {
            break;
        }
    }
    if (at_call(in)) {
        if (strings.size() > 1) in.fail(strings[1], "an output shader has one type string");
        if (!strings.empty()) output.type = strings.front().text;
        output.shader = read_calls(in);
    } else if (strings.empty()) {
        return outputs.clear();
    } else {
        set_file(in, output, strings);
    }
    outputs.push_back(std::move(output));
}

// A frame buffer of later versions: an output file when it is primary and names one.
void read_frame_buffer(Reader& in, CameraBlock& block) {
    Output output;
    output.place = in.peek().place();
    in.name("the name of a frame buffer");
    bool primary = false;
    const std::map<std::string_view, std::string*> strings = {
        {"datatype", &output.type},   {"filename", &output.file},
        {"filetype", &output.format}, {"compression", &output.compression},
        {"colorprofile", nullptr},    {"field", nullptr}};
    static const std::set<std::string_view> kFlags = {
        "filtering", "dod", "user", "premultiplied", "useopacity", "tiled", "dpi"};
    while (in.peek().kind == Token::Kind::Word) {
        if (const auto found = strings.find(in.peek().text); found != strings.end()) {
            in.take();
            const std::string value = in.name("a value");
            if (found->second) *found->second = value;
        } else if (in.accept("quality")) {
            output.quality = in.integer("quality");
        } else if (in.accept("primary")) {
            primary = in.flag("primary");
        } else if (kFlags.contains(in.peek().text)) {
            in.take();
            if (in.at_boolean() || in.at_number()) in.take();
        } else {
            break;
        }
    }
    auto& outputs = begin_list(block, "output", block.camera.outputs);
    if (primary && !output.file.empty()) {
        output.file = output_file(in, output.file, output.place);
        outputs.push_back(std::move(output));
    } else {
        in.warn_once("framebuffer", output.place, "a frame buffer without a file is ignored");
    }
}

void read_focal(Reader& in, CameraBlock& block) {
    block.camera.orthographic = in.accept("infinity");
    if (!block.camera.orthographic) block.camera.focal = in.positive("focal");
}

void read_resolution(Reader& in, CameraBlock& block) {
    constexpr int kMost = 65536;
    block.camera.x_resolution = in.integer("resolution", 1, kMost);
    block.camera.y_resolution = in.integer("resolution", 1, kMost);
}

void read_offset(Reader& in, CameraBlock& block) {
    block.camera.x_offset = in.number("offset");
    block.camera.y_offset = in.number("offset");
}

void read_window(Reader& in, CameraBlock& block) {
    const Token first = in.peek();
    std::array<int, 4> window;
    for (int& edge : window) edge = in.integer("window");
    const auto& [xl, yl, xh, yh] = window;
    if (xl > xh || yl > yh) in.fail(first, "the window is inverted: low edges come first");
    block.camera.window = window;
}

void read_clip(Reader& in, CameraBlock& block) {
    const Token first = in.peek();
    block.camera.clip_near = in.number("clip");
    block.camera.clip_far = in.number("clip");
    if (block.camera.clip_near >= block.camera.clip_far)
        in.fail(first, "nothing lies between the clip distances: the near one comes first");
}

void read_frame(Reader& in, CameraBlock& block) {
    block.camera.frame = in.integer("frame");
    if (in.at_number()) block.camera.frame_time = in.number("the frame's time");
}

const Grammar<CameraBlock>& grammar() {
    static const Grammar<CameraBlock> kGrammar = {
        .statements =
            {
                {"output", read_output},
                {"framebuffer", read_frame_buffer},
                {"lens",
                 [](Reader& in, CameraBlock& b) { read_list(in, b, "lens", b.camera.lens); }},
                {"volume",
                 [](Reader& in, CameraBlock& b) { read_list(in, b, "volume", b.camera.volume); }},
                {"environment",
                 [](Reader& in, CameraBlock& b) {
                     read_list(in, b, "environment", b.camera.environment);
                 }},
                {"focal", read_focal},
                {"aperture",
                 [](Reader& in, CameraBlock& b) { b.camera.aperture = in.positive("aperture"); }},
                {"aspect",
                 [](Reader& in, CameraBlock& b) { b.camera.aspect = in.positive("aspect"); }},
                {"resolution", read_resolution},
                {"offset", read_offset},
                {"window", read_window},
                {"clip", read_clip},
                {"frame", read_frame},
            },
        .ignored = {{"dof", {}}, {"field", {}}, {"pass", {}}, {"data", {}}, {"attribute", {}}},
    };
    return kGrammar;
}

}  // namespace

void read_camera(Reader& in) {
    const Heading heading = in.heading();
    CameraBlock block = {in.begin(&Scene::cameras, heading), {}};
    block.camera.place = heading.place;
    read_statements(in, grammar(), heading, block);
    in.define(&Scene::cameras, heading.name, std::move(block.camera));
}

}  // namespace orvane::scene
