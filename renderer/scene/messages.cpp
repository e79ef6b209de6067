// Messages on standard error and the status line that stays below them.
#include "scene/messages.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <mutex>

#include "scene/errors.h"

namespace orvane {

namespace {

struct Console {
    std::atomic<int> verbosity = static_cast<int>(Level::Warning);
    std::mutex mutex;    // guards what follows, and the stream
    std::string status;  // what stands in the status line
};

Console& console() {
    static Console instance;
    return instance;
}

constexpr std::array<const char*, 7> kSeverity = {"",     "fatal",    "error", "warning",
                                                  "info", "progress", "debug"};

// Whether text has "file:line:column: severity: " in front already.
bool begins_with_place(const std::string& text, const std::string& severity) {
    const std::size_t end = text.find(": " + severity + ": ");
    if (end == std::string::npos || end == 0) return false;
    std::size_t at = end;
    for (int part = 0; part < 2; ++part) {
        const std::size_t digits_end = at;
        while (at > 0 && std::isdigit(static_cast<unsigned char>(text[at - 1]))) --at;
        if (at == digits_end || at == 0 || text[--at] != ':') return false;
    }
    return at > 0;
}

}  // namespace

void set_verbosity(int level) { console().verbosity = level; }

int verbosity() { return console().verbosity; }

void message(Level level, const std::string& text) {
    if (static_cast<int>(level) > verbosity()) return;
    const std::string severity = kSeverity[static_cast<std::size_t>(level)];
    std::string line =
        begins_with_place(text, severity) ? text : "orvane: " + severity + ": " + text;
    line = shorten_quotes(line);
    if (line.back() == '\n') line.pop_back();
    line = harmless(line, false);

    // Write over the status line, then show it again below.
    Console& out = console();
    const std::lock_guard lock(out.mutex);
    if (!out.status.empty()) line = "\r\033[K" + line;
    line += '\n' + out.status;
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

void status_line(const std::string& text) {
    static const bool terminal = isatty(STDERR_FILENO) != 0;
    if (!terminal) return;
    Console& out = console();
    const std::lock_guard lock(out.mutex);
    if (text == out.status) return;
    out.status = text;
    const std::string line = "\r\033[K" + text;
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

}  // namespace orvane
