// Errors that a user caused and can mend, and the exit status that each kind ends with.
#pragma once

#include <stdexcept>
#include <string>

#include "scene/records.h"

namespace orvane {

enum class Exit {
    Ok = 0,
    Internal = 1,
    Usage = 2,
    Scene = 3,
    Shader = 4,
    Input = 5,
    Output = 6,
    Fatal = 7,
    Memory = 33,
};

// A text for people: what stands between quotes is cut after 80 bytes, and the whole after 4000.
std::string shorten_quotes(const std::string& text);

// The same text, fit for a terminal: control characters, which may come from a scene or the name of
// a file, are question marks; so are ends of lines in a text that is to be one.
std::string harmless(std::string text, bool one_line);

// what() is one line, "file:line:column: error: ..." when the place is known; details holds
// further lines (the source line with a caret, what would be right), or is empty.
class Error : public std::runtime_error {
  public:
    Error(Exit status, const std::string& line, std::string details = {})
        : std::runtime_error(harmless(shorten_quotes(line), true)),
          status(status),
          details(std::move(details)) {}

    Exit status;
    std::string details;
};

// Thrown to give up what is being read or built, when a signal asks for it. No fault of anyone.
struct Stopped {};

// "file:line:column", or "" for a place that is not in a text.
std::string to_string(const scene::Place& place);

// An error at a place in a scene text: reads the source line again to show it with a caret;
// hint, when not empty, is shown below ("did you mean \"...\"?").
[[nodiscard]] Error error_at(const scene::Place& place, Exit status, const std::string& what,
                             const std::string& hint = {});

// A file that a scene which is not trusted may not read.
[[nodiscard]] Error outside(const scene::Place& place, const std::string& file);

// A line of a text, shortened around the column (from 1) when it is long, and below it a caret.
std::string with_caret(std::string line, int column);

// The candidate that name is probably a misspelling of, or "" when none is near.
std::string nearest_name(const std::string& name, const std::vector<std::string>& candidates);

// A hint for error_at: did you mean "...?", or "" when no candidate is near.
std::string did_you_mean(const std::string& name, const std::vector<std::string>& candidates);

}  // namespace orvane
