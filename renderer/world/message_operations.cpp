// Messages of shaders, and the end of a render that a shader asks for.

#include <array>
#include <cstdarg>
#include <cstdio>

#include "frame/host.h"
#include "scene/errors.h"
#include "scene/messages.h"
#include "world/render.h"

namespace {

std::string formatted(const char* format, va_list arguments) {
    std::array<char, 2048> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    std::string line = text.data();
    while (!line.empty() && line.back() == '\n') line.pop_back();
    return line;
}

// A render that ends has had its last word: what shaders say then follows from the reason.
void tell(orvane::Level level, const char* format, va_list arguments) {
    const orvane::world::Render* render = orvane::world::current_render();
    if (!render || !render->ending()) orvane::message(level, formatted(format, arguments));
}

// The end of a render that the running shader asks for, with the place of its call in the scene.
orvane::world::Fatal fatal_here(const std::string& text) {
    const orvane::world::Function* shader = orvane::world::running_here();
    const std::string place = shader ? orvane::to_string(shader->place) : "";
    if (place.empty()) return orvane::world::Fatal(text);
    return orvane::world::Fatal(place + ": fatal: " + text,
                                orvane::error_at(shader->place, orvane::Exit::Fatal, text).details);
}

}  // namespace

extern "C" {

void mi_info(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tell(orvane::Level::Info, format, arguments);
    va_end(arguments);
}

void mi_progress(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tell(orvane::Level::Progress, format, arguments);
    va_end(arguments);
}

void mi_warning(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tell(orvane::Level::Warning, format, arguments);
    va_end(arguments);
}

void mi_fatal(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    const auto fatal = std::make_exception_ptr(fatal_here(text));
    if (orvane::world::Render* render = orvane::world::current_render()) {
        render->end(fatal);
        render->throw_why();
    }
    std::rethrow_exception(fatal);
}

miBoolean mi_par_aborted() {
    const orvane::world::Render* render = orvane::world::current_render();
    return orvane::world::render_aborted() || (render && render->ending());
}
}
