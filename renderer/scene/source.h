// One text of a scene: the scene file, a file that it includes, or a text in memory.
#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace orvane::scene {

// Tokens point into text, so a source stays where it is while tokens of it are in use.
struct Source {
    std::shared_ptr<const std::string> name;  // as the user would name it
    std::filesystem::path directory;          // where quoted includes are looked for first
    std::filesystem::path identity;           // the canonical path; empty for a text in memory
    std::string text;
    std::deque<std::string> unescaped;  // contents of the strings that hold escapes
};

// Asked several times a second while something is read; may be empty.
using Stop = std::function<bool()>;

// Reads a file or a pipe. Returns null, with the reason in why, when it cannot be read. Throws
// Stopped when stop says so.
std::unique_ptr<Source> read_source(const std::filesystem::path& file, const Stop& stop,
                                    std::string& why);

// The same for standard input.
std::unique_ptr<Source> read_standard_input(const Stop& stop, std::string& why);

}  // namespace orvane::scene
