// Messages to the user on standard error, filtered by level. Safe to call from any thread.
#pragma once

#include <string>

namespace orvane {

// A message is shown when its level is at most the verbosity.
enum class Level { Fatal = 1, Error = 2, Warning = 3, Info = 4, Progress = 5, Debug = 6 };

// 0 (nothing) to 7 (everything); 3 to begin with.
void set_verbosity(int level);
int verbosity();

// Writes "orvane: warning: text" and so on; a trailing newline in text is dropped. An error
// text that begins with a place is written as it stands.
void message(Level level, const std::string& text);

// Shows text as the line that is overwritten by the next one, when standard error is a
// terminal; messages that come in between keep it at the bottom. Empty text removes it.
void status_line(const std::string& text);

}  // namespace orvane
