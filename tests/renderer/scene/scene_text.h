// Parsing of texts that stand in a test.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "scene/errors.h"
#include "scene/messages.h"
#include "scene/parser.h"

namespace orvane::scene {

inline Scene parse(const std::string& text, const ParserSettings& settings = {}) {
    set_verbosity(static_cast<int>(Level::Error));
    return parse_text(text, "t.mi", ".", settings);
}

// The line of the error in a text; "" when there is none.
inline std::string error_in(const std::string& text, const ParserSettings& settings = {}) {
    try {
        parse(text, settings);
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}

inline Options options_of(const std::string& statements) {
    return *parse("options \"o\" " + statements + " end options").options.at("o");
}

inline Camera camera_of(const std::string& statements) {
    return *parse("camera \"c\" " + statements + " end camera").cameras.at("c");
}

inline Light light_of(const std::string& statements) {
    return *parse("light \"l\" " + statements + " end light").lights.at("l");
}

}  // namespace orvane::scene
