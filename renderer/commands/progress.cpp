// The progress line of a frame.

#include "commands/progress.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "scene/messages.h"

namespace orvane::commands {
namespace {

std::string clock(double seconds) {
    char text[32];
    const auto whole = static_cast<long>(seconds + 0.5);
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

}  // namespace

double ProgressLine::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void ProgressLine::report(const film::Progress& progress) {
    samples_ = progress.samples;
    if (verbosity() < static_cast<int>(Level::Warning) || progress.fraction <= 0) return;
    const double elapsed = seconds();
    const int percent = static_cast<int>(progress.fraction * 100);
    const std::string line = std::to_string(percent) + " %, " + clock(elapsed) + " elapsed, " +
                             clock(elapsed / progress.fraction - elapsed) + " remaining";
    if (isatty(STDERR_FILENO)) {
        status_line(line);
    } else if (percent / 10 > told_ && percent < 100) {
        told_ = percent / 10;
        std::cerr << "orvane: progress: " + line + "\n";
    }
}

void ProgressLine::finish(const std::string& picture) {
    status_line("");
    char text[96];
    std::snprintf(text, sizeof text, " in %.2f s, %llu samples", seconds(),
                  static_cast<unsigned long long>(samples_));
    message(Level::Info, picture + " rendered" + text);
}

}  // namespace orvane::commands
