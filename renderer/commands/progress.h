// Telling how far a frame is.
#pragma once

#include <chrono>

#include "film/film.h"

namespace orvane::commands {

// On a terminal a line that is overwritten, with elapsed and remaining time; elsewhere a line
// at every tenth of the work. Silent below the level of warnings.
class ProgressLine {
  public:
    void report(const film::Progress& progress);
    // Removes the line; tells time and samples at the level of info.
    void finish(const std::string& picture);

    double seconds() const;

  private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    int told_ = 0;  // tenths
    std::uint64_t samples_ = 0;
};

}  // namespace orvane::commands
