// Messages of shaders, and the end of a render that a shader asks for.

#include <array>
#include <cstdarg>
#include <cstdio>

#include "frame/host.h"
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

}  // namespace

extern "C" {

void mi_info(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    orvane::message(orvane::Level::Info, formatted(format, arguments));
    va_end(arguments);
}

void mi_progress(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    orvane::message(orvane::Level::Progress, formatted(format, arguments));
    va_end(arguments);
}

void mi_warning(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    orvane::message(orvane::Level::Warning, formatted(format, arguments));
    va_end(arguments);
}

void mi_fatal(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    const auto fatal = std::make_exception_ptr(orvane::world::Fatal(text));
    if (orvane::world::Render* render = orvane::world::current_render()) render->end(fatal);
    std::rethrow_exception(fatal);
}

miBoolean mi_par_aborted() {
    const orvane::world::Render* render = orvane::world::current_render();
    return orvane::world::render_aborted() || (render && render->ending());
}
}
